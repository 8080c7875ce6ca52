#pragma once
// Streams over memory: a growable byte buffer, and a counting stream that
// stores nothing and only counts the bytes written (the archive's measuring
// pass).

#include <cstdint>
#include <vector>

#include "foundation/FStream.h"

namespace vantor {

class FMemoryStream : public FStream {
 public:
  FMemoryStream() = default;
  explicit FMemoryStream(std::vector<uint8_t> data) : data_(std::move(data)) {}
  FMemoryStream(const void* data, int64_t size);

  int64_t readBytes(void* destination, int64_t count) override;
  int64_t writeBytes(const void* source, int64_t count) override;
  int64_t position() const override { return position_; }
  [[nodiscard]] bool seek(int64_t position) override;
  int64_t remaining() const override;

  const std::vector<uint8_t>& data() const { return data_; }
  std::vector<uint8_t> takeData() {
    position_ = 0;
    return std::move(data_);
  }

 private:
  std::vector<uint8_t> data_;
  int64_t position_ = 0;
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
