#pragma once
// What real-time playback plays: the playback engine over the streamed
// segment source. It tells the source each block the engine rendered, takes
// the source's preroll as the transport's readiness, and mirrors the
// engine's underrun count into an atomic the user thread may read.

#include <atomic>
#include <cstdint>

#include "render/RPlaybackEngine.h"
#include "render/realtime/RJackTransport.h"
#include "render/realtime/RStreamedSegmentSource.h"

namespace vantor {

class REnginePlayTarget : public RPlayTarget {
 public:
  // `engine` was prepared over `source` for blocks of up to `maxFrames`.
  REnginePlayTarget(RPlaybackEngine& engine, RStreamedSegmentSource& source, int maxFrames)
      : engine_(engine), source_(source), maxFrames_(maxFrames) {}

  int maxFrames() const noexcept override { return maxFrames_; }
  void locate(int64_t frame) noexcept override { engine_.locate(frame); }
  bool ready() noexcept override { return source_.ready(); }
  void process(float* left, float* right, int frames) noexcept override {
    engine_.process(left, right, frames);
    source_.advance(frames);
    underruns_.store(engine_.missedReads(), std::memory_order_release);
  }

  // Segment reads that found no samples since the engine was prepared.
  uint64_t underruns() const noexcept { return underruns_.load(std::memory_order_acquire); }

 private:
  RPlaybackEngine& engine_;
  RStreamedSegmentSource& source_;
  const int maxFrames_;
  std::atomic<uint64_t> underruns_{0};
};

}  // namespace vantor
