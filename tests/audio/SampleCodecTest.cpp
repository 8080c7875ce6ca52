// The 24-bit decode loops against a byte-by-byte reference, and our reader
// against libsndfile on files of random 24-bit samples in both byte orders.
// Every comparison is of the floats' bits.

#include "audio/files/SampleCodec.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstring>
#include <random>

#include "audio/AudioTestSupport.h"

namespace vantor {
namespace {

// Sample i of 3-byte samples, put together one byte at a time and divided
// by 2^23: every 24-bit value has an exact float.
float referenceSample(const uint8_t* bytes, size_t i, bool bigEndian) {
  const uint8_t* p = bytes + 3 * i;
  const int32_t high = static_cast<int8_t>(bigEndian ? p[0] : p[2]);
  const int32_t middle = p[1];
  const int32_t low = bigEndian ? p[2] : p[0];
  return static_cast<float>((high * 65536 + middle * 256 + low) / 8388608.0);
}

std::vector<uint8_t> randomBytes(size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes(count);
  for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
  return bytes;
}

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(SampleCodec, Decodes24BitSamplesAtEveryLengthAndAlignment) {
  const std::vector<uint8_t> source = randomBytes(3 * 70 + 4, 11);
  for (const bool bigEndian : {false, true}) {
    const SampleEncoding encoding{3, false, bigEndian, false};
    for (size_t count = 0; count <= 70; ++count) {
      for (size_t inShift = 0; inShift < 4; ++inShift) {
        for (size_t outShift = 0; outShift < 4; ++outShift) {
          SCOPED_TRACE(std::to_string(count) + " samples, shifted by " + std::to_string(inShift) + " and " +
                       std::to_string(outShift) + (bigEndian ? ", big-endian" : ", little-endian"));
          // The input ends exactly at its last sample, so that a sanitizer
          // catches a load past it; the output carries a sentinel behind it.
          std::vector<uint8_t> in(source.begin(), source.begin() + static_cast<long>(inShift + 3 * count));
          std::vector<float> out(outShift + count + 1, 7.0f);
          decodeSamples(in.data() + inShift, out.data() + outShift, count, encoding);
          for (size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(sameBits(out[outShift + i], referenceSample(in.data() + inShift, i, bigEndian))) << i;
          }
          EXPECT_EQ(out[outShift + count], 7.0f);
          if (outShift > 0) {
            EXPECT_EQ(out[outShift - 1], 7.0f);
          }
        }
      }
    }
  }
}

TEST(SampleCodec, ReaderMatchesLibsndfileOnRandom24BitFilesAtEveryBlockSize) {
  test::TempDir dir;
  // 100003 frames of stereo pass several of the reader's 256 KiB blocks.
  for (const int format : {SF_FORMAT_WAV, SF_FORMAT_AIFF}) {
    for (const int channels : {1, 2, 3}) {
      const std::string path = dir.file("random");
      ASSERT_TRUE(test::writeRandom24Bit(path, format, channels, 100003));
      const auto theirs = test::readSndfile(path);
      ASSERT_TRUE(theirs);
      for (const int64_t block : {1, 3, 4, 5, 4096, 43691, 1 << 20}) {
        SCOPED_TRACE("format 0x" + std::to_string(format) + ", " + std::to_string(channels) + " channels, blocks of " +
                     std::to_string(block));
        const auto ours = test::readOurs(path, block);
        ASSERT_TRUE(ours);
        ASSERT_EQ(ours->samples.size(), theirs->samples.size());
        EXPECT_EQ(std::memcmp(ours->samples.data(), theirs->samples.data(), ours->samples.size() * sizeof(float)), 0);
      }
    }
  }
}

}  // namespace
}  // namespace vantor
