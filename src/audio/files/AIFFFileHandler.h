#pragma once
// AIFF and AIFC files: big-endian integer samples of 8 to 32 bits, and in
// AIFC also byte-swapped integers ("sowt") and 32-bit float ("fl32",
// "FL32"), with markers.
//
// The writer makes AIFF for integer formats and AIFC (compression "NONE" or
// "fl32") when the file's type name asks for it or the samples are float.
// Each cue entry is stored as two markers (identifiers 2 × i + 1 and
// 2 × i + 2, without names); the reader pairs markers in the order they are
// stored, and a last unpaired marker becomes an entry whose two positions
// are equal. Broadcast attributes (description, author, reference) travel
// in an application chunk of our own signature, "Vrqm"; one signed "REX "
// marks a REX file. An annotation travels in an "ANNO" chunk (the text as
// it is, at most 65535 bytes; the first such chunk is read), sampler
// settings in an "INST" chunk whose loops name cue entries through their
// markers (see InstrumentInfo). Chunks are padded to even sizes, as the
// format requires.

#include "audio/files/AudioFileHandler.h"

namespace vantor {

class AIFFFileHandler : public AudioFileHandler {
 public:
  const Info& info() const override;
  [[nodiscard]] bool recognize(FStream& stream) const override;
  [[nodiscard]] bool readHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool writeHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool finish(FStream& stream, AudioFile* file, int64_t frames) const override;
  std::string displayName(const AudioFile& file) const override;
};

// The 80-bit extended float of a "COMM" chunk, big-endian.
void encodeExtended(double value, uint8_t bytes[10]);
// 0 for a value that is negative, not finite or out of the double's range.
double decodeExtended(const uint8_t bytes[10]);

}  // namespace vantor
