#include "render/realtime/RFrameRing.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace vantor {

RFrameRing::RFrameRing(size_t capacity) : data_(new float[capacity]()), capacity_(capacity) {
  assert(capacity > 0);
}

size_t RFrameRing::writable() const noexcept {
  const size_t written = writeIndex_.load(std::memory_order_relaxed);
  return capacity_ - (written - readIndex_.load(std::memory_order_acquire));
}

size_t RFrameRing::write(const float* samples, size_t count) noexcept {
  const size_t written = writeIndex_.load(std::memory_order_relaxed);
  count = std::min(count, capacity_ - (written - readIndex_.load(std::memory_order_acquire)));
  if (count == 0) return 0;  // `samples` may then be null, which memcpy refuses
  const size_t at = written % capacity_;
  const size_t first = std::min(count, capacity_ - at);
  std::memcpy(data_.get() + at, samples, first * sizeof(float));
  std::memcpy(data_.get(), samples + first, (count - first) * sizeof(float));
  writeIndex_.store(written + count, std::memory_order_release);
  return count;
}

size_t RFrameRing::readable() const noexcept {
  return writeIndex_.load(std::memory_order_acquire) - readIndex_.load(std::memory_order_relaxed);
}

size_t RFrameRing::read(float* out, size_t count) noexcept {
  const size_t taken = readIndex_.load(std::memory_order_relaxed);
  count = std::min(count, writeIndex_.load(std::memory_order_acquire) - taken);
  if (out != nullptr && count > 0) {
    const size_t at = taken % capacity_;
    const size_t first = std::min(count, capacity_ - at);
    std::memcpy(out, data_.get() + at, first * sizeof(float));
    std::memcpy(out + first, data_.get(), (count - first) * sizeof(float));
  }
  readIndex_.store(taken + count, std::memory_order_release);
  return count;
}

void RFrameRing::reset() noexcept {
  writeIndex_.store(0, std::memory_order_relaxed);
  readIndex_.store(0, std::memory_order_relaxed);
}

}  // namespace vantor
