// Reads through the reader's block of stored bytes: seeks inside and
// outside it, reads of every length across its edges, and a reopened reader
// that must not serve the previous file's block. libsndfile gives the
// expected samples.

#include "audio/files/AudioFileReader.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstring>
#include <random>

#include "audio/AudioTestSupport.h"

namespace vantor {
namespace {

constexpr int kChannels = 2;
// Stereo 24-bit frames of 6 bytes: the reader's 256 KiB block holds 43690,
// so the file spans three blocks.
constexpr int64_t kFrames = 100003;

TEST(AudioFileReader, RandomSeeksAndReadsGiveLibsndfilesSamples) {
  test::TempDir dir;
  for (const int format : {SF_FORMAT_WAV, SF_FORMAT_AIFF}) {
    const std::string path = dir.file("random");
    ASSERT_TRUE(test::writeRandom24Bit(path, format, kChannels, kFrames));
    const auto theirs = test::readSndfile(path);
    ASSERT_TRUE(theirs);
    AudioFileReader reader;
    ASSERT_TRUE(reader.open(path));
    std::mt19937 random(5);
    std::vector<float> block;
    for (int step = 0; step < 400; ++step) {
      // Mostly short hops from where the last read ended (inside the
      // block), sometimes anywhere in the file or to its very end.
      const int64_t here = reader.framePosition();
      int64_t target = static_cast<int64_t>(random() % (kFrames + 1));
      if (step % 4 != 0) target = std::clamp<int64_t>(here + static_cast<int>(random() % 200) - 100, 0, kFrames);
      const int64_t wanted = step % 9 == 0 ? 50000 : static_cast<int64_t>(random() % 300);
      SCOPED_TRACE("step " + std::to_string(step) + ": " + std::to_string(wanted) + " frames from " +
                   std::to_string(target));
      ASSERT_TRUE(reader.seekFrame(target));
      block.assign(static_cast<size_t>(wanted * kChannels), 9.0f);
      const int64_t got = reader.readFrames(block.data(), wanted);
      ASSERT_EQ(got, std::min(wanted, kFrames - target));
      EXPECT_EQ(reader.framePosition(), target + got);
      const float* expected = theirs->samples.data() + target * kChannels;
      ASSERT_EQ(std::memcmp(block.data(), expected, static_cast<size_t>(got * kChannels) * sizeof(float)), 0);
    }
  }
}

TEST(AudioFileReader, AReopenedReaderReadsTheNewFile) {
  test::TempDir dir;
  ASSERT_TRUE(test::writeRandom24Bit(dir.file("a.wav"), SF_FORMAT_WAV, kChannels, 1000, 1));
  ASSERT_TRUE(test::writeRandom24Bit(dir.file("b.wav"), SF_FORMAT_WAV, kChannels, 1000, 2));
  const auto expected = test::readSndfile(dir.file("b.wav"));
  ASSERT_TRUE(expected);
  AudioFileReader reader;
  std::vector<float> samples(100 * kChannels);
  ASSERT_TRUE(reader.open(dir.file("a.wav")));
  ASSERT_EQ(reader.readFrames(samples.data(), 100), 100);
  ASSERT_TRUE(reader.open(dir.file("b.wav")));
  ASSERT_EQ(reader.readFrames(samples.data(), 100), 100);
  EXPECT_EQ(std::memcmp(samples.data(), expected->samples.data(), samples.size() * sizeof(float)), 0);
}

}  // namespace
}  // namespace vantor
