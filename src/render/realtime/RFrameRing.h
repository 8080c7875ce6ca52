#pragma once
// A lock-free ring of float samples between exactly one producer thread and
// one consumer thread (the disk thread and the audio thread). The storage is
// allocated once by the constructor; write() and read() never lock or
// allocate. The producer owns the write index and the consumer the read
// index; each publishes its index with a release store and reads the other's
// with an acquire load, so the samples written before a publish are visible
// to the side that sees it.

#include <atomic>
#include <cstddef>
#include <memory>

namespace vantor {

class RFrameRing {
 public:
  // Room for `capacity` samples (a frame of a stereo segment is two).
  explicit RFrameRing(size_t capacity);
  RFrameRing(const RFrameRing&) = delete;
  RFrameRing& operator=(const RFrameRing&) = delete;

  size_t capacity() const noexcept { return capacity_; }

  // Producer side: how many samples fit now, and writes up to `count` of
  // them; returns how many it wrote.
  size_t writable() const noexcept;
  size_t write(const float* samples, size_t count) noexcept;

  // Consumer side: how many samples wait, takes up to `count` of them into
  // `out` (or drops them when `out` is null); returns how many it took.
  size_t readable() const noexcept;
  size_t read(float* out, size_t count) noexcept;

  // Empties the ring. Only while neither side is using it (the disk thread
  // resets a buffer the audio thread has given up).
  void reset() noexcept;

 private:
  std::unique_ptr<float[]> data_;
  size_t capacity_;
  // Indices grow without bound (64 bits never wrap in practice) and are
  // taken modulo the capacity: full and empty are told apart by their
  // difference, without a wasted slot.
  alignas(64) std::atomic<size_t> writeIndex_{0};
  alignas(64) std::atomic<size_t> readIndex_{0};
};

}  // namespace vantor
