#include "foundation/FMemoryStream.h"

#include <algorithm>
#include <cstring>

namespace vantor {

FMemoryStream::FMemoryStream(const void* data, int64_t size)
    : data_(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size) {}

int64_t FMemoryStream::readBytes(void* destination, int64_t count) {
  const int64_t available = static_cast<int64_t>(data_.size()) - position_;
  const int64_t n = std::max<int64_t>(0, std::min(count, available));
  if (n > 0) std::memcpy(destination, data_.data() + position_, static_cast<size_t>(n));
  position_ += n;
  return n;
}

int64_t FMemoryStream::writeBytes(const void* source, int64_t count) {
  if (count <= 0) return 0;
  const auto end = static_cast<size_t>(position_ + count);
  if (end > data_.size()) data_.resize(end);
  std::memcpy(data_.data() + position_, source, static_cast<size_t>(count));
  position_ += count;
  return count;
}

bool FMemoryStream::seek(int64_t position) {
  if (position < 0 || position > static_cast<int64_t>(data_.size())) return false;
  position_ = position;
  return true;
}

int64_t FMemoryStream::remaining() const {
  return std::max<int64_t>(0, static_cast<int64_t>(data_.size()) - position_);
}

int64_t FCountingStream::writeBytes(const void*, int64_t count) {
  if (count <= 0) return 0;
  position_ += count;
  size_ = std::max(size_, position_);
  return count;
}

bool FCountingStream::seek(int64_t position) {
  if (position < 0 || position > size_) return false;
  position_ = position;
  return true;
}

}  // namespace vantor
