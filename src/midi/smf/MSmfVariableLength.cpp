#include "midi/smf/MSmfVariableLength.h"

namespace vantor {

int readSmfVariableLength(const uint8_t* bytes, size_t available, uint32_t* value) {
  uint32_t result = 0;
  for (int i = 0; i < kSmfMaxVariableLengthBytes && static_cast<size_t>(i) < available; ++i) {
    result = (result << 7) | (bytes[i] & 0x7F);
    if ((bytes[i] & 0x80) == 0) {
      *value = result;
      return i + 1;
    }
  }
  *value = 0;
  return 0;
}

int writeSmfVariableLength(uint32_t value, uint8_t* out) {
  if (value > kSmfMaxVariableLength) return 0;
  int count = 1;
  while (count < kSmfMaxVariableLengthBytes && (value >> (7 * count)) != 0) ++count;
  for (int i = 0; i < count; ++i) {
    const auto group = static_cast<uint8_t>((value >> (7 * (count - 1 - i))) & 0x7F);
    out[i] = i + 1 < count ? static_cast<uint8_t>(group | 0x80) : group;
  }
  return count;
}

}  // namespace vantor
