#include "audio/process/PEvtdetection.h"

#include "audio/process/PProcessMath.h"
#include "audio/process/PSilenceDetectorMessages.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PEvtdetection, PAudioAnalyze, 0)

std::vector<PParameterSpec> PEvtdetection::parameterSpecs() const {
  using Kind = PParameterSpec::Kind;
  return {{"Open Threshold", Kind::kNumber, -96, 0, -40, "", "dB"},
          {"Close Threshold", Kind::kNumber, -96, 0, -50, "", "dB"},
          {"Mode Linked", Kind::kChoice, 0, 1, 0, "Off|Linked"},
          {"Min. Opening Time", Kind::kNumber, 0, 60000, 10, "", "ms"},
          {"Min. Closing Time", Kind::kNumber, 0, 60000, 500, "", "ms"},
          {"Pre-Roll", Kind::kNumber, 0, 60000, 0, "", "ms"},
          {"Post-Roll", Kind::kNumber, 0, 60000, 0, "", "ms"},
          {"Region Name", Kind::kText, 0, 0, 0, "Region"},
          {"Auto Number Start", Kind::kInteger, 0, 99999, 1}};
}

std::unique_ptr<PAudioWork> PEvtdetection::createWork() const {
  PEvtdetectionWork::Settings settings;
  settings.detector.openThreshold = static_cast<float>(decibelsToGain(number("Open Threshold")));
  settings.detector.closeThreshold = static_cast<float>(decibelsToGain(number("Close Threshold")));
  settings.linked = number("Mode Linked") >= 1;
  settings.openingMs = number("Min. Opening Time");
  settings.closingMs = number("Min. Closing Time");
  settings.preRollMs = number("Pre-Roll");
  settings.postRollMs = number("Post-Roll");
  return std::make_unique<PEvtdetectionWork>(settings);
}

std::string PEvtdetection::summary(const PAudioWork& work) const {
  const auto* detection = dynamic_cast<const PEvtdetectionWork*>(&work);
  const int count = detection != nullptr ? static_cast<int>(detection->regions().size()) : 0;
  return count == 0 ? std::string(kNoRegionDetectedMessage) : numberOfRegionsDetectedText(count);
}

std::string PEvtdetection::regionName(int index) const {
  return text("Region Name") + " " + std::to_string(static_cast<int64_t>(number("Auto Number Start")) + index);
}

std::vector<FRef<MRegionMarker>> PEvtdetection::regionMarkers(const std::vector<SilenceRegion>& found,
                                                              int64_t offset) const {
  std::vector<FRef<MRegionMarker>> regions;
  for (size_t i = 0; i < found.size(); ++i) {
    regions.push_back(makeRef<MRegionMarker>(regionName(static_cast<int>(i)), offset + found[i].start,
                                             found[i].end - found[i].start));
  }
  return regions;
}

bool PEvtdetectionWork::prepare(const AudioFormat& format, int64_t lengthFrames) {
  if (!PAudioWork::prepare(format, lengthFrames)) return false;
  PSilenceDetector::Parameters parameters = settings_.detector;
  parameters.minOpenFrames = millisecondsToFrames(settings_.openingMs, sampleRate());
  parameters.minClosedFrames = millisecondsToFrames(settings_.closingMs, sampleRate());
  if (settings_.linked) {
    parameters.mode = PSilenceDetector::Mode::kSmoothed;
    parameters.smoothing =
        PSilenceDetector::smoothingForTimeConstant(PEvtdetection::kSmoothingMilliseconds, sampleRate());
  }
  detector_ = std::make_unique<PSilenceDetector>(parameters, channels());
  regions_.clear();
  return true;
}

void PEvtdetectionWork::analyze(const float* in, int64_t frames) { detector_->process(in, frames); }

void PEvtdetectionWork::endAnalysis() {
  detector_->finish();
  regions_ = widenRegions(detector_->regions(), millisecondsToFrames(settings_.preRollMs, sampleRate()),
                          millisecondsToFrames(settings_.postRollMs, sampleRate()), detector_->framesProcessed());
}

}  // namespace vantor
