#pragma once
// Noise Gate: silences the stretches whose level stays below a threshold.
//
// Parameters (the dialog's order):
//   "Threshold"       dBFS, -96 to 0, default -40;
//   "Attack Time"     ms, 0 to 1000, default 1: how long the gain takes to
//                     rise from 0 to 1 once the gate opens;
//   "Release Time"    ms, 0 to 5000, default 100: how long it takes to fall
//                     from 1 to 0 once the gate closes;
//   "Linked Channels" choice "Off" or "On" (default): one gate for all
//                     channels, keyed by the loudest, or one per channel.
// The gate is open on a frame whose absolute sample exceeds the threshold
// and stays open for a hold of 10 ms after the last such frame, so that the
// zero crossings of a low tone do not chop it. The gain moves linearly
// toward 1 (open) or 0 (closed) by 1 / attack frames or 1 / release frames
// per frame (a time of 0 jumps at once); it starts at 0 (closed).

#include "audio/process/PAudioProcess.h"

namespace vantor {

class PNoiseGate : public PAudioProcess {
  VANTOR_CLASS(PNoiseGate)
 public:
  static constexpr double kHoldMilliseconds = 10.0;

  std::string displayName() const override { return "Noise Gate"; }
  std::vector<PParameterSpec> parameterSpecs() const override;
  std::unique_ptr<PAudioWork> createWork() const override;
};

}  // namespace vantor
