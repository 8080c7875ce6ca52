#pragma once
// The gain of a fade at one place in it. With x the place from 0 (silent
// end) to 1 (full level):
//   Linear       x
//   Sine         sin(πx/2)       (a quarter sine: equal power across a crossfade)
//   SquareRoot   √x
//   Logarithmic  1 − (1 − x)²    (quick start)
//   Exponential  x²              (slow start)
// In a fade in of n frames, frame i has x = i / n, so its first frame is
// silent; a fade out is the mirror image, frame i of n has x = (n − 1 − i) / n,
// so its last frame is silent (as PFadeProcess does).

#include <cstdint>

#include "model/tree/MAutoFadeSetting.h"

namespace vantor {

double fadeGain(MFadeCurve curve, double x);

// The gain of frame `offset` of a segment `length` frames long that fades in
// over `inFrames` frames and out over `outFrames` frames (1 outside both).
double segmentFadeGain(int64_t offset, int64_t length, int64_t inFrames, MFadeCurve inCurve, int64_t outFrames,
                       MFadeCurve outCurve);

}  // namespace vantor
