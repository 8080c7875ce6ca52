#pragma once
// Renders a plan block by block: audio segments with their fades, MIDI
// messages through each track's instrument at their exact frames, the
// metronome, each track's volume and pan into a stereo master. The offline
// render and the JACK client run this same engine, so a range sounds the
// same sample for sample however it is split into blocks.
//
// Threads: prepare() allocates and may read files (any thread but the
// audio thread); locate(), process() and setClick() are real-time safe.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "render/RInstrument.h"
#include "render/RPlaybackPlan.h"
#include "render/RSegmentSource.h"

namespace vantor {

class RPlaybackEngine {
 public:
  RPlaybackEngine();
  ~RPlaybackEngine();
  RPlaybackEngine(const RPlaybackEngine&) = delete;
  RPlaybackEngine& operator=(const RPlaybackEngine&) = delete;

  // Takes a plan and the source of its segments' samples, makes the
  // tracks' instruments through `factory` and buffers for blocks of up to
  // `maxFrames` frames; the position is 0. False with a message in the
  // system's words when an instrument cannot be made.
  [[nodiscard]] bool prepare(std::shared_ptr<const RPlaybackPlan> plan, RSegmentSource* source,
                             const RInstrumentFactory& factory, int maxFrames, std::string* error);

  // Continues from `frame`: silences the instruments and tells the source.
  void locate(int64_t frame) noexcept;
  int64_t position() const noexcept;
  // Mixes the metronome in or leaves it out.
  void setClick(bool on) noexcept;
  // Renders `frames` (at most maxFrames) frames from the position into
  // `left` and `right` (overwriting them) and advances the position.
  void process(float* left, float* right, int frames) noexcept;
  // How many segment reads found no samples since prepare (underruns).
  uint64_t missedReads() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vantor
