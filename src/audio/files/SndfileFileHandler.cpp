#include "audio/files/SndfileFileHandler.h"

#include <sndfile.h>

#include <cstring>

namespace vantor {

namespace {

using Family = SndfileFileHandler::Family;

// libsndfile reads through these from an FStream, so that recognition and
// header reading work on any stream, a file or bytes in memory.
sf_count_t streamLength(void* data) {
  auto* stream = static_cast<FStream*>(data);
  const int64_t at = stream->position();
  if (!stream->seek(0)) return -1;
  const int64_t length = stream->remaining();
  return stream->seek(at) ? length : -1;
}

sf_count_t streamSeek(sf_count_t offset, int whence, void* data) {
  auto* stream = static_cast<FStream*>(data);
  int64_t target = offset;
  if (whence == SEEK_CUR) target += stream->position();
  if (whence == SEEK_END) target += streamLength(data);
  return target >= 0 && stream->seek(target) ? stream->position() : -1;
}

sf_count_t streamRead(void* destination, sf_count_t count, void* data) {
  return static_cast<FStream*>(data)->readBytes(destination, count);
}

sf_count_t streamWrite(const void*, sf_count_t, void*) { return 0; }

sf_count_t streamTell(void* data) { return static_cast<FStream*>(data)->position(); }

int majorOf(Family family) {
  switch (family) {
    case Family::kFlac:
      return SF_FORMAT_FLAC;
    case Family::kOgg:
      return SF_FORMAT_OGG;
    case Family::kMp3:
      return SF_FORMAT_MPEG;
    case Family::kAu:
      return SF_FORMAT_AU;
    case Family::kCaf:
      return SF_FORMAT_CAF;
    case Family::kWave64:
      return SF_FORMAT_W64;
    case Family::kRf64:
      return SF_FORMAT_RF64;
  }
  return 0;
}

AudioFileHandler::Info infoOf(Family family) {
  switch (family) {
    case Family::kFlac:
      return {{"FLAC"}, {"FLAC File"}, {"audio/flac", "audio/x-flac"}, {"flac"}};
    case Family::kOgg:
      return {{"OGG", "OPUS"}, {"Ogg Vorbis File", "Opus File"}, {"audio/ogg", "audio/opus"}, {"ogg", "oga", "opus"}};
    case Family::kMp3:
      return {{"MP3"}, {"MP3 File"}, {"audio/mpeg", "audio/mp3"}, {"mp3"}};
    case Family::kAu:
      return {{"AU"}, {"AU File"}, {"audio/basic"}, {"au", "snd"}};
    case Family::kCaf:
      return {{"CAF"}, {"CAF File"}, {"audio/x-caf"}, {"caf"}};
    case Family::kWave64:
      return {{"W64"}, {"Wave64 File"}, {"audio/x-w64"}, {"w64"}};
    case Family::kRf64:
      return {{"RF64"}, {"RF64 File"}, {"audio/x-rf64"}, {"rf64"}};
  }
  return {};
}

// An MPEG audio frame header of layer III: 11 sync bits, a version other
// than the reserved one, layer bits 01, a bit-rate index other than 15 and
// a rate index other than 3.
bool isLayer3Frame(const uint8_t* h) {
  return h[0] == 0xFF && (h[1] & 0xE0) == 0xE0 && (h[1] & 0x18) != 0x08 && (h[1] & 0x06) == 0x02 &&
         (h[2] & 0xF0) != 0xF0 && (h[2] & 0x0C) != 0x0C;
}

bool startsWith(const uint8_t* bytes, const char* text) { return std::memcmp(bytes, text, std::strlen(text)) == 0; }

bool hasIdentifiers(Family family, const uint8_t* h) {
  // Wave64 begins with the GUID of its "riff" chunk.
  static const uint8_t kW64Riff[16] = {'r',  'i',  'f',  'f',  0x2E, 0x91, 0xCF, 0x11,
                                       0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00};
  switch (family) {
    case Family::kFlac:
      return startsWith(h, "fLaC");
    case Family::kOgg:
      return startsWith(h, "OggS");
    case Family::kMp3:
      return isLayer3Frame(h);
    case Family::kAu:
      return startsWith(h, ".snd") || startsWith(h, "dns.");
    case Family::kCaf:
      return startsWith(h, "caff");
    case Family::kWave64:
      return std::memcmp(h, kW64Riff, 16) == 0;
    case Family::kRf64:
      return startsWith(h, "RF64");
  }
  return false;
}

// What the decoder gives for a file's encoding.
void describeSamples(int subtype, AudioFormat* format) {
  format->sampleType = SampleType::kInteger;
  switch (subtype) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      format->bitsPerSample = 8;
      return;
    case SF_FORMAT_PCM_24:
      format->bitsPerSample = 24;
      return;
    case SF_FORMAT_PCM_32:
      format->bitsPerSample = 32;
      return;
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
      format->sampleType = SampleType::kFloat;
      format->bitsPerSample = 32;
      return;
    case SF_FORMAT_DOUBLE:
      format->sampleType = SampleType::kFloat;
      format->bitsPerSample = 64;
      return;
    default:  // 16-bit PCM, companded, ADPCM and the like
      format->bitsPerSample = 16;
      return;
  }
}

class SndfileSource : public AudioSampleSource {
 public:
  explicit SndfileSource(SNDFILE* file) : file_(file) {}
  ~SndfileSource() override { sf_close(file_); }
  SndfileSource(const SndfileSource&) = delete;
  SndfileSource& operator=(const SndfileSource&) = delete;

  int64_t readFrames(float* samples, int64_t frames) override {
    const sf_count_t got = sf_readf_float(file_, samples, frames);
    return sf_error(file_) != SF_ERR_NO_ERROR ? -1 : got;
  }
  bool seekFrame(int64_t frame) override { return sf_seek(file_, frame, SEEK_SET) == frame; }

 private:
  SNDFILE* file_;
};

}  // namespace

SndfileFileHandler::SndfileFileHandler(Family family) : family_(family), info_(infoOf(family)) {}

bool SndfileFileHandler::recognize(FStream& stream) const {
  uint8_t header[16] = {};
  if (stream.readBytes(header, 16) < 4) return false;
  // An ID3v2 tag may stand before FLAC and MP3 data: 10 header bytes, the
  // tag's size as four 7-bit bytes, and 10 more for a footer (flag 0x10).
  if (startsWith(header, "ID3") && (family_ == Family::kFlac || family_ == Family::kMp3)) {
    const int64_t size = (int64_t{header[6] & 0x7F} << 21) | (int64_t{header[7] & 0x7F} << 14) |
                         (int64_t{header[8] & 0x7F} << 7) | int64_t{header[9] & 0x7F};
    const int64_t end = 10 + size + ((header[5] & 0x10) != 0 ? 10 : 0);
    std::memset(header, 0, sizeof header);
    if (!stream.seek(end) || stream.readBytes(header, 16) < 4) return false;
  }
  return hasIdentifiers(family_, header);
}

bool SndfileFileHandler::readHeader(FStream& stream, AudioFile* file) const {
  std::string path = std::move(file->path);
  *file = AudioFile{};
  file->path = std::move(path);
  if (!stream.seek(0)) return false;
  SF_VIRTUAL_IO io{streamLength, streamSeek, streamRead, streamWrite, streamTell};
  SF_INFO info{};
  SNDFILE* sf = sf_open_virtual(&io, SFM_READ, &info, &stream);
  if (sf == nullptr) return false;
  sf_close(sf);
  const int subtype = info.format & SF_FORMAT_SUBMASK;
  // A stream whose length the decoder cannot tell is refused: the pool
  // needs every file's length. Channel counts beyond 16 bits are too.
  if ((info.format & SF_FORMAT_TYPEMASK) != majorOf(family_) || info.channels < 1 || info.channels > 0x7FFF ||
      info.samplerate < 1 || info.frames < 0 || info.frames == SF_COUNT_MAX) {
    return false;
  }
  file->typeName = info_.typeNames[family_ == Family::kOgg && subtype == SF_FORMAT_OPUS ? 1 : 0];
  file->format.sampleRate = static_cast<float>(info.samplerate);
  file->format.channels = static_cast<int16_t>(info.channels);
  describeSamples(subtype, &file->format);
  file->lengthFrames = info.frames;
  return true;
}

bool SndfileFileHandler::writeHeader(FStream&, AudioFile*) const { return false; }

bool SndfileFileHandler::finish(FStream&, AudioFile*, int64_t) const { return false; }

std::string SndfileFileHandler::displayName(const AudioFile& file) const {
  return info_.displayNames[file.typeName == "OPUS" ? 1 : 0];
}

std::unique_ptr<AudioSampleSource> SndfileFileHandler::openSamples(const AudioFile& file) const {
  SF_INFO info{};
  SNDFILE* sf = sf_open(file.path.c_str(), SFM_READ, &info);
  if (sf == nullptr) return nullptr;
  // The file must still be the one whose header was read.
  if (info.channels != file.format.channels || (info.format & SF_FORMAT_TYPEMASK) != majorOf(family_)) {
    sf_close(sf);
    return nullptr;
  }
  return std::make_unique<SndfileSource>(sf);
}

}  // namespace vantor
