#include "foundation/FReadStream.h"

#include <algorithm>

namespace vantor {

FReadStream::FReadStream(FStream& outer, int64_t length)
    : outer_(outer), start_(outer.position()), length_(std::max<int64_t>(0, length)) {
  setSwap(outer.swap());
}

FReadStream::~FReadStream() { (void)close(); }

int64_t FReadStream::readBytes(void* destination, int64_t count) {
  const int64_t n = std::min(count, length_ - consumed_);
  if (n <= 0) return 0;
  const int64_t got = outer_.readBytes(destination, n);
  consumed_ += got;
  return got;
}

bool FReadStream::seek(int64_t position) {
  if (position < 0 || position > length_) return false;
  if (!outer_.seek(start_ + position)) return false;
  consumed_ = position;
  return true;
}

int64_t FReadStream::remaining() const {
  const int64_t inside = length_ - consumed_;
  const int64_t outside = outer_.remaining();
  return outside == kUnknown ? inside : std::min(inside, outside);
}

bool FReadStream::close() {
  if (closed_) return true;
  closed_ = true;
  return skip(length_ - consumed_);
}

}  // namespace vantor
