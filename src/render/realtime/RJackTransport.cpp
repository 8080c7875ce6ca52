#include "render/realtime/RJackTransport.h"

#include <algorithm>
#include <cstring>

namespace vantor {

namespace {

void silence(float* left, float* right, int frames) {
  std::memset(left, 0, sizeof(float) * static_cast<size_t>(frames));
  std::memset(right, 0, sizeof(float) * static_cast<size_t>(frames));
}

}  // namespace

RJackTransport::RJackTransport(RPlayTarget& target, int64_t leftLocator, int64_t rightLocator)
    : target_(target), leftLocator_(leftLocator), rightLocator_(rightLocator) {}

void RJackTransport::locate(int64_t frame) noexcept {
  // The frame is stored before the serial is published: the audio thread
  // that sees the new serial sees this frame or a later one.
  locateFrame_.store(frame, std::memory_order_relaxed);
  locateSerial_.fetch_add(1, std::memory_order_release);
}

void RJackTransport::process(float* left, float* right, int frames) noexcept {
  const uint64_t serial = locateSerial_.load(std::memory_order_acquire);
  if (serial != locatesSeen_) {
    locatesSeen_ = serial;
    current_ = locateFrame_.load(std::memory_order_relaxed);
    target_.locate(current_);
  }
  int played = 0;
  bool waiting = false;
  if (rolling_.load(std::memory_order_acquire)) {
    waiting = !target_.ready();
    if (!waiting) played = playSpan(left, right, frames);
  }
  if (played < frames) silence(left + played, right + played, frames - played);
  if (played > 0) framesPlayed_.fetch_add(played, std::memory_order_release);
  waiting_.store(waiting, std::memory_order_release);
  position_.store(current_, std::memory_order_release);
}

int RJackTransport::playSpan(float* left, float* right, int frames) noexcept {
  const bool cycle = cycle_.load(std::memory_order_acquire) && leftLocator_ < rightLocator_;
  const int64_t end = end_.load(std::memory_order_acquire);
  const int limit = loopLimit_.load(std::memory_order_acquire);
  const int most = std::max(1, target_.maxFrames());
  int done = 0;
  while (done < frames) {
    // The end stops playback only outside the loop: a cycle plays until
    // stopped or until its loop limit.
    const bool looping = cycle && current_ < rightLocator_;
    int64_t span = std::min<int64_t>(frames - done, most);
    if (looping) span = std::min(span, rightLocator_ - current_);
    if (end >= 0 && !looping) {
      if (current_ >= end) {
        rolling_.store(false, std::memory_order_release);
        break;
      }
      span = std::min(span, end - current_);
    }
    target_.process(left + done, right + done, static_cast<int>(span));
    current_ += span;
    done += static_cast<int>(span);
    if (looping && current_ == rightLocator_) {
      if (limit >= 0 && loops_.load(std::memory_order_relaxed) >= limit) {
        rolling_.store(false, std::memory_order_release);
        break;
      }
      loops_.fetch_add(1, std::memory_order_release);
      current_ = leftLocator_;
      target_.locate(current_);
    }
  }
  return done;
}

}  // namespace vantor
