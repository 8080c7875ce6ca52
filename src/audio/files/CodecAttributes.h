#pragma once
// The extended format record of a file ("Codec Attributes"): the fields of a
// WAVE format chunk beyond the plain PCM ones. A file keeps the record it
// was read with, and the WAVE writer takes the format chunk from it when its
// bits per sample equal the format's.

#include <cstdint>
#include <vector>

#include "foundation/FShared.h"

namespace vantor {

struct AudioFormat;

class CodecAttributes : public FShared {
  VANTOR_CLASS(CodecAttributes)
 public:
  static constexpr uint16_t kTagPcm = 1;
  static constexpr uint16_t kTagFloat = 3;
  static constexpr uint16_t kTagExtensible = 0xFFFE;

  CodecAttributes() = default;
  // A record describing format with the given tag and no extra bytes.
  CodecAttributes(const AudioFormat& format, uint16_t tag);

  uint16_t formatTag = kTagPcm;
  int16_t channels = 0;
  uint32_t sampleRate = 0;  // whole Hz
  uint32_t averageBytesPerSecond = 0;
  uint16_t blockAlign = 0;
  uint16_t bitsPerSample = 0;
  uint16_t extraSize = 0;  // as stored; extraBytes may hold fewer
  std::vector<uint8_t> extraBytes;

  // Keys "Format Tag", "Channels", "Sample Rate", "Average Bytes",
  // "Block Align", "Bits", "Extra Size" and "Extra Bytes".
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;
};

}  // namespace vantor
