#pragma once
// Measures stereo audio to EBU R128 with libebur128: the integrated
// loudness (gated, in LUFS) and the sample peak.

#include <cstdint>
#include <memory>

namespace vantor {

class RLoudnessMeter {
 public:
  RLoudnessMeter(int sampleRate);
  ~RLoudnessMeter();
  RLoudnessMeter(const RLoudnessMeter&) = delete;
  RLoudnessMeter& operator=(const RLoudnessMeter&) = delete;

  // False when the library could not be set up (out of memory).
  bool isValid() const;
  // Adds `frames` interleaved stereo frames.
  void add(const float* samples, int64_t frames);
  // Integrated loudness in LUFS; -inf for silence (all blocks gated away).
  double loudnessLufs() const;
  // The highest absolute sample in dBFS; -inf for silence.
  double peakDb() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vantor
