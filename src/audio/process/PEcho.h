#pragma once
// Simple Echo: the range mixed with a delayed copy of itself.
//
// Parameters (the dialog's order):
//   "Echo length"     the delay D in ms, 1 to 5000, default 250;
//   "Source"          choice "Input" (default): one echo of the original,
//                     y[n] = (1 − m)·x[n] + m·x[n − D]; or "Output": the
//                     result is fed back, so echoes repeat, each m times the
//                     one before, y[n] = (1 − m)·x[n] + m·y[n − D];
//   "Effect mix (%)"  m in percent, 0 to 100, default 50;
// then the normalising pair of PAProcessWithNormalize. Frames before the
// range count as silence; echoes that would sound after the range are cut.

#include "audio/process/PAProcessWithNormalize.h"

namespace vantor {

class PEcho : public PAProcessWithNormalize {
  VANTOR_CLASS(PEcho)
 public:
  std::string displayName() const override { return "Simple Echo"; }

 protected:
  std::vector<PParameterSpec> processSpecs() const override;
  std::unique_ptr<PAudioWork> createProcessWork() const override;
};

}  // namespace vantor
