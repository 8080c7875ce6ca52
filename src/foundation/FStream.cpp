#include "foundation/FStream.h"

#include <bit>
#include <cstring>
#include <type_traits>

namespace vantor {

std::string fourCCText(uint32_t code) {
  std::string text(4, ' ');
  for (int i = 0; i < 4; ++i) text[i] = static_cast<char>((code >> (24 - 8 * i)) & 0xFF);
  return text;
}

namespace {

// Stored byte order: little-endian with swap 0, big-endian otherwise,
// independent of the host.
template <class T>
void encode(T value, bool bigEndian, uint8_t* out) {
  using U = std::make_unsigned_t<
      std::conditional_t<std::is_floating_point_v<T>, std::conditional_t<sizeof(T) == 4, int32_t, int64_t>, T>>;
  U bits;
  std::memcpy(&bits, &value, sizeof(T));
  for (size_t i = 0; i < sizeof(T); ++i) {
    const size_t shift = 8 * (bigEndian ? sizeof(T) - 1 - i : i);
    out[i] = static_cast<uint8_t>(bits >> shift);
  }
}

template <class T>
T decode(const uint8_t* in, bool bigEndian) {
  using U = std::make_unsigned_t<
      std::conditional_t<std::is_floating_point_v<T>, std::conditional_t<sizeof(T) == 4, int32_t, int64_t>, T>>;
  U bits = 0;
  for (size_t i = 0; i < sizeof(T); ++i) {
    const size_t shift = 8 * (bigEndian ? sizeof(T) - 1 - i : i);
    bits |= static_cast<U>(static_cast<U>(in[i]) << shift);
  }
  T value;
  std::memcpy(&value, &bits, sizeof(T));
  return value;
}

}  // namespace

template <class T>
bool FStream::readValue(T* out) {
  uint8_t bytes[sizeof(T)];
  if (readBytes(bytes, sizeof(T)) != static_cast<int64_t>(sizeof(T))) {
    *out = T{};
    return false;
  }
  *out = decode<T>(bytes, swap_ != 0);
  return true;
}

template <class T>
bool FStream::writeValue(T value) {
  uint8_t bytes[sizeof(T)];
  encode<T>(value, swap_ != 0, bytes);
  return writeBytes(bytes, sizeof(T)) == static_cast<int64_t>(sizeof(T));
}

bool FStream::readInt16(int16_t* out) { return readValue(out); }
bool FStream::readUInt16(uint16_t* out) { return readValue(out); }
bool FStream::readInt32(int32_t* out) { return readValue(out); }
bool FStream::readUInt32(uint32_t* out) { return readValue(out); }
bool FStream::readInt64(int64_t* out) { return readValue(out); }
bool FStream::readFloat(float* out) { return readValue(out); }
bool FStream::readDouble(double* out) { return readValue(out); }

bool FStream::writeInt16(int16_t value) { return writeValue(value); }
bool FStream::writeUInt16(uint16_t value) { return writeValue(value); }
bool FStream::writeInt32(int32_t value) { return writeValue(value); }
bool FStream::writeUInt32(uint32_t value) { return writeValue(value); }
bool FStream::writeInt64(int64_t value) { return writeValue(value); }
bool FStream::writeFloat(float value) { return writeValue(value); }
bool FStream::writeDouble(double value) { return writeValue(value); }

bool FStream::readString(std::string* out) {
  out->clear();
  int32_t length = 0;
  if (!readInt32(&length)) return false;
  if (length < 1) return true;
  const int64_t left = remaining();
  if (left != kUnknown && length > left) return false;
  std::string text(static_cast<size_t>(length), '\0');
  if (readBytes(text.data(), length) != length) return false;
  // The stored bytes end with a NUL; keep the text before the first one.
  text.resize(std::strlen(text.c_str()));
  *out = std::move(text);
  return true;
}

bool FStream::writeString(std::string_view text) {
  const size_t end = text.find('\0');
  if (end != std::string_view::npos) text = text.substr(0, end);
  if (text.size() >= 0x7FFFFFFF) return false;
  const auto length = static_cast<int32_t>(text.size() + 1);
  if (!writeInt32(length)) return false;
  if (!writeRaw(text.data(), static_cast<int64_t>(text.size()))) return false;
  const char nul = 0;
  return writeRaw(&nul, 1);
}

int64_t FStream::stringSize(std::string_view text) { return static_cast<int64_t>(text.size()) + 5; }

bool FStream::readRaw(void* destination, int64_t count) {
  if (count <= 0) return count == 0;
  const int64_t got = readBytes(destination, count);
  if (got != count) {
    std::memset(destination, 0, static_cast<size_t>(count));
    return false;
  }
  return true;
}

bool FStream::skip(int64_t count) {
  uint8_t piece[64];
  while (count > 0) {
    const int64_t want = count < 64 ? count : 64;
    if (readBytes(piece, want) != want) return false;
    count -= want;
  }
  return true;
}

bool FStream::writeRaw(const void* source, int64_t count) {
  if (count <= 0) return count == 0;
  return writeBytes(source, count) == count;
}

}  // namespace vantor
