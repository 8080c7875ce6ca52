#include "render/realtime/RJackTransport.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "render/support/FrameCounterTarget.h"

namespace vantor {
namespace {

using test::FrameCounterTarget;

// Runs `periods` periods of random sizes up to 600 frames (beyond the
// target's 64, so the transport splits them) and returns the left channel;
// checks that the right one mirrors it.
std::vector<float> run(RJackTransport& transport, int periods, std::mt19937& random) {
  std::vector<float> played;
  for (int p = 0; p < periods; ++p) {
    std::vector<float> left(1 + random() % 600, 99.0f);
    std::vector<float> right(left.size(), 99.0f);
    transport.process(left.data(), right.data(), static_cast<int>(left.size()));
    for (size_t i = 0; i < left.size(); ++i) EXPECT_EQ(right[i], -left[i]);
    played.insert(played.end(), left.begin(), left.end());
  }
  return played;
}

// The frames heard, written out by hand from the transport's rules.
std::vector<float> frames(int64_t from, int64_t to) {
  std::vector<float> out;
  for (int64_t f = from; f < to; ++f) out.push_back(static_cast<float>(f + 1));
  return out;
}

std::vector<float> withoutSilence(const std::vector<float>& played) {
  std::vector<float> out;
  for (float value : played)
    if (value != 0) out.push_back(value);
  return out;
}

// From 1000 with the locators at 3000 and 4500 and two loops allowed: 1000
// to 4500, then 3000 to 4500 twice, then silence, whatever the period
// sizes; the same range without the cycle stops at the end frame instead.
TEST(RJackTransport, LoopsBetweenTheLocatorsAndStopsAtTheEnd) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    std::mt19937 random(seed);
    FrameCounterTarget target;
    RJackTransport transport(target, 3000, 4500);
    transport.locate(1000);
    transport.setCycle(true);
    transport.setLoopLimit(2);
    transport.play();
    const std::vector<float> played = run(transport, 60, random);
    std::vector<float> expected = frames(1000, 4500);
    for (int lap = 0; lap < 2; ++lap) {
      const std::vector<float> loop = frames(3000, 4500);
      expected.insert(expected.end(), loop.begin(), loop.end());
    }
    ASSERT_GE(played.size(), expected.size());
    EXPECT_EQ(std::vector<float>(played.begin(), played.begin() + static_cast<long>(expected.size())), expected);
    EXPECT_EQ(withoutSilence(played).size(), expected.size());
    EXPECT_FALSE(transport.playing());
    EXPECT_EQ(transport.loops(), 2);
    EXPECT_EQ(transport.framesPlayed(), static_cast<int64_t>(expected.size()));
    EXPECT_EQ(transport.position(), 4500);
    EXPECT_LE(target.largestBlock, target.maxFrames());

    FrameCounterTarget plain;
    RJackTransport straight(plain, 3000, 4500);
    straight.setEnd(4000);
    straight.locate(1000);
    straight.play();
    EXPECT_EQ(withoutSilence(run(straight, 40, random)), frames(1000, 4000));
    EXPECT_EQ(straight.position(), 4000);
    EXPECT_FALSE(straight.playing());
  }
}

// Stopped, the transport outputs silence and keeps its place; a locate
// while playing waits in silence until the target is ready and continues
// from the new frame; a position past the right locator plays on.
TEST(RJackTransport, LocatesStopsAndWaitsForTheDisk) {
  std::mt19937 random(7);
  FrameCounterTarget target;
  target.prerollCalls = 3;
  RJackTransport transport(target, 100, 200);
  transport.setCycle(true);
  std::vector<float> stopped = run(transport, 3, random);
  EXPECT_EQ(withoutSilence(stopped).size(), 0u);

  transport.locate(500);  // past the right locator: no loop
  transport.play();
  std::vector<float> first = run(transport, 4, random);
  EXPECT_TRUE(first.front() == 0 && first.back() != 0);  // waited for the disk, then played
  const int64_t stopAt = transport.position();
  EXPECT_EQ(withoutSilence(first), frames(500, stopAt));

  transport.stop();
  EXPECT_EQ(withoutSilence(run(transport, 2, random)).size(), 0u);
  EXPECT_EQ(transport.position(), stopAt);
  transport.play();
  std::vector<float> resumed = withoutSilence(run(transport, 2, random));
  EXPECT_EQ(resumed.front(), static_cast<float>(stopAt + 1));

  transport.locate(20);
  std::vector<float> after = run(transport, 6, random);
  EXPECT_EQ(after.front(), 0.0f);
  const std::vector<float> heard = withoutSilence(after);
  ASSERT_FALSE(heard.empty());
  EXPECT_EQ(heard.front(), 21.0f);
  EXPECT_FALSE(transport.waiting());
}

}  // namespace
}  // namespace vantor
