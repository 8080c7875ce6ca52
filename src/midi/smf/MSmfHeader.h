#pragma once
// The header of a Standard MIDI File ("MThd") as the codec holds it, and the
// conversion of its division word.

#include <cstdint>

namespace vantor {

struct MSmfHeader {
  // 0 (one track) or 1 (several tracks played together).
  uint16_t format = 1;
  // The number of "MTrk" chunks. Signed: a stored count of 0x8000 or more
  // reads as negative and no track chunk is read; -1 (0xFFFF) is also the
  // writer's mark for a header not yet written.
  int16_t trackCount = 0;
  // Set when the division word is negative: time is counted in frames.
  bool smpte = false;
  // Ticks per quarter note; with smpte, ticks per frame (the word's low byte).
  int32_t division = 480;
  // With smpte, the negative frame rate (-24, -25, -29, -30); 0 otherwise.
  int32_t frames = 0;
};

// Fills smpte, division and frames from the stored 16-bit division word:
// 0xE728 gives smpte, frames -25 and 40 ticks per frame.
void decodeSmfDivision(uint16_t word, MSmfHeader* header);

// The division word to store: with smpte, (frames << 8) | (division & 0xFF)
// | 0x8000 kept to 16 bits; otherwise the ticks per quarter note.
uint16_t encodeSmfDivision(const MSmfHeader& header);

}  // namespace vantor
