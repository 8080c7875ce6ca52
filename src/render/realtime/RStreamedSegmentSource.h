#pragma once
// The segment source of real-time playback: a disk thread reads the plan's
// segments through RSegmentStream into one ring buffer per segment that
// plays soon, keeping about `aheadSeconds` ahead of the play position, and
// the audio thread takes frames from the rings.
//
// Position. The audio thread tells the source where it is: locate() posts a
// new position (a new generation: the disk thread drops its buffers and
// refills from there) and advance() the frames just played. With the cycle
// on, the locate that wraps from the right locator to the left one is not a
// new generation: the disk thread reads the timeline unrolled (from the
// locate to the right locator, then the locators' range again and again),
// so the next pass is buffered before the wrap and plays without a gap.
//
// Buffers. Every ring is allocated when the source is made: as many as the
// plan can want at once (the segments that sound within `aheadSeconds` of
// any position, twice that with the cycle on for the passes on both sides of
// the wrap), at most kMaxBuffers. Beyond that (a plan of very many
// overlapping segments, or a loop shorter than the read-ahead), a segment
// waits for a free ring, nearest first, and a read that finds its samples
// missing is an underrun: silence, counted by the engine.
//
// Threads: construct, waitUntilReady() and destroy on the user thread;
// locate(), advance(), ready() and read() on the audio thread, which never
// locks, allocates or touches files here. The disk thread gives a ring back
// only after the audio thread is outside read() (a counter it bumps on entry
// and exit), so the audio thread never reads a ring being refilled.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "render/RPlaybackPlan.h"
#include "render/RSegmentSource.h"

namespace vantor {

class RStreamedSegmentSource : public RSegmentSource {
 public:
  static constexpr int kMaxBuffers = 64;

  struct Options {
    double aheadSeconds = 2.0;
    // Whether playback loops between the plan's locators (the transport's
    // cycle): the wrap is then read ahead.
    bool cycle = false;
  };

  // Allocates the rings and starts the disk thread at position 0.
  RStreamedSegmentSource(std::shared_ptr<const RPlaybackPlan> plan, const Options& options);
  // Stops the disk thread.
  ~RStreamedSegmentSource() override;
  RStreamedSegmentSource(const RStreamedSegmentSource&) = delete;
  RStreamedSegmentSource& operator=(const RStreamedSegmentSource&) = delete;

  // The preroll: waits until the disk thread has filled the buffers for the
  // last posted position (up to `timeout`); false when it has not.
  [[nodiscard]] bool waitUntilReady(std::chrono::milliseconds timeout) const;
  // Waits until the disk thread has read all it can (a pass that found
  // nothing to read, begun after this call); false after `timeout`. For a
  // consumer faster than real time: tests and benchmarks.
  [[nodiscard]] bool waitUntilFilled(std::chrono::milliseconds timeout) const;
  // How many rings were allocated.
  size_t bufferCount() const noexcept { return slots_.size(); }
  // The first read failure of the disk thread ("" when none): a clip that
  // went missing plays as silence.
  std::string diskError() const;

  // --- audio thread ---
  void locate(int64_t frame) noexcept override;
  bool read(size_t index, int64_t offset, float* out, int frames) noexcept override;
  // The engine rendered `frames` frames from the position.
  void advance(int64_t frames) noexcept;
  // Whether the buffers for the position are filled (the preroll is over).
  bool ready() const noexcept;

 private:
  struct Slot;
  struct Occurrence;

  void runDisk();
  void startGeneration(uint32_t generation);
  void collectPast(int64_t unrolled);
  void assignWindow(int64_t unrolled);
  bool fillOnce();
  void releaseSlots(const std::vector<Slot*>& slots);
  void waitForReaders() const;
  void noteError(const std::string& message);

  std::shared_ptr<const RPlaybackPlan> plan_;
  const Options options_;
  const int64_t ahead_;  // frames
  std::vector<std::unique_ptr<Slot>> slots_;

  // Posted by the audio thread: the generation (upper 16 bits) and the
  // frames played since its locate (lower 48), in one word so that the disk
  // thread never sees one without the other; and the locate's frame.
  std::atomic<uint64_t> posted_{0};
  std::atomic<int64_t> origin_{0};
  std::atomic<uint32_t> readyGeneration_{UINT32_MAX};
  std::atomic<uint64_t> idlePasses_{0};
  // Odd while the audio thread is inside read().
  std::atomic<uint64_t> readers_{0};
  std::atomic<bool> quit_{false};

  // Audio thread only.
  uint32_t generation_ = 0;
  int64_t played_ = 0;
  int64_t real_ = 0;

  // Disk thread only.
  uint32_t diskGeneration_ = UINT32_MAX;
  int64_t diskOrigin_ = 0;
  std::vector<float> scratch_;

  mutable std::mutex errorMutex_;
  std::string error_;
  std::thread disk_;
};

}  // namespace vantor
