#pragma once
// RIFF WAVE files: integer PCM of 8 to 32 bits, 32- and 64-bit float and the
// extensible format, with cue points and broadcast attributes.
//
// Quirks of the format's writers and readers that are kept on purpose:
// - a "Fake" filler chunk directly behind "WAVE" keeps the chunks behind the
//   format chunk on 4-byte boundaries;
// - the "cue " chunk always holds 52 data bytes (room for two points) and
//   its count field holds twice the number of entries; entries beyond two
//   do not fit and are not written;
// - the reader skips every chunk by exactly its size + 8 bytes, with no pad
//   byte after an odd size;
// - integer samples are read in whole-byte containers whatever the file's
//   block align says (20-bit samples in 3 bytes).

#include "audio/files/AudioFileHandler.h"

namespace vantor {

class WaveFileHandler : public AudioFileHandler {
 public:
  const Info& info() const override;
  [[nodiscard]] bool recognize(FStream& stream) const override;
  [[nodiscard]] bool readHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool writeHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool finish(FStream& stream, AudioFile* file, int64_t frames) const override;
  std::string displayName(const AudioFile& file) const override;

  // Data bytes of the "cue " chunk as written.
  static constexpr uint32_t kCueChunkSize = 52;
};

}  // namespace vantor
