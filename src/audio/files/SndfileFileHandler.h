#pragma once
// Compressed and foreign formats read through libsndfile as the outside
// decoder: FLAC, Ogg (Vorbis, Opus), MP3, and the containers of other
// systems that our own handlers do not read (AU, CAF, Wave64, RF64). One
// handler a family, registered beside WAVE, AIFF and SDII; read only.
//
// Recognition looks at the family's identifiers in the first bytes ("fLaC",
// "OggS", an ID3 tag or an MPEG layer III frame header, ...); the header is
// then read by libsndfile, which must agree on the family. The file's
// format tells what the decoder gives: the stored width for integer PCM
// (16-bit FLAC reads as 16 bits), 16 bits for companded and ADPCM samples,
// and 32-bit float for the lossy codecs. Samples come decoded to float at
// full scale ±1 (integers divided by 2^(bits − 1), as our own reader does).

#include <vector>

#include "audio/files/AudioFileHandler.h"

namespace vantor {

class SndfileFileHandler : public AudioFileHandler {
 public:
  // The families, each one registered handler.
  enum class Family { kFlac, kOgg, kMp3, kAu, kCaf, kWave64, kRf64 };

  explicit SndfileFileHandler(Family family);

  const Info& info() const override { return info_; }
  [[nodiscard]] bool recognize(FStream& stream) const override;
  [[nodiscard]] bool readHeader(FStream& stream, AudioFile* file) const override;
  // Read only: the two writing operations refuse.
  [[nodiscard]] bool writeHeader(FStream& stream, AudioFile* file) const override;
  [[nodiscard]] bool finish(FStream& stream, AudioFile* file, int64_t frames) const override;
  std::string displayName(const AudioFile& file) const override;
  bool canWrite() const override { return false; }
  bool decodesSamples() const override { return true; }
  std::unique_ptr<AudioSampleSource> openSamples(const AudioFile& file) const override;

 private:
  Family family_;
  Info info_;
};

}  // namespace vantor
