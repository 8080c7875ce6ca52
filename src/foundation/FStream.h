#pragma once
// The foundation byte stream. 16-, 32- and 64-bit integers, floats and
// doubles are little-endian while the swap flag is 0 and big-endian (byte
// reversed) while it is non-zero. A read that delivers fewer bytes than
// asked for yields 0 and false. Streams over memory expose a direct window
// so that primitives copy bytes without a virtual call per value.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

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

  // Raw transfer; each returns the number of bytes moved. Implementations
  // first take account of what the direct window (below) has consumed.
  virtual int64_t readBytes(void* destination, int64_t count) = 0;
  virtual int64_t writeBytes(const void* source, int64_t count) = 0;
  // Position in bytes from the start of the stream.
  virtual int64_t position() const = 0;
  // Moves to an absolute position; false when the stream cannot go there.
  [[nodiscard]] virtual bool seek(int64_t position) = 0;
  // Bytes that a read can still deliver, or kUnknown.
  virtual int64_t remaining() const = 0;
  // Says that the bytes of the direct window before cursor are done with,
  // so that a stream over a mapped file may give their pages back; reading
  // them again still works (it only costs reading them from the file again).
  // The default does nothing.
  virtual void releaseBefore(const uint8_t* cursor);

  int16_t swap() const { return swap_; }
  void setSwap(int16_t swap) { swap_ = swap; }
  bool isBigEndian() const { return swap_ != 0; }

  [[nodiscard]] bool readInt16(int16_t* out) { return readValue(out); }
  [[nodiscard]] bool readUInt16(uint16_t* out) { return readValue(out); }
  [[nodiscard]] bool readInt32(int32_t* out) { return readValue(out); }
  [[nodiscard]] bool readUInt32(uint32_t* out) { return readValue(out); }
  [[nodiscard]] bool readInt64(int64_t* out) { return readValue(out); }
  [[nodiscard]] bool readFloat(float* out) { return readValue(out); }
  [[nodiscard]] bool readDouble(double* out) { return readValue(out); }
  // A string: 32-bit length counting the bytes including the NUL, then the
  // bytes. A length below 1 reads as the empty string. A length larger than
  // what remains fails without allocating.
  [[nodiscard]] bool readString(std::string* out);
  // Exactly count bytes; false (and a zeroed destination) on a short read.
  [[nodiscard]] bool readRaw(void* destination, int64_t count);
  // Reads and discards count bytes.
  [[nodiscard]] bool skip(int64_t count);

  [[nodiscard]] bool writeInt16(int16_t value) { return writeValue(value); }
  [[nodiscard]] bool writeUInt16(uint16_t value) { return writeValue(value); }
  [[nodiscard]] bool writeInt32(int32_t value) { return writeValue(value); }
  [[nodiscard]] bool writeUInt32(uint32_t value) { return writeValue(value); }
  [[nodiscard]] bool writeInt64(int64_t value) { return writeValue(value); }
  [[nodiscard]] bool writeFloat(float value) { return writeValue(value); }
  [[nodiscard]] bool writeDouble(double value) { return writeValue(value); }
  // Writes text (up to its first NUL) as a string: length + 5 bytes.
  [[nodiscard]] bool writeString(std::string_view text);
  [[nodiscard]] bool writeRaw(const void* source, int64_t count);

  // The written size of a string of this text.
  static int64_t stringSize(std::string_view text);

  // The bytes that can be read from memory without a virtual call (the
  // direct window), and how many there are. Nothing is consumed.
  const uint8_t* directBytes(int64_t* available) const {
    *available = readLimit_ - cursor_;
    return cursor_;
  }

 protected:
  // The direct window. A stream whose bytes lie in memory points cursor_ at
  // its position there; readLimit_ ends the bytes that may be read and
  // writeLimit_ the room that may be written, each at or after cursor_ when
  // in use and equal to the window's start when not (so the room computes
  // as zero or less, and the virtual calls take over). Primitives move
  // cursor_ themselves; a stream reads its position from it.
  void setWindow(uint8_t* cursor, uint8_t* readLimit, uint8_t* writeLimit) {
    cursor_ = cursor;
    readLimit_ = readLimit;
    writeLimit_ = writeLimit;
  }
  uint8_t* cursor_ = nullptr;
  uint8_t* readLimit_ = nullptr;
  uint8_t* writeLimit_ = nullptr;

 private:
  template <class T>
  static auto bitsOf(T value) {
    using U = std::conditional_t<sizeof(T) == 2, uint16_t, std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>;
    U bits;
    std::memcpy(&bits, &value, sizeof(T));
    return bits;
  }
  template <class U>
  static U reversed(U bits) {
    if constexpr (sizeof(U) == 2) return static_cast<U>(__builtin_bswap16(bits));
    if constexpr (sizeof(U) == 4) return static_cast<U>(__builtin_bswap32(bits));
    if constexpr (sizeof(U) == 8) return static_cast<U>(__builtin_bswap64(bits));
  }
  // Stored order: little-endian with swap 0, big-endian otherwise, on every
  // host (the byte reversal below assumes a little-endian host, which the
  // build checks).
  template <class T>
  bool readValue(T* out) {
    decltype(bitsOf(T{})) bits;
    if (readLimit_ - cursor_ >= static_cast<std::ptrdiff_t>(sizeof(T))) {
      std::memcpy(&bits, cursor_, sizeof(T));
      cursor_ += sizeof(T);
    } else if (readBytes(&bits, sizeof(T)) != static_cast<int64_t>(sizeof(T))) {
      *out = T{};
      return false;
    }
    if (swap_ != 0) bits = reversed(bits);
    std::memcpy(out, &bits, sizeof(T));
    return true;
  }
  template <class T>
  bool writeValue(T value) {
    auto bits = bitsOf(value);
    if (swap_ != 0) bits = reversed(bits);
    if (writeLimit_ - cursor_ >= static_cast<std::ptrdiff_t>(sizeof(T))) {
      std::memcpy(cursor_, &bits, sizeof(T));
      cursor_ += sizeof(T);
      return true;
    }
    return writeBytes(&bits, sizeof(T)) == static_cast<int64_t>(sizeof(T));
  }

  int16_t swap_ = 0;
};

static_assert(std::endian::native == std::endian::little, "stored byte order assumes a little-endian host");

}  // namespace vantor
