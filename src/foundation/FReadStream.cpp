#include "foundation/FReadStream.h"

#include <algorithm>
#include <cstring>

namespace vantor {

FReadStream::FReadStream(FStream& outer, int64_t length)
    : outer_(outer), start_(outer.position()), length_(std::max<int64_t>(0, length)) {
  setSwap(outer.swap());
  int64_t available = 0;
  const uint8_t* direct = outer.directBytes(&available);
  if (direct != nullptr && available >= length_) {
    // Read only: the write limit stays at the window's start.
    window_ = const_cast<uint8_t*>(direct);
    setWindow(window_, window_ + length_, window_);
  }
}

FReadStream::~FReadStream() { (void)close(); }

int64_t FReadStream::position() const { return window_ != nullptr ? cursor_ - window_ : consumed_; }

int64_t FReadStream::readBytes(void* destination, int64_t count) {
  if (window_ != nullptr) {
    const int64_t n = std::max<int64_t>(0, std::min(count, readLimit_ - cursor_));
    if (n > 0) std::memcpy(destination, cursor_, static_cast<size_t>(n));
    cursor_ += n;
    return n;
  }
  const int64_t n = std::min(count, length_ - consumed_);
  if (n <= 0) return 0;
  const int64_t got = outer_.readBytes(destination, n);
  consumed_ += got;
  return got;
}

bool FReadStream::seek(int64_t position) {
  if (position < 0 || position > length_) return false;
  if (window_ != nullptr) {
    cursor_ = window_ + position;
    return true;
  }
  if (!outer_.seek(start_ + position)) return false;
  consumed_ = position;
  return true;
}

int64_t FReadStream::remaining() const {
  if (window_ != nullptr) return readLimit_ - cursor_;
  const int64_t inside = length_ - consumed_;
  const int64_t outside = outer_.remaining();
  return outside == kUnknown ? inside : std::min(inside, outside);
}

void FReadStream::releaseBefore(const uint8_t* cursor) {
  if (window_ != nullptr) outer_.releaseBefore(cursor);
}

bool FReadStream::close() {
  if (closed_) return true;
  closed_ = true;
  if (window_ != nullptr) {
    cursor_ = readLimit_;
    if (outer_.position() == start_) return outer_.skip(length_);
    return outer_.seek(start_ + length_);
  }
  return skip(length_ - consumed_);
}

}  // namespace vantor
