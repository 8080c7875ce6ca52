// Our files against libsndfile, an independent reader and writer: what we
// write it reads with the same samples, what it writes we read with the
// same samples as it does. The shared corpus is read in AudioCorpusTest.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <random>

#include "audio/AudioTestSupport.h"

namespace vantor {
namespace {

// A signal that touches both ends of the range and values between; every
// value is a multiple of 2^-15 so that 16-bit files hold it exactly.
std::vector<float> testSignal(int channels, int frames) {
  std::vector<float> out;
  std::mt19937 random(7);
  for (int i = 0; i < frames * channels; ++i) {
    const int step = static_cast<int>(random() % 65536) - 32768;
    out.push_back(i == 0 ? -1.0f : (i == 1 ? 32767 / 32768.0f : static_cast<float>(step) / 32768.0f));
  }
  return out;
}

TEST(SndfileInterop, LibsndfileReadsOurFilesWithOurSamples) {
  test::TempDir dir;
  struct Case {
    const char* type;
    int bits;
    SampleType sampleType;
    int sndfileFormat;  // what libsndfile must report
  };
  const Case cases[] = {
      {"WAVE", 8, SampleType::kInteger, SF_FORMAT_WAV | SF_FORMAT_PCM_U8},
      {"WAVE", 16, SampleType::kInteger, SF_FORMAT_WAV | SF_FORMAT_PCM_16},
      {"WAVE", 24, SampleType::kInteger, SF_FORMAT_WAV | SF_FORMAT_PCM_24},
      {"WAVE", 32, SampleType::kInteger, SF_FORMAT_WAV | SF_FORMAT_PCM_32},
      {"WAVE", 32, SampleType::kFloat, SF_FORMAT_WAV | SF_FORMAT_FLOAT},
      {"WAVE", 64, SampleType::kFloat, SF_FORMAT_WAV | SF_FORMAT_DOUBLE},
      {"AIFF", 8, SampleType::kInteger, SF_FORMAT_AIFF | SF_FORMAT_PCM_S8},
      {"AIFF", 16, SampleType::kInteger, SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
      {"AIFF", 24, SampleType::kInteger, SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
      {"AIFC", 32, SampleType::kInteger, SF_FORMAT_AIFF | SF_FORMAT_PCM_32},
      {"AIFC", 32, SampleType::kFloat, SF_FORMAT_AIFF | SF_FORMAT_FLOAT},
  };
  for (const Case& c : cases) {
    for (int channels : {1, 2, 3}) {
      SCOPED_TRACE(std::string(c.type) + " " + std::to_string(c.bits) + " bits, " + std::to_string(channels) + " ch");
      const std::string path = dir.file("ours");
      AudioFile file = test::makeFile(c.type, 22050, channels, c.bits, c.sampleType);
      file.cues = {{5, 9}};
      const std::vector<float> signal = testSignal(channels, 1001);
      ASSERT_TRUE(test::writeOurs(path, file, signal));
      SF_INFO info{};
      SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
      ASSERT_NE(sf, nullptr) << sf_strerror(nullptr);
      EXPECT_EQ(info.format, c.sndfileFormat);
      EXPECT_EQ(info.samplerate, 22050);
      sf_close(sf);
      const auto theirs = test::readSndfile(path);
      const auto ours = test::readOurs(path, 97);
      ASSERT_TRUE(theirs && ours);
      EXPECT_EQ(ours->samples, theirs->samples);
      if (c.bits >= 16) {
        EXPECT_EQ(ours->samples, signal);  // 16 bits or more hold the signal exactly
      }
    }
  }
}

TEST(SndfileInterop, BroadcastAttributesAreReadByLibsndfile) {
  test::TempDir dir;
  AudioFile file = test::makeFile("WAVE", 48000, 2, 24, SampleType::kInteger);
  file.broadcastAttributes = makeRef<BroadcastAttributes>();
  file.broadcastAttributes->description = "Take 3, room mic";
  file.broadcastAttributes->author = "Vantor";
  file.broadcastAttributes->reference = "REF-0042";
  file.broadcastAttributes->date = "2026-11-22";
  file.broadcastAttributes->time = "18:30:00";
  file.broadcastAttributes->timeReference = 48000ull * 3600;
  ASSERT_TRUE(test::writeOurs(dir.file("bwf.wav"), file, testSignal(2, 100)));

  SF_INFO info{};
  SNDFILE* sf = sf_open(dir.file("bwf.wav").c_str(), SFM_READ, &info);
  ASSERT_NE(sf, nullptr);
  SF_BROADCAST_INFO bext{};
  ASSERT_EQ(sf_command(sf, SFC_GET_BROADCAST_INFO, &bext, sizeof bext), SF_TRUE);
  sf_close(sf);
  EXPECT_STREQ(bext.description, "Take 3, room mic");
  EXPECT_EQ(std::string(bext.originator, strnlen(bext.originator, 32)), "Vantor");
  EXPECT_EQ(std::string(bext.originator_reference, strnlen(bext.originator_reference, 32)), "REF-0042");
  EXPECT_EQ(std::string(bext.origination_date, 10), "2026-11-22");
  EXPECT_EQ(bext.time_reference_low, 48000u * 3600u);

  AudioFileReader reader;
  ASSERT_TRUE(reader.open(dir.file("bwf.wav")));
  ASSERT_TRUE(reader.file().broadcastAttributes);
  EXPECT_EQ(reader.file().broadcastAttributes->description, "Take 3, room mic");
  EXPECT_EQ(reader.file().broadcastAttributes->reference, "REF-0042");
  EXPECT_EQ(reader.file().broadcastAttributes->timeReference, 48000ull * 3600);
  // The chunk is 8 + 604 bytes: the data still starts on a 4-byte boundary.
  EXPECT_EQ(reader.file().dataStart % 4, 0);
}

// False for an AIFC file whose "COMM" names a compression type other than
// "NONE", "twos", "sowt", "fl32" and "FL32".
bool readableCompression(const test::Bytes& bytes) {
  if (bytes.size() < 12 || test::idAt(bytes, 8) != "AIFC") return true;
  for (size_t at = 12; at + 8 <= bytes.size(); at += 8 + ((test::be32(bytes, at + 4) + 1) & ~1u)) {
    if (test::idAt(bytes, at) != "COMM") continue;
    const std::string type = test::idAt(bytes, at + 8 + 18);
    return type == "NONE" || type == "twos" || type == "sowt" || type == "fl32" || type == "FL32";
  }
  return false;
}

TEST(SndfileInterop, WeReadWhatLibsndfileWritesInEveryFormat) {
  test::TempDir dir;
  const int major[] = {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_AIFF};
  const int minor[] = {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                       SF_FORMAT_PCM_32, SF_FORMAT_FLOAT,  SF_FORMAT_DOUBLE};
  const int endians[] = {SF_ENDIAN_FILE, SF_ENDIAN_LITTLE};
  int checked = 0;
  for (int m : major) {
    for (int s : minor) {
      for (int endian : endians) {
        SF_INFO info{};
        info.samplerate = 44100;
        info.channels = 2;
        info.format = m | s | endian;
        if (!sf_format_check(&info)) continue;
        const std::string path = dir.file("theirs");
        SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
        ASSERT_NE(sf, nullptr);
        const std::vector<float> signal = testSignal(2, 777);
        sf_writef_float(sf, signal.data(), 777);
        sf_close(sf);
        SCOPED_TRACE("libsndfile format 0x" + std::to_string(info.format));
        const auto theirs = test::readSndfile(path);
        const auto ours = test::readOurs(path, 100);
        ASSERT_TRUE(theirs);
        // libsndfile stores some formats in AIFC compression types that we
        // do not read ("fl64", "raw ", "in24", ...).
        const bool refusedOnPurpose = !readableCompression(test::readBytes(path));
        ASSERT_EQ(ours.has_value(), !refusedOnPurpose);
        if (!ours) continue;
        EXPECT_EQ(ours->samples, theirs->samples);
        EXPECT_EQ(ours->channels, 2);
        ++checked;
      }
    }
  }
  EXPECT_GE(checked, 15);
}

TEST(SndfileInterop, EveryTruncationFailsCleanlyOrReadsAPrefix) {
  test::TempDir dir;
  for (const char* type : {"WAVE", "AIFC"}) {
    AudioFile file = test::makeFile(type, 44100, 2, 16, SampleType::kInteger);
    file.cues = {{1, 2}, {3, 4}};
    const std::vector<float> signal = testSignal(2, 10);
    ASSERT_TRUE(test::writeOurs(dir.file("whole"), file, signal));
    const test::Bytes whole = test::readBytes(dir.file("whole"));
    AudioFileReader reader;
    ASSERT_TRUE(reader.open(dir.file("whole")));
    const int64_t dataStart = reader.file().dataStart;
    for (size_t length = 0; length < whole.size(); ++length) {
      SCOPED_TRACE(std::string(type) + " cut to " + std::to_string(length));
      test::writeBytes(dir.file("cut"), test::Bytes(whole.begin(), whole.begin() + static_cast<long>(length)));
      const auto ours = test::readOurs(dir.file("cut"));
      if (static_cast<int64_t>(length) < dataStart) {
        // Cut before the samples: the data chunk is gone (or, for a cut
        // inside its header, holds nothing).
        if (ours) {
          EXPECT_TRUE(ours->samples.empty());
        }
        continue;
      }
      ASSERT_TRUE(ours);
      const size_t frames = (length - static_cast<size_t>(dataStart)) / 4;
      ASSERT_EQ(ours->samples.size(), frames * 2);
      EXPECT_TRUE(std::equal(ours->samples.begin(), ours->samples.end(), signal.begin()));
    }
  }
}

}  // namespace
}  // namespace vantor
