#pragma once
// The transport of real-time playback: play, stop, locate and the cycle loop
// between the locators, applied period by period on the audio thread to what
// it plays (the playback engine over the streamed segment source, or a
// stand-in in tests). The user thread posts requests through atomics and
// reads the position back the same way; process() never locks, allocates or
// touches files.

#include <atomic>
#include <cstdint>

namespace vantor {

// What the transport plays. Every member runs on the audio thread.
class RPlayTarget {
 public:
  virtual ~RPlayTarget() = default;
  // The most frames one process() call may render.
  virtual int maxFrames() const noexcept = 0;
  // Continues from timeline frame `frame`.
  virtual void locate(int64_t frame) noexcept = 0;
  // Whether the samples at the position are buffered (after a locate the
  // disk thread needs a moment): the transport waits in silence until then.
  virtual bool ready() noexcept = 0;
  // Renders `frames` frames from the position into `left` and `right`
  // (overwriting them) and advances the position.
  virtual void process(float* left, float* right, int frames) noexcept = 0;
};

class RJackTransport {
 public:
  // Plays `target` between locators `left` and `right` (frames) when the
  // cycle is on; the position starts at 0, stopped.
  RJackTransport(RPlayTarget& target, int64_t leftLocator, int64_t rightLocator);

  // --- user thread: requests take effect at the next period ---
  void play() noexcept { rolling_.store(true, std::memory_order_release); }
  void stop() noexcept { rolling_.store(false, std::memory_order_release); }
  // Moves the position to `frame`, playing or not.
  void locate(int64_t frame) noexcept;
  // Loops between the locators when the position reaches the right one from
  // before it (a position at or past it plays on).
  void setCycle(bool on) noexcept { cycle_.store(on, std::memory_order_release); }
  // Stops at `frame` (the frame after the last one played); -1 plays on.
  void setEnd(int64_t frame) noexcept { end_.store(frame, std::memory_order_release); }
  // With the cycle on, stops at the right locator once the loop has wrapped
  // `count` times; -1 loops until stopped.
  void setLoopLimit(int count) noexcept { loopLimit_.store(count, std::memory_order_release); }

  // The position after the last period, in frames.
  int64_t position() const noexcept { return position_.load(std::memory_order_acquire); }
  // Whether the transport plays (false again once it stopped at the end).
  bool playing() const noexcept { return rolling_.load(std::memory_order_acquire); }
  // Whether the last period waited for the disk instead of playing.
  bool waiting() const noexcept { return waiting_.load(std::memory_order_acquire); }
  // How many times the cycle has wrapped since the transport was made.
  int loops() const noexcept { return loops_.load(std::memory_order_acquire); }
  // Frames played (not silence while stopped or waiting) since it was made.
  int64_t framesPlayed() const noexcept { return framesPlayed_.load(std::memory_order_acquire); }

  // --- audio thread ---
  // Fills one period: silence while stopped or waiting, otherwise the
  // target's output, split at the right locator (continuing from the left
  // one) and at the end.
  void process(float* left, float* right, int frames) noexcept;

 private:
  // Renders up to `frames` frames; returns how many were played before a stop.
  int playSpan(float* left, float* right, int frames) noexcept;

  RPlayTarget& target_;
  const int64_t leftLocator_;
  const int64_t rightLocator_;

  std::atomic<bool> rolling_{false};
  std::atomic<bool> cycle_{false};
  std::atomic<int64_t> end_{-1};
  std::atomic<int> loopLimit_{-1};
  std::atomic<int64_t> locateFrame_{0};
  std::atomic<uint64_t> locateSerial_{0};

  std::atomic<int64_t> position_{0};
  std::atomic<bool> waiting_{false};
  std::atomic<int> loops_{0};
  std::atomic<int64_t> framesPlayed_{0};

  // Audio thread only.
  int64_t current_ = 0;
  uint64_t locatesSeen_ = 0;
};

}  // namespace vantor
