// The streamed source against the direct one: the engine over both must
// give the same samples, through locates, the cycle's wraps and blocks of
// any size, with no underrun once the preroll is over.

#include "render/realtime/RStreamedSegmentSource.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "render/PlaybackTestSupport.h"
#include "render/realtime/REnginePlayTarget.h"
#include "render/realtime/RJackTransport.h"

namespace vantor {
namespace {

using namespace std::chrono_literals;
using test::rampSample;

class RStreamedSegmentSourceTest : public test::RenderTest {
 protected:
  // Three tracks of overlapping events: mono and stereo counting ramps, one
  // clip at 44.1 kHz (converted by the stream), one event starting past a
  // gap. About 3 s at 48 kHz.
  std::shared_ptr<RPlaybackPlan> overlappingPlan() {
    auto mono = makeClip("mono", 48000, 1, 150000, [](int64_t i, int) { return rampSample(i); });
    auto stereo = makeClip("stereo", 48000, 2, 90000,
                           [](int64_t i, int c) { return c == 0 ? rampSample(i) : -rampSample(2 * i); });
    auto slow = makeClip("slow", 44100, 1, 60000, [](int64_t i, int) { return 0.25f * rampSample(i % 5000); });
    MTrackEvent* a = addTrack("Audio", "A");
    MTrackEvent* b = addTrack("Audio", "B");
    MTrackEvent* c = addTrack("Audio", "C");
    addAudioEvent(a, mono, 0, 0, 140000);
    addAudioEvent(b, stereo, 240, 500, 40000);  // 0.25 s at 120 BPM
    addAudioEvent(b, stereo, 1440, 0, 80000);   // 1.5 s
    addAudioEvent(c, slow, 120, 1000, 50000);
    addAudioEvent(c, mono, 2000, 7, 30000);
    return plan();
  }

  // The offline render of [0, frames): the engine over the direct source.
  static test::Stereo offline(const std::shared_ptr<RPlaybackPlan>& p, int64_t frames) { return render(p, frames); }
};

// Random locates and block sizes; every block compared with the offline
// render at the same frames (audio only, so a frame's sound does not depend
// on what came before it).
TEST_F(RStreamedSegmentSourceTest, GivesTheOfflineSamplesThroughLocates) {
  const auto p = overlappingPlan();
  const int64_t length = p->end;
  const test::Stereo expected = offline(p, length);
  RStreamedSegmentSource source(p, {});
  RPlaybackEngine engine;
  test::ImpulseFactory factory;
  std::string error;
  ASSERT_TRUE(engine.prepare(p, &source, factory, 512, &error)) << error;
  std::mt19937 random(11);
  std::vector<float> left(512), right(512);
  int64_t at = 0;
  engine.locate(at);
  for (int jump = 0; jump < 6; ++jump) {
    ASSERT_TRUE(source.waitUntilReady(10s));
    EXPECT_TRUE(source.ready());
    // A second of blocks, pausing for the disk every quarter of one (the
    // test is faster than real time; a real period leaves it ample time).
    for (int64_t played = 0; played < 48000 && at < length;) {
      const int n = static_cast<int>(std::min<int64_t>(1 + random() % 512, length - at));
      engine.process(left.data(), right.data(), n);
      source.advance(n);
      for (int i = 0; i < n; ++i) {
        ASSERT_EQ(left[i], expected.left[static_cast<size_t>(at + i)]) << "frame " << at + i;
        ASSERT_EQ(right[i], expected.right[static_cast<size_t>(at + i)]) << "frame " << at + i;
      }
      at += n;
      played += n;
      if (played % 12000 < static_cast<int64_t>(n)) {
        ASSERT_TRUE(source.waitUntilFilled(10s));
      }
    }
    at = static_cast<int64_t>(random() % static_cast<unsigned>(length - 1000));
    engine.locate(at);
  }
  EXPECT_EQ(engine.missedReads(), 0u);
  EXPECT_EQ(source.diskError(), "");
  EXPECT_GE(source.bufferCount(), 3u);
  EXPECT_LE(source.bufferCount(), static_cast<size_t>(RStreamedSegmentSource::kMaxBuffers));
}

// With the cycle on, the transport wraps from the right locator to the left
// one without waiting: the disk thread read the next pass ahead. The output
// is the offline render of the first pass, then of the loop, twice.
TEST_F(RStreamedSegmentSourceTest, ReadsTheNextPassOfTheCycleAhead) {
  const auto p = overlappingPlan();
  p->leftLocator = 30000;   // inside events of all three tracks
  p->rightLocator = 100000;
  const test::Stereo expected = offline(p, p->rightLocator);
  RStreamedSegmentSource source(p, {.aheadSeconds = 2.0, .cycle = true});
  RPlaybackEngine engine;
  test::ImpulseFactory factory;
  std::string error;
  ASSERT_TRUE(engine.prepare(p, &source, factory, 256, &error)) << error;
  REnginePlayTarget target(engine, source, 256);
  RJackTransport transport(target, p->leftLocator, p->rightLocator);
  transport.setCycle(true);
  transport.setLoopLimit(2);
  transport.locate(10000);
  transport.play();
  std::vector<float> left(256), right(256);
  std::vector<float> heard;
  bool started = false;
  for (int period = 0; transport.playing(); ++period) {
    transport.process(left.data(), right.data(), 256);
    ASSERT_FALSE(started && transport.waiting()) << "waited again at period " << period;
    started = !transport.waiting();
    if (started) heard.insert(heard.end(), left.begin(), left.end());
    if (period % 32 == 0) {
      ASSERT_TRUE(source.waitUntilFilled(10s));
    }
  }
  std::vector<float> unrolled(expected.left.begin() + 10000, expected.left.end());
  for (int lap = 0; lap < 2; ++lap)
    unrolled.insert(unrolled.end(), expected.left.begin() + p->leftLocator, expected.left.end());
  ASSERT_GE(heard.size(), unrolled.size());
  EXPECT_TRUE(std::equal(unrolled.begin(), unrolled.end(), heard.begin()));
  EXPECT_EQ(transport.loops(), 2);
  EXPECT_EQ(target.underruns(), 0u);
}

}  // namespace
}  // namespace vantor
