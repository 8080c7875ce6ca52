#pragma once
// The metronome: where it clicks (every beat of the signature track, the
// first beat of each bar accented, placed through the tempo map) and the
// click sound itself.

#include <cstdint>
#include <memory>
#include <vector>

#include "render/RPlaybackPlan.h"

namespace vantor {

class MProject;

// The clicks of every beat that starts before `endFrame`, in frames of
// `sampleRate`, ramps included (each click rounded to the nearest frame).
std::vector<RClick> metronomeClicks(const MProject& project, int sampleRate, int64_t endFrame);

// A short synthesized click, a higher one for accents. Construct and
// destroy off the audio thread; trigger(), render() and reset() are
// real-time safe and split-invariant like an instrument's.
class RMetronome {
 public:
  explicit RMetronome(int sampleRate);
  ~RMetronome();
  RMetronome(const RMetronome&) = delete;
  RMetronome& operator=(const RMetronome&) = delete;

  // Starts a click at the next frame rendered.
  void trigger(bool accent) noexcept;
  // Adds `frames` frames of clicking to `left` and `right`.
  void render(float* left, float* right, int frames) noexcept;
  void reset() noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vantor
