// Compressed and foreign formats through the decoder handlers: the same
// samples as libsndfile gives, read at several block sizes; files encoded by
// sox as well as by libsndfile; damaged files refused.

#include "audio/files/SndfileFileHandler.h"

#include <gtest/gtest.h>

#include <cmath>

#include "audio/AudioTestSupport.h"
#include "audio/files/AudioFileMessages.h"

namespace vantor {
namespace {

std::vector<float> chord(int64_t frames, int channels, double rate) {
  std::vector<float> samples;
  for (int64_t i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const double t = static_cast<double>(i) / rate;
      samples.push_back(
          static_cast<float>(0.3 * std::sin(2 * M_PI * 440 * (c + 1) * t) + 0.2 * std::sin(2 * M_PI * 97 * t)));
    }
  }
  return samples;
}

bool writeSndfile(const std::string& path, int format, int rate, int channels, const std::vector<float>& samples) {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format;
  SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
  if (sf == nullptr) return false;
  const sf_count_t frames = static_cast<sf_count_t>(samples.size()) / channels;
  const bool ok = sf_writef_float(sf, samples.data(), frames) == frames;
  return sf_close(sf) == 0 && ok;
}

TEST(SndfileFileHandler, DecodesEachFamilyAsLibsndfileDoes) {
  test::TempDir dir;
  struct Case {
    const char* name;
    int format;
    int rate;
    const char* typeName;
    const char* displayName;
    int bits;
    SampleType type;
  };
  const Case cases[] = {
      {"a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, "FLAC", "FLAC File", 16, SampleType::kInteger},
      {"b.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 96000, "FLAC", "FLAC File", 24, SampleType::kInteger},
      {"c.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 44100, "OGG", "Ogg Vorbis File", 32, SampleType::kFloat},
      {"d.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, 48000, "OPUS", "Opus File", 32, SampleType::kFloat},
      {"e.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, "MP3", "MP3 File", 32, SampleType::kFloat},
      {"f.au", SF_FORMAT_AU | SF_FORMAT_ULAW, 8000, "AU", "AU File", 16, SampleType::kInteger},
      {"g.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24, 48000, "CAF", "CAF File", 24, SampleType::kInteger},
      {"h.w64", SF_FORMAT_W64 | SF_FORMAT_FLOAT, 22050, "W64", "Wave64 File", 32, SampleType::kFloat},
      {"i.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16, 32000, "RF64", "RF64 File", 16, SampleType::kInteger},
  };
  for (const Case& c : cases) {
    const std::string path = dir.file(c.name);
    ASSERT_TRUE(writeSndfile(path, c.format, c.rate, 2, chord(c.rate / 2, 2, c.rate))) << c.name;
    const auto expected = test::readSndfile(path);
    ASSERT_TRUE(expected) << c.name;
    for (int64_t block : {1, 1000, 65536}) {
      const auto ours = test::readOurs(path, block);
      ASSERT_TRUE(ours) << c.name;
      EXPECT_EQ(ours->samples, expected->samples) << c.name << " in blocks of " << block;
      EXPECT_EQ(ours->rate, c.rate);
    }
    AudioFileReader reader;
    ASSERT_TRUE(reader.open(path));
    EXPECT_EQ(reader.file().typeName, c.typeName);
    EXPECT_EQ(reader.handler()->displayName(reader.file()), c.displayName);
    EXPECT_EQ(reader.file().format.bitsPerSample, c.bits) << c.name;
    EXPECT_EQ(reader.file().format.sampleType, c.type) << c.name;
    EXPECT_FALSE(reader.handler()->canWrite());
    // A seek lands where libsndfile's own frames are.
    ASSERT_TRUE(reader.seekFrame(1000));
    float frame[2];
    ASSERT_EQ(reader.readFrames(frame, 1), 1);
    EXPECT_EQ(frame[0], expected->samples[2000]) << c.name;
  }
}

TEST(SndfileFileHandler, ReadsWhatSoxEncodesLosslessly) {
  if (!test::haveSox()) GTEST_SKIP() << "sox is not installed";
  test::TempDir dir;
  const std::vector<float> signal = chord(30000, 2, 44100);
  ASSERT_TRUE(test::writeOurs(dir.file("in.wav"), test::makeFile("WAVE", 44100, 2, 24, SampleType::kInteger), signal));
  const auto original = test::readOurs(dir.file("in.wav"));
  for (const char* name : {"sox.flac", "sox.caf", "sox.au", "sox.w64"}) {
    ASSERT_TRUE(test::runTool("sox " + dir.file("in.wav") + " " + dir.file(name))) << name;
    const auto ours = test::readOurs(dir.file(name));
    ASSERT_TRUE(ours) << name;
    EXPECT_EQ(ours->samples, original->samples) << name;
  }
  // An ID3 tag before the MP3 frames, as sox writes it.
  ASSERT_TRUE(test::runTool("sox " + dir.file("in.wav") + " " + dir.file("sox.mp3")) ||
              writeSndfile(dir.file("sox.mp3"), SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, signal));
  AudioFileReader reader;
  EXPECT_TRUE(reader.open(dir.file("sox.mp3"))) << reader.error();
  EXPECT_EQ(reader.file().typeName, "MP3");
}

TEST(SndfileFileHandler, RefusesDamagedFiles) {
  test::TempDir dir;
  const std::string flac = dir.file("a.flac");
  ASSERT_TRUE(writeSndfile(flac, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 1, chord(20000, 1, 44100)));
  test::Bytes bytes = test::readBytes(flac);
  const test::Bytes damaged[] = {
      test::Bytes(bytes.begin(), bytes.begin() + 4),   // the identifier alone
      test::Bytes(bytes.begin(), bytes.begin() + 30),  // cut inside the stream information
      test::Bytes{'O', 'g', 'g', 'S', 0, 2, 0, 0, 0, 0, 0, 0, 0, 0},
      test::Bytes{'I', 'D', '3', 4, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F, 0xFF, 0xFB, 0x90, 0x00},  // a tag past the end
      test::Bytes{0xFF, 0xFB, 0x90, 0x00, 1, 2, 3, 4, 5, 6, 7, 8},
  };
  for (const test::Bytes& b : damaged) {
    test::writeBytes(dir.file("d"), b);
    AudioFileReader reader;
    EXPECT_FALSE(reader.open(dir.file("d"))) << b.size();
    EXPECT_EQ(reader.error(), kInvalidAudioFileMessage);
  }
  // Samples damaged behind a sound header: a read error or fewer frames, never a crash.
  for (size_t i = bytes.size() / 2; i < bytes.size(); i += 7) bytes[i] ^= 0x5A;
  test::writeBytes(flac, bytes);
  const auto partial = test::readOurs(flac);
  if (partial) {
    EXPECT_LE(partial->samples.size(), 20000u);
  }
}

}  // namespace
}  // namespace vantor
