#pragma once
// Streams over memory: a growable byte buffer, and a counting stream that
// stores nothing and only counts the bytes written.

#include <cstdint>
#include <vector>

#include "foundation/FStream.h"

namespace vantor {

// Reads and writes go through the direct window: the whole buffer is the
// window, so primitives never make a virtual call until the buffer must
// grow.
class FMemoryStream : public FStream {
 public:
  FMemoryStream() = default;
  explicit FMemoryStream(std::vector<uint8_t> data);
  FMemoryStream(const void* data, int64_t size);
  FMemoryStream(const FMemoryStream&) = delete;
  FMemoryStream& operator=(const FMemoryStream&) = delete;

  int64_t readBytes(void* destination, int64_t count) override;
  int64_t writeBytes(const void* source, int64_t count) override;
  int64_t position() const override;
  [[nodiscard]] bool seek(int64_t position) override;
  int64_t remaining() const override;

  // The bytes written or given so far.
  const std::vector<uint8_t>& data() const;
  std::vector<uint8_t> takeData();
  // Makes room for at least bytes in all without moving the position.
  void reserve(int64_t bytes);
  // Cuts the stream to size bytes (no more than it holds) and moves the
  // position there.
  void truncate(int64_t size);
  // The stream's bytes from offset on, for patching what was written there;
  // valid until the next write or reserve.
  uint8_t* at(int64_t offset) { return data_.data() + offset; }

 private:
  // The logical size: everything up to the furthest byte written or given.
  int64_t size() const;
  void grow(int64_t needed);
  void place(int64_t position);

  // data_.size() is the room; size_ and the cursor tell the bytes held.
  mutable std::vector<uint8_t> data_;
  mutable int64_t size_ = 0;
};

class FCountingStream : public FStream {
 public:
  int64_t readBytes(void*, int64_t) override { return 0; }
  int64_t writeBytes(const void*, int64_t count) override;
  int64_t position() const override { return position_; }
  [[nodiscard]] bool seek(int64_t position) override;
  int64_t remaining() const override { return 0; }
  // The number of bytes the stream would hold.
  int64_t count() const { return size_; }

 private:
  int64_t position_ = 0;
  int64_t size_ = 0;
};

}  // namespace vantor
