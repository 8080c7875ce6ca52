#include "foundation/FMemoryStream.h"

#include <algorithm>
#include <cstring>

namespace vantor {

FMemoryStream::FMemoryStream(std::vector<uint8_t> data) : data_(std::move(data)) {
  size_ = static_cast<int64_t>(data_.size());
  place(0);
}

FMemoryStream::FMemoryStream(const void* data, int64_t size)
    : FMemoryStream(std::vector<uint8_t>(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size)) {
}

int64_t FMemoryStream::position() const { return cursor_ != nullptr ? cursor_ - data_.data() : 0; }

int64_t FMemoryStream::size() const { return std::max(size_, position()); }

// Callers bring size_ up to date first: after a reallocation the cursor no
// longer points into data_.
void FMemoryStream::place(int64_t position) {
  uint8_t* base = data_.data();
  setWindow(base + position, base + size_, base + static_cast<int64_t>(data_.size()));
}

void FMemoryStream::grow(int64_t needed) {
  const int64_t position = this->position();
  size_ = size();
  if (needed > static_cast<int64_t>(data_.size())) {
    data_.resize(static_cast<size_t>(std::max<int64_t>(needed, static_cast<int64_t>(data_.size()) * 2)));
  }
  place(position);
}

void FMemoryStream::reserve(int64_t bytes) { grow(bytes); }

void FMemoryStream::truncate(int64_t size) {
  size_ = std::min(size, this->size());
  uint8_t* base = data_.data();
  setWindow(base + size_, base + size_, base + static_cast<int64_t>(data_.size()));
}

int64_t FMemoryStream::readBytes(void* destination, int64_t count) {
  const int64_t n = std::max<int64_t>(0, std::min(count, readLimit_ - cursor_));
  if (n > 0) std::memcpy(destination, cursor_, static_cast<size_t>(n));
  cursor_ += n;
  return n;
}

int64_t FMemoryStream::writeBytes(const void* source, int64_t count) {
  if (count <= 0) return 0;
  const int64_t position = this->position();
  grow(position + count);
  std::memcpy(cursor_, source, static_cast<size_t>(count));
  cursor_ += count;
  return count;
}

bool FMemoryStream::seek(int64_t position) {
  if (position < 0 || position > size()) return false;
  size_ = size();
  place(position);
  return true;
}

int64_t FMemoryStream::remaining() const { return std::max<int64_t>(0, size() - position()); }

const std::vector<uint8_t>& FMemoryStream::data() const {
  // Trimming keeps the room as capacity, so writing on stays cheap.
  const int64_t position = this->position();
  size_ = size();
  data_.resize(static_cast<size_t>(size_));
  const_cast<FMemoryStream*>(this)->place(position);
  return data_;
}

std::vector<uint8_t> FMemoryStream::takeData() {
  (void)data();
  std::vector<uint8_t> taken = std::move(data_);
  data_.clear();
  size_ = 0;
  setWindow(nullptr, nullptr, nullptr);
  return taken;
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
