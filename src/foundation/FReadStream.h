#pragma once
// A bounded reader over the next `length` bytes of another stream: reads
// never pass the bound, and close() skips whatever was left unread, so the
// outer stream ends up exactly after the bounded range.

#include <cstdint>

#include "foundation/FStream.h"

namespace vantor {

class FReadStream : public FStream {
 public:
  // Reads from outer's current position; takes outer's swap flag. When the
  // whole range lies in outer's direct window, it becomes this stream's
  // window and outer is not touched until close().
  FReadStream(FStream& outer, int64_t length);
  ~FReadStream() override;

  int64_t readBytes(void* destination, int64_t count) override;
  int64_t writeBytes(const void*, int64_t) override { return 0; }
  // Position relative to the start of the bounded range.
  int64_t position() const override;
  [[nodiscard]] bool seek(int64_t position) override;
  int64_t remaining() const override;
  // Passed on to the outer stream, whose window this one shares.
  void releaseBefore(const uint8_t* cursor) override;

  int64_t length() const { return length_; }
  // Skips the unread rest (in pieces of at most 64 bytes when the outer
  // stream is not in memory). False when the outer stream ended before the
  // bound. Closing twice does nothing.
  [[nodiscard]] bool close();

 private:
  FStream& outer_;
  int64_t start_;
  int64_t length_;
  int64_t consumed_ = 0;       // when reading through outer
  uint8_t* window_ = nullptr;  // start of the range in outer's window, or nullptr
  bool closed_ = false;
};

}  // namespace vantor
