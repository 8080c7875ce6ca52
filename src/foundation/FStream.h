#pragma once
// The foundation byte stream. 16-, 32- and 64-bit integers, floats and
// doubles are little-endian while the swap flag is 0 and big-endian (byte
// reversed) while it is non-zero, on every host. A read that delivers fewer
// bytes than asked for yields 0 and false.

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/FShared.h"

namespace vantor {

// A four-character code as a 32-bit value: the first letter in the highest
// byte, so that written big-endian it reads as the text.
constexpr uint32_t fourCC(const char (&code)[5]) {
  return (static_cast<uint32_t>(static_cast<uint8_t>(code[0])) << 24) |
         (static_cast<uint32_t>(static_cast<uint8_t>(code[1])) << 16) |
         (static_cast<uint32_t>(static_cast<uint8_t>(code[2])) << 8) |
         static_cast<uint32_t>(static_cast<uint8_t>(code[3]));
}
std::string fourCCText(uint32_t code);

class FStream : public FShared {
 public:
  static constexpr int64_t kUnknown = -1;

  // Raw transfer; each returns the number of bytes moved.
  virtual int64_t readBytes(void* destination, int64_t count) = 0;
  virtual int64_t writeBytes(const void* source, int64_t count) = 0;
  // Position in bytes from the start of the stream.
  virtual int64_t position() const = 0;
  // Moves to an absolute position; false when the stream cannot go there.
  [[nodiscard]] virtual bool seek(int64_t position) = 0;
  // Bytes that a read can still deliver, or kUnknown.
  virtual int64_t remaining() const = 0;

  int16_t swap() const { return swap_; }
  void setSwap(int16_t swap) { swap_ = swap; }
  bool isBigEndian() const { return swap_ != 0; }

  [[nodiscard]] bool readInt16(int16_t* out);
  [[nodiscard]] bool readUInt16(uint16_t* out);
  [[nodiscard]] bool readInt32(int32_t* out);
  [[nodiscard]] bool readUInt32(uint32_t* out);
  [[nodiscard]] bool readInt64(int64_t* out);
  [[nodiscard]] bool readFloat(float* out);
  [[nodiscard]] bool readDouble(double* out);
  // A string: 32-bit length counting the bytes including the NUL, then the
  // bytes. A length below 1 reads as the empty string. A length larger than
  // what remains fails without allocating.
  [[nodiscard]] bool readString(std::string* out);
  // Exactly count bytes; false (and a zeroed destination) on a short read.
  [[nodiscard]] bool readRaw(void* destination, int64_t count);
  // Reads and discards count bytes.
  [[nodiscard]] bool skip(int64_t count);

  [[nodiscard]] bool writeInt16(int16_t value);
  [[nodiscard]] bool writeUInt16(uint16_t value);
  [[nodiscard]] bool writeInt32(int32_t value);
  [[nodiscard]] bool writeUInt32(uint32_t value);
  [[nodiscard]] bool writeInt64(int64_t value);
  [[nodiscard]] bool writeFloat(float value);
  [[nodiscard]] bool writeDouble(double value);
  // Writes text (up to its first NUL) as a string: length + 5 bytes.
  [[nodiscard]] bool writeString(std::string_view text);
  [[nodiscard]] bool writeRaw(const void* source, int64_t count);

  // The written size of a string of this text.
  static int64_t stringSize(std::string_view text);

 private:
  template <class T>
  bool readValue(T* out);
  template <class T>
  bool writeValue(T value);

  int16_t swap_ = 0;
};

}  // namespace vantor
