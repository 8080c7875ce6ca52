#pragma once
// Sound Designer II files, kept on Linux as a pair: the data file holds
// only the samples, big-endian signed integers of 8 to 32 bits, interleaved,
// from its first byte; the format lives in the file's resource fork, stored
// in the AppleDouble companion "._" + name beside it (Finder type 'Sd2f',
// creator 'Sd2a'). The fork carries three 'STR ' resources, each a Pascal
// string of decimal text: "sample-size" (bytes per sample, id 1000),
// "sample-rate" (Hz, "%.6f", id 1001) and "channels" (id 1002). The reader
// finds them by name, else by id, and also takes a bare resource fork as
// the companion, and a sample size written in bits (8 or more).
//
// Registered as type "SDII", shown as "Sound Designer II File", MIME type
// "audio/x-sd2", extension "sd2". A file is recognised by a readable
// companion, or by its ".sd2" extension, so that a data file whose
// companion is missing is refused with its own message. The format holds no
// markers: cue entries are not written. Float samples cannot be stored.

#include "audio/files/AudioFileHandler.h"

namespace vantor {

class SDIIFileHandler : public AudioFileHandler {
 public:
  const Info& info() const override;
  // Always false: the data file has no identifiers of its own.
  [[nodiscard]] bool recognize(FStream& stream) const override;
  [[nodiscard]] bool recognizeFile(FStream& stream, const std::string& path) const override;
  std::string refusal(const std::string& path) const override;
  [[nodiscard]] bool readHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool writeHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool finish(FStream& stream, AudioFile* file, int64_t frames) const override;
  std::string displayName(const AudioFile& file) const override;
  std::optional<AudioFileCompanion> companion(const AudioFile& file) const override;

  // The format that companion bytes describe; nullopt when they are not an
  // AppleDouble file or resource fork with the three resources, or the
  // values are out of range. The sample type is integer.
  static std::optional<AudioFormat> parseCompanion(const uint8_t* bytes, size_t size);
  // Companion files larger than this are not read (a real one is well
  // under a kilobyte).
  static constexpr int64_t kMaxCompanionBytes = int64_t{1} << 20;
};

}  // namespace vantor
