// Segment streams: exact frames at the plan's rate, clips of another rate
// converted (checked against the analytic signal), the same samples after
// every seek to one offset, and a clip whose file is gone.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "PlaybackTestSupport.h"
#include "render/engine/RSegmentStream.h"

namespace vantor {
namespace {

class RSegmentStreamTest : public test::RenderTest {
 protected:
  RAudioSegment segmentOf(const FRef<PAudioClip>& clip, int64_t clipFrame, int64_t length) {
    RAudioSegment segment;
    segment.clipFrame = clipFrame;
    segment.length = length;
    segment.channels = clip->getCluster()->channels();
    segment.fileRate = static_cast<int>(clip->getCluster()->sampleRate());
    segment.cluster = clip->clusterRef();
    segment.material = clip->materialRef();
    return segment;
  }
  // `frames` frames from `offset` on, read in pieces of random sizes.
  static std::vector<float> readAt(RSegmentStream& stream, int64_t offset, int64_t frames, int channels,
                                   unsigned seed) {
    EXPECT_TRUE(stream.seek(offset)) << stream.error();
    std::vector<float> out(static_cast<size_t>(frames * channels));
    std::mt19937 random(seed);
    for (int64_t at = 0; at < frames;) {
      const int64_t want = std::min<int64_t>(std::uniform_int_distribution<int64_t>(1, 5000)(random), frames - at);
      const int64_t got = stream.read(out.data() + at * channels, want);
      EXPECT_EQ(got, want);
      if (got <= 0) break;
      at += got;
    }
    return out;
  }
};

TEST_F(RSegmentStreamTest, SameRateFramesComeThroughExactlyAndStopAtTheSegmentsEnd) {
  auto clip = makeClip("count", 48000, 2, 20000, [](int64_t i, int c) { return test::rampSample(2 * i + c); });
  RSegmentStream stream(segmentOf(clip, 3000, 10000), 48000);
  for (int64_t offset : {0, 1, 4095, 9000}) {
    const std::vector<float> got = readAt(stream, offset, 10000 - offset, 2, static_cast<unsigned>(offset));
    for (size_t i = 0; i < got.size(); ++i) {
      ASSERT_EQ(got[i], test::rampSample(2 * (3000 + offset) + static_cast<int64_t>(i))) << offset << " " << i;
    }
    float extra[2];
    EXPECT_EQ(stream.read(extra, 1), 0);
    EXPECT_EQ(stream.position(), 10000);
  }
}

TEST_F(RSegmentStreamTest, AnotherRateIsConvertedAndEverySeekToAnOffsetGivesTheSameSamples) {
  // A 441 Hz sine at 44.1 kHz (100 frames a period, exact), heard from clip
  // frame 22050 (0.5 s) at 48 kHz: plan frame k is the sine at 0.5 s + k / 48000.
  auto clip = makeClip("sine", 44100, 1, 44100 * 5,
                       [](int64_t i, int) { return static_cast<float>(0.5 * std::sin(std::numbers::pi * (i % 100) / 50)); });
  const RAudioSegment segment = segmentOf(clip, 22050, 48000 * 4);
  RSegmentStream stream(segment, 48000);
  const std::vector<float> whole = readAt(stream, 0, segment.length, 1, 1);
  for (int64_t k = 200; k < segment.length - 2000; k += 13) {
    const double t = 0.5 + static_cast<double>(k) / 48000;
    ASSERT_NEAR(whole[static_cast<size_t>(k)], 0.5 * std::sin(2 * std::numbers::pi * 441 * t), 1e-3) << k;
  }
  // Seeks: another stream or this one again, to offsets in and across the
  // converter's restart points, give the samples of the first seek there.
  for (int64_t offset : {70000, 65535, 131072, 100}) {
    RSegmentStream other(segment, 48000);
    const std::vector<float> a = readAt(other, offset, 20000, 1, 2);
    const std::vector<float> b = readAt(stream, offset, 20000, 1, 3);
    ASSERT_EQ(a, b) << offset;
    // And close to the continuous read.
    for (size_t i = 0; i < a.size(); i += 11) ASSERT_NEAR(a[i], whole[static_cast<size_t>(offset) + i], 1e-4) << offset;
  }
}

TEST_F(RSegmentStreamTest, AMissingFileFailsTheSeekWithTheSystemsMessage) {
  auto clip = makeClip("gone", 48000, 1, 1000, [](int64_t, int) { return 0.5f; });
  std::filesystem::remove(dir.file("gone.wav"));
  RSegmentStream stream(segmentOf(clip, 0, 1000), 48000);
  EXPECT_FALSE(stream.seek(0));
  EXPECT_NE(stream.error().find("Error: Can not open file!"), std::string::npos) << stream.error();
  float out[4];
  EXPECT_EQ(stream.read(out, 4), 0);
}

}  // namespace
}  // namespace vantor
