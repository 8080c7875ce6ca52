#include "midi/smf/MSmfHeader.h"

namespace vantor {

void decodeSmfDivision(uint16_t word, MSmfHeader* header) {
  header->smpte = (word & 0x8000) != 0;
  if (header->smpte) {
    // The high byte is the frame rate as a negative 8-bit number: 0xE7 is -25.
    header->frames = static_cast<int32_t>((word & 0x7F00) >> 8) - 128;
    header->division = word & 0xFF;
  } else {
    header->frames = 0;
    header->division = word;
  }
}

uint16_t encodeSmfDivision(const MSmfHeader& header) {
  if (!header.smpte) return static_cast<uint16_t>(header.division);
  const uint32_t word =
      (static_cast<uint32_t>(header.frames) << 8) | (static_cast<uint32_t>(header.division) & 0xFF) | 0x8000;
  return static_cast<uint16_t>(word & 0xFFFF);
}

}  // namespace vantor
