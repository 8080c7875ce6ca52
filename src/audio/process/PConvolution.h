#pragma once
// Acoustic Stamp: convolves the range with an impulse response read from an
// audio file, by FFT block convolution (overlap-add, FFTW in single
// precision).
//
// Parameters (stored keys, in the dialog's order):
//   "Impulse Path"          the impulse file (any file AudioFileReader reads),
//                           at most kMaximumImpulseSeconds long;
//   "Impulse Channel Mode"  choice "Mix" (default): the impulse's channels
//                           averaged into one, used for every channel; or
//                           "Per Channel": channel c of the range uses
//                           channel c mod n of an n-channel impulse;
//   "First Reflection"      dB, -60 to +12, default 0: the level of the
//                           impulse's first part, up to "Split";
//   "Split"                 ms, 0 to 1000, default 80: where the first
//                           reflections end and the after hall begins;
//   "Gain"                  dB, -60 to +24, default 0: the level of the result;
//   "LPF Value"             Hz, 0 (off, the default) to 24000: a one-pole
//                           low pass on the impulse, darkening the hall;
//   "HPF Value"             Hz, 0 (off) to 24000: a one-pole high pass on it;
//   "BPF Value"             Hz, 0 (off) to 24000: a band pass an octave wide
//                           around that frequency (high pass at f/√2, then
//                           low pass at f·√2);
//   "Time Strech"           0.5 to 2, default 1: the impulse's length is
//                           scaled by this (linear interpolation); an impulse
//                           of another sample rate is brought to the range's
//                           rate the same way;
//   "Zoom Y"                1 to 16, default 1: the vertical zoom of the
//                           impulse picture in the dialog, kept with the rest;
// then the normalising pair of PAProcessWithNormalize. The reverberation
// that would sound after the range is cut at its end.

#include <string>
#include <vector>

#include "audio/process/PAProcessWithNormalize.h"

namespace vantor {

inline constexpr const char* kMaximumImpulseFormat = "The maximum duration allowed for impulse is %d seconds";

class PConvolution : public PAProcessWithNormalize {
  VANTOR_CLASS(PConvolution)
 public:
  static constexpr int kMaximumImpulseSeconds = 10;

  std::string displayName() const override { return "Acoustic Stamp"; }
  // kMaximumImpulseFormat filled in.
  static std::string maximumImpulseText();

 protected:
  std::vector<PParameterSpec> processSpecs() const override;
  std::unique_ptr<PAudioWork> createProcessWork() const override;
};

// How the impulse is shaped before use; the parameters above in their units.
struct PImpulseSettings {
  std::string path;
  bool perChannel = false;
  double firstReflectionDb = 0;
  double splitMs = 80;
  double gainDb = 0;
  double lowPassHz = 0;
  double highPassHz = 0;
  double bandPassHz = 0;
  double timeStretch = 1;
};

// Reads and shapes the impulse for a range of sampleRate: one vector per
// impulse channel (one in "Mix" mode), of at most maxFrames frames: the taps
// beyond a range's length never reach its result, and the shaping filters
// are causal, so the kept taps are those of the whole impulse (a header's
// rate may make the whole one as long as memory). False with the reason in
// *error.
[[nodiscard]] bool loadImpulse(const PImpulseSettings& settings, double sampleRate, int64_t maxFrames,
                               std::vector<std::vector<float>>* impulse, std::string* error);

}  // namespace vantor
