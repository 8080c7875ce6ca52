#pragma once
// Small conversions shared by the offline processes.

#include <cmath>
#include <cstdint>

namespace vantor {

// 20·log10 scale: 0 dB is a factor of 1, -6.02 dB about 1/2.
inline double decibelsToGain(double decibels) { return std::pow(10.0, decibels / 20.0); }

// Milliseconds as frames at sampleRate, rounded to the nearest frame.
inline int64_t millisecondsToFramesRounded(double milliseconds, double sampleRate) {
  return static_cast<int64_t>(std::llround(milliseconds * sampleRate / 1000.0));
}

}  // namespace vantor
