#pragma once
// Detect Silence as a process: finds the loud stretches of the range with
// PSilenceDetector and gives them as regions, named from "Region Name" and
// numbered from "Auto Number Start" ("Region 1", "Region 2", ...). It
// leaves the audio as it is; what is done with the regions (regions, events
// or stripping the silence) is the caller's choice.
//
// Parameters (the dialog's order):
//   "Open Threshold"     dBFS, -96 to 0, default -40;
//   "Close Threshold"    dBFS, -96 to 0, default -50;
//   "Mode Linked"        choice "Off" (default): a frame's level is its
//                        loudest channel; or "Linked": the channels' absolute
//                        values summed and smoothed with a time constant of
//                        kSmoothingMilliseconds;
//   "Min. Opening Time"  ms, 0 to 60000, default 10;
//   "Min. Closing Time"  ms, 0 to 60000, default 500;
//   "Pre-Roll"           ms, 0 to 60000, default 0;
//   "Post-Roll"          ms, 0 to 60000, default 0;
//   "Region Name"        text, default "Region";
//   "Auto Number Start"  0 to 99999, default 1.
// The same defaults as the detect-silence command of the command line.

#include <string>
#include <vector>

#include "audio/pool/MRegionMarker.h"
#include "audio/process/PAudioAnalyze.h"
#include "audio/process/PSilenceDetector.h"

namespace vantor {

class PEvtdetection : public PAudioAnalyze {
  VANTOR_CLASS(PEvtdetection)
 public:
  static constexpr double kSmoothingMilliseconds = 10.0;

  std::string displayName() const override { return "Detect Silence"; }
  std::vector<PParameterSpec> parameterSpecs() const override;
  std::unique_ptr<PAudioWork> createWork() const override;
  // "No region detected!" or "Number of Region Detected: %d".
  std::string summary(const PAudioWork& work) const override;

  // The name of the index-th region found (from 0).
  std::string regionName(int index) const;
  // The regions found, as regions of the clip named by regionName();
  // found holds frames of a range starting at offset in the clip.
  std::vector<FRef<MRegionMarker>> regionMarkers(const std::vector<SilenceRegion>& found, int64_t offset) const;
};

// Feeds the analysis pass to the detector; the widened regions are known
// after endAnalysis(), in frames of the range.
class PEvtdetectionWork : public PAnalysisWork {
 public:
  struct Settings {
    PSilenceDetector::Parameters detector;
    double preRollMs = 0;
    double postRollMs = 0;
    double openingMs = 0;
    double closingMs = 0;
    bool linked = false;
  };
  explicit PEvtdetectionWork(const Settings& settings) : settings_(settings) {}

  bool prepare(const AudioFormat& format, int64_t lengthFrames) override;
  void analyze(const float* in, int64_t frames) override;
  void endAnalysis() override;
  const std::vector<SilenceRegion>& regions() const { return regions_; }

 private:
  Settings settings_;
  std::unique_ptr<PSilenceDetector> detector_;
  std::vector<SilenceRegion> regions_;
};

}  // namespace vantor
