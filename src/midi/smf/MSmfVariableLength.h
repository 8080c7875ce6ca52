#pragma once
// Variable-length quantities of Standard MIDI Files: 7 bits per byte, most
// significant group first, the top bit set on every byte but the last. At
// most 4 bytes, so values up to 0x0FFFFFFF.

#include <cstddef>
#include <cstdint>

namespace vantor {

constexpr uint32_t kSmfMaxVariableLength = 0x0FFFFFFF;
constexpr int kSmfMaxVariableLengthBytes = 4;

// Reads a quantity from the first of available bytes. Returns the number of
// bytes consumed (1 to 4), or 0 when the bytes end before the last byte of
// the quantity or when it runs past 4 bytes; *value is then 0.
int readSmfVariableLength(const uint8_t* bytes, size_t available, uint32_t* value);

// Writes value to out (room for 4 bytes) and returns the number of bytes
// written (1 to 4), or 0 when value is above kSmfMaxVariableLength.
int writeSmfVariableLength(uint32_t value, uint8_t* out);

}  // namespace vantor
