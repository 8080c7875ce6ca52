#include "render/engine/RFadeCurve.h"

#include <cmath>
#include <numbers>

namespace vantor {

double fadeGain(MFadeCurve curve, double x) {
  if (!(x > 0)) return 0;
  if (x >= 1) return 1;
  switch (curve) {
    case MFadeCurve::kLinear:
      return x;
    case MFadeCurve::kSine:
      return std::sin(x * std::numbers::pi / 2);
    case MFadeCurve::kSquareRoot:
      return std::sqrt(x);
    case MFadeCurve::kLogarithmic:
      return 1 - (1 - x) * (1 - x);
    case MFadeCurve::kExponential:
      return x * x;
  }
  return x;
}

double segmentFadeGain(int64_t offset, int64_t length, int64_t inFrames, MFadeCurve inCurve, int64_t outFrames,
                       MFadeCurve outCurve) {
  double gain = 1;
  if (offset < inFrames) gain = fadeGain(inCurve, static_cast<double>(offset) / static_cast<double>(inFrames));
  const int64_t fromEnd = length - 1 - offset;  // 0 for the last frame
  if (fromEnd < outFrames) gain *= fadeGain(outCurve, static_cast<double>(fromEnd) / static_cast<double>(outFrames));
  return gain;
}

}  // namespace vantor
