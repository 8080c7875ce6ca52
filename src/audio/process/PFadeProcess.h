#pragma once
// Fade in and fade out over the whole range.
//
// Parameter: "Curve", a choice of "Linear" (default), "Exponential",
// "Logarithmic" and "S-Curve". With x the place in the fade from 0 to 1 the
// factor of a fade in is
//   Linear       x
//   Exponential  x²             (slow start, the ear hears an even rise)
//   Logarithmic  1 − (1 − x)²   (quick start)
//   S-Curve      (1 − cos πx) / 2
// Frame i of n has x = i / n in a fade in, so the first frame is silent;
// a fade out is its mirror image, x = (n − 1 − i) / n, so the last frame is
// silent and the first is the loudest.

#include "audio/process/PAudioProcess.h"

namespace vantor {

class PFadeProcess : public PAudioProcess {
  VANTOR_CLASS(PFadeProcess)
 public:
  enum class Curve { kLinear = 0, kExponential = 1, kLogarithmic = 2, kSCurve = 3 };

  std::vector<PParameterSpec> parameterSpecs() const override;
  std::unique_ptr<PAudioWork> createWork() const override;

  Curve curve() const { return static_cast<Curve>(static_cast<int>(number("Curve"))); }
  // The factor of a fade in at x (0 to 1).
  static double fadeInFactor(Curve curve, double x);

 protected:
  virtual bool fadesIn() const = 0;
};

class PFadeIn : public PFadeProcess {
  VANTOR_CLASS(PFadeIn)
 public:
  std::string displayName() const override { return "Fade In"; }

 protected:
  bool fadesIn() const override { return true; }
};

class PFadeOut : public PFadeProcess {
  VANTOR_CLASS(PFadeOut)
 public:
  std::string displayName() const override { return "Fade Out"; }

 protected:
  bool fadesIn() const override { return false; }
};

}  // namespace vantor
