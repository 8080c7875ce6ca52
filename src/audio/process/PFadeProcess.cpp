#include "audio/process/PFadeProcess.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(PFadeProcess, PAudioProcess, 0)
VANTOR_DEFINE_CLASS(PFadeIn, PFadeProcess, 0)
VANTOR_DEFINE_CLASS(PFadeOut, PFadeProcess, 0)

namespace {

class FadeWork : public PAudioWork {
 public:
  FadeWork(PFadeProcess::Curve curve, bool in) : curve_(curve), in_(in) {}
  bool prepare(const AudioFormat& format, int64_t lengthFrames) override {
    position_ = 0;
    return PAudioWork::prepare(format, lengthFrames);
  }
  void process(const float* in, float* out, int64_t frames) override {
    const int ch = channels();
    const auto n = static_cast<double>(lengthFrames());
    for (int64_t f = 0; f < frames; ++f, ++position_) {
      const double i = static_cast<double>(position_);
      const double x = n > 0 ? (in_ ? i / n : (n - 1 - i) / n) : 1.0;
      const auto factor = static_cast<float>(PFadeProcess::fadeInFactor(curve_, x));
      for (int c = 0; c < ch; ++c) out[f * ch + c] = in[f * ch + c] * factor;
    }
  }

 private:
  PFadeProcess::Curve curve_;
  bool in_;
  int64_t position_ = 0;
};

}  // namespace

std::vector<PParameterSpec> PFadeProcess::parameterSpecs() const {
  return {{"Curve", PParameterSpec::Kind::kChoice, 0, 3, 0, "Linear|Exponential|Logarithmic|S-Curve"}};
}

double PFadeProcess::fadeInFactor(Curve curve, double x) {
  x = std::clamp(x, 0.0, 1.0);
  switch (curve) {
    case Curve::kLinear:
      return x;
    case Curve::kExponential:
      return x * x;
    case Curve::kLogarithmic:
      return 1.0 - (1.0 - x) * (1.0 - x);
    case Curve::kSCurve:
      return (1.0 - std::cos(std::numbers::pi * x)) / 2.0;
  }
  return x;
}

std::unique_ptr<PAudioWork> PFadeProcess::createWork() const { return std::make_unique<FadeWork>(curve(), fadesIn()); }

}  // namespace vantor
