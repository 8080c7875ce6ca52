#pragma once
// Helpers shared by the tempo, signature and position tests: archive round
// trips through memory (big-endian, as in project files) and small maps.

#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/FRef.h"
#include "support/ArchiveBytes.h"

namespace vantor::testing_tempo {

// The archive bytes of the graph reached from root.
inline std::vector<uint8_t> archiveBytes(const CmObject* root) { return test::archiveBytes(root, 1); }

// The root read back as a T (nullptr when the read failed or gave another class).
template <class T>
FRef<T> readBackAs(const std::vector<uint8_t>& bytes) {
  return test::readArchiveBytesAs<T>(bytes, nullptr, 1);
}

// Big-endian values at an offset of archive bytes.
inline double bigEndianDouble(const std::vector<uint8_t>& bytes, size_t at) {
  uint64_t bits = 0;
  for (size_t i = 0; i < 8; ++i) bits = (bits << 8) | bytes[at + i];
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}
inline uint32_t bigEndian32(const std::vector<uint8_t>& bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = (value << 8) | bytes[at + i];
  return value;
}
inline uint16_t bigEndian16(const std::vector<uint8_t>& bytes, size_t at) {
  return static_cast<uint16_t>((bytes[at] << 8) | bytes[at + 1]);
}
inline void putBigEndianDouble(std::vector<uint8_t>& bytes, size_t at, double value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof value);
  for (size_t i = 0; i < 8; ++i) bytes[at + i] = static_cast<uint8_t>(bits >> (56 - 8 * i));
}

}  // namespace vantor::testing_tempo
