#pragma once
// Helpers for the audio tests: a temporary folder, little- and big-endian
// byte builders, whole-file reads through our reader at a chosen block size
// and through libsndfile.

#include <sndfile.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"

namespace vantor::test {

using Bytes = std::vector<uint8_t>;

class TempDir {
 public:
  TempDir() {
    std::string pattern = "/tmp/vantor-audio-XXXXXX";
    if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

 private:
  std::string path_;
};

inline Bytes readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Appends to a byte vector in one byte order.
class ByteBuilder {
 public:
  explicit ByteBuilder(bool bigEndian) : big_(bigEndian) {}
  ByteBuilder& id(std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    return *this;
  }
  ByteBuilder& u8(uint8_t v) {
    bytes.push_back(v);
    return *this;
  }
  ByteBuilder& u16(uint16_t v) { return put(v, 2); }
  ByteBuilder& u32(uint32_t v) { return put(v, 4); }
  ByteBuilder& raw(const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
  ByteBuilder& zeros(size_t n) {
    bytes.insert(bytes.end(), n, 0);
    return *this;
  }
  Bytes bytes;

 private:
  ByteBuilder& put(uint64_t v, int n) {
    for (int i = 0; i < n; ++i) bytes.push_back(static_cast<uint8_t>(v >> (8 * (big_ ? n - 1 - i : i))));
    return *this;
  }
  bool big_;
};

inline uint32_t le32(const Bytes& b, size_t at) {
  return uint32_t{b[at]} | uint32_t{b[at + 1]} << 8 | uint32_t{b[at + 2]} << 16 | uint32_t{b[at + 3]} << 24;
}
inline uint16_t le16(const Bytes& b, size_t at) { return static_cast<uint16_t>(b[at] | b[at + 1] << 8); }
inline uint32_t be32(const Bytes& b, size_t at) {
  return uint32_t{b[at]} << 24 | uint32_t{b[at + 1]} << 16 | uint32_t{b[at + 2]} << 8 | uint32_t{b[at + 3]};
}
inline std::string idAt(const Bytes& b, size_t at) { return std::string(b.begin() + at, b.begin() + at + 4); }

struct Decoded {
  int channels = 0;
  double rate = 0;
  std::vector<float> samples;
};

// Every frame through our reader, blockFrames at a time; nullopt when it
// refuses the file or a read fails.
inline std::optional<Decoded> readOurs(const std::string& path, int64_t blockFrames = 4096) {
  AudioFileReader reader;
  if (!reader.open(path)) return std::nullopt;
  const AudioFile& file = reader.file();
  Decoded out{file.format.channels, file.format.sampleRate, {}};
  out.samples.resize(static_cast<size_t>(file.lengthFrames * file.format.channels));
  int64_t done = 0;
  while (done < file.lengthFrames) {
    const int64_t got = reader.readFrames(out.samples.data() + done * out.channels, blockFrames);
    if (got <= 0) return std::nullopt;
    done += got;
  }
  return out;
}

// Every frame through libsndfile as float; nullopt when it refuses the file.
inline std::optional<Decoded> readSndfile(const std::string& path) {
  SF_INFO info{};
  SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
  if (sf == nullptr) return std::nullopt;
  Decoded out{info.channels, static_cast<double>(info.samplerate), {}};
  out.samples.resize(static_cast<size_t>(info.frames * info.channels));
  const sf_count_t got = sf_readf_float(sf, out.samples.data(), info.frames);
  sf_close(sf);
  out.samples.resize(static_cast<size_t>(got * info.channels));
  return out;
}

// Writes samples with our writer; false when it refused.
inline bool writeOurs(const std::string& path, AudioFile file, const std::vector<float>& samples) {
  AudioFileWriter writer;
  return writer.open(path, file) &&
         writer.writeFrames(samples.data(), static_cast<int64_t>(samples.size()) / file.format.channels) &&
         writer.close();
}

// Writes a file of random 24-bit samples with libsndfile (format: its
// container, SF_FORMAT_WAV or SF_FORMAT_AIFF), the first sample the lowest
// value and the last the highest; false when it refused.
inline bool writeRandom24Bit(const std::string& path, int format, int channels, int64_t frames, unsigned seed = 1) {
  SF_INFO info{};
  info.samplerate = 48000;
  info.channels = channels;
  info.format = format | SF_FORMAT_PCM_24;
  SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
  if (sf == nullptr) return false;
  std::mt19937 random(seed);
  // Left-justified in 32 bits, as libsndfile takes them: exact in 24.
  std::vector<int> samples(static_cast<size_t>(frames * channels));
  for (int& s : samples) s = static_cast<int>(random() & 0xffffff00u);
  samples.front() = INT_MIN;
  samples.back() = 0x7fffff00;
  const bool written = sf_writef_int(sf, samples.data(), frames) == frames;
  return sf_close(sf) == 0 && written;
}

// Runs a shell command of an outside tool (sox, sndfile-convert); true when
// it exited with 0. Its output is dropped.
inline bool runTool(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }
inline bool haveSox() { return runTool("sox --version"); }

inline AudioFile makeFile(std::string type, float rate, int channels, int bits, SampleType sampleType) {
  AudioFile file;
  file.typeName = std::move(type);
  file.format.sampleRate = rate;
  file.format.channels = static_cast<int16_t>(channels);
  file.format.bitsPerSample = static_cast<int16_t>(bits);
  file.format.sampleType = sampleType;
  return file;
}

}  // namespace vantor::test
