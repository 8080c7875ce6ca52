// Silence detection: the state machine's edges worked frame by frame, the
// independence from block sizes, the widening of regions and the smoothed
// level.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "audio/process/PSilenceDetector.h"

namespace vantor {
namespace {

using Regions = std::vector<SilenceRegion>;
using Parameters = PSilenceDetector::Parameters;

Parameters thresholds(float open, float close, int64_t minOpen = 0, int64_t minClosed = 0) {
  Parameters parameters;
  parameters.openThreshold = open;
  parameters.closeThreshold = close;
  parameters.minOpenFrames = minOpen;
  parameters.minClosedFrames = minClosed;
  return parameters;
}

// The regions of samples (interleaved) fed in blocks of blockFrames.
Regions detect(const std::vector<float>& samples, const Parameters& parameters, int channels = 1,
               int64_t blockFrames = 4096) {
  PSilenceDetector detector(parameters, channels);
  const int64_t frames = static_cast<int64_t>(samples.size()) / channels;
  for (int64_t at = 0; at < frames; at += blockFrames) {
    detector.process(samples.data() + at * channels, std::min(blockFrames, frames - at));
  }
  detector.finish();
  EXPECT_EQ(detector.framesProcessed(), frames);
  return detector.regions();
}

// A mono signal of frames quiet samples (0) with value at [from, to).
std::vector<float> mono(int frames, std::initializer_list<std::pair<int, int>> loud, float value = 1.0f) {
  std::vector<float> samples(static_cast<size_t>(frames), 0.0f);
  for (const auto& [from, to] : loud) std::fill(samples.begin() + from, samples.begin() + to, value);
  return samples;
}

TEST(PSilenceDetector, OpensStrictlyAboveAndClosesAtOrBelowTheThresholds) {
  // Open 0.5, close 0.25. Frames 0..9 sit exactly on the open threshold and
  // never open; frame 10 is one step above it and opens. Frames 11..19 are
  // one step above the close threshold and keep the region open; frame 20
  // is exactly on it and closes.
  std::vector<float> samples(30, 0.5f);
  samples[10] = std::nextafter(0.5f, 1.0f);
  std::fill(samples.begin() + 11, samples.begin() + 20, std::nextafter(0.25f, 1.0f));
  std::fill(samples.begin() + 20, samples.end(), 0.25f);
  EXPECT_EQ(detect(samples, thresholds(0.5f, 0.25f)), (Regions{{10, 20}}));
  // Never above the open threshold: no region at all.
  EXPECT_TRUE(detect(std::vector<float>(100, 0.5f), thresholds(0.5f, 0.25f)).empty());
  EXPECT_TRUE(detect({}, thresholds(0.5f, 0.25f)).empty());
}

TEST(PSilenceDetector, ShortLoudStretchClosesAtTheFirstQuietFrameAfterTheMinimum) {
  // Minimum open 8: the opening frame 100 counts 1, frame 107 counts 8 and
  // is quiet, so the region closes there although frames 103..106 were quiet.
  EXPECT_EQ(detect(mono(200, {{100, 103}}), thresholds(0.5f, 0.5f, 8)), (Regions{{100, 107}}));
  // Loud past the minimum: closes at the first quiet frame, 111.
  EXPECT_EQ(detect(mono(200, {{100, 111}}), thresholds(0.5f, 0.5f, 8)), (Regions{{100, 111}}));
}

TEST(PSilenceDetector, GapsShorterThanTheMinimumClosedLengthAreBridged) {
  // Loud 10..19 closes at 20, which resets the frames since the close to 0;
  // the quiet frames after it count 1 each. Minimum closed 5: an opening at
  // 25 has counted frames 21..24 (4 < 5) and continues the region; one at
  // 26 has counted 5 and starts a new one.
  EXPECT_EQ(detect(mono(40, {{10, 20}, {25, 30}}), thresholds(0.5f, 0.5f, 0, 5)), (Regions{{10, 30}}));
  EXPECT_EQ(detect(mono(40, {{10, 20}, {26, 30}}), thresholds(0.5f, 0.5f, 0, 5)), (Regions{{10, 20}, {26, 30}}));
}

TEST(PSilenceDetector, BridgedRegionContinuesTheOpenCountOfThePreviousOne) {
  // Minimum open 10, minimum closed 3. Loud 0..1 opens at 0 and closes at 9
  // (count 10). The opening at 12 (frames 10, 11 since the close) is bridged
  // and the count goes on from 10: frame 13 counts 11 and closes. Had the
  // count started again at 1, the region would close at 21.
  EXPECT_EQ(detect(mono(30, {{0, 2}, {12, 13}}), thresholds(0.5f, 0.5f, 10, 3)), (Regions{{0, 13}}));
}

TEST(PSilenceDetector, RegionOpenAtTheEndEndsAtTheClipLength) {
  EXPECT_EQ(detect(mono(100, {{50, 100}}), thresholds(0.5f, 0.5f)), (Regions{{50, 100}}));
  // Still within its minimum open length when the clip ends.
  EXPECT_EQ(detect(mono(100, {{95, 96}}), thresholds(0.5f, 0.5f, 50)), (Regions{{95, 100}}));
  // Reopened by a bridge and loud to the end.
  EXPECT_EQ(detect(mono(100, {{10, 20}, {22, 100}}), thresholds(0.5f, 0.5f, 0, 10)), (Regions{{10, 100}}));
}

// Bursts of random length and level, so that openings, closings, bridges and
// minimum lengths fall anywhere relative to the block boundaries.
std::vector<float> randomBursts(std::mt19937& random, int channels, int frames) {
  std::uniform_int_distribution<int> length(1, 60);
  std::uniform_real_distribution<float> level(0.0f, 1.0f);
  std::vector<float> samples;
  while (static_cast<int>(samples.size()) < frames * channels) {
    const float peak = level(random) < 0.5f ? 0.9f : 0.05f;
    for (int i = length(random) * channels; i > 0; --i) samples.push_back(peak * (level(random) * 2.0f - 1.0f));
  }
  samples.resize(static_cast<size_t>(frames * channels));
  return samples;
}

// The detection's rules written out frame by frame for mono raw levels, as
// the independent check of the detector's scanning over runs of frames.
Regions referenceRegions(const std::vector<float>& levels, const Parameters& p) {
  Regions regions;
  bool open = false;
  int64_t openCount = 0;
  int64_t lastLength = 0;
  int64_t sinceClose = 0;
  for (int64_t frame = 0; frame < static_cast<int64_t>(levels.size()); ++frame) {
    const float level = std::fabs(levels[static_cast<size_t>(frame)]);
    if (!open) {
      if (level > p.openThreshold) {
        open = true;
        const bool bridge = !regions.empty() && sinceClose < p.minClosedFrames;
        openCount = bridge ? lastLength : 1;
        if (!bridge) regions.push_back({frame, frame});
      }
      ++sinceClose;
    } else if (++openCount >= p.minOpenFrames && level <= p.closeThreshold) {
      lastLength = openCount;
      open = false;
      openCount = sinceClose = 0;
      regions.back().end = frame;
    }
  }
  if (open) regions.back().end = static_cast<int64_t>(levels.size());
  return regions;
}

TEST(PSilenceDetector, RegionsFollowTheRulesFrameByFrameAtAnyBlockSize) {
  std::mt19937 random(20261122);
  std::uniform_int_distribution<int> frames(0, 40);
  for (int trial = 0; trial < 60; ++trial) {
    const int channels = 1 + trial % 3;
    const std::vector<float> samples = randomBursts(random, channels, 5000 + trial * 97);
    Parameters parameters = thresholds(0.4f, trial % 2 ? 0.2f : 0.6f, frames(random), frames(random));
    if (trial % 4 >= 2) {
      parameters.mode = PSilenceDetector::Mode::kSmoothed;
      parameters.smoothing = 0.9f;
    }
    const Regions whole = detect(samples, parameters, channels, 1 << 20);
    EXPECT_FALSE(whole.empty());
    if (channels == 1 && parameters.mode == PSilenceDetector::Mode::kRaw) {
      EXPECT_EQ(whole, referenceRegions(samples, parameters)) << "trial " << trial;
    }
    for (const int64_t block : {1, 7, 4096}) {
      EXPECT_EQ(detect(samples, parameters, channels, block), whole) << "trial " << trial << ", blocks of " << block;
    }
  }
}

TEST(PSilenceDetector, SmoothedModeFollowsTheSumOfTheChannels) {
  // Stereo, c = 0.5, frames (0.2, 0.3) then silence. The sum 0.5 is smoothed
  // to 0.25, 0.375, 0.4375, 0.46875 (frame 3, above 0.45: opens),
  // 0.484375, 0.4921875; frame 6 halves it to 0.24609375, at or below 0.3:
  // closes. The raw level, 0.3, never reaches the open threshold.
  std::vector<float> samples(2 * 12, 0.0f);
  for (int i = 0; i < 6; ++i) {
    samples[2 * i] = 0.2f;
    samples[2 * i + 1] = -0.3f;
  }
  Parameters parameters = thresholds(0.45f, 0.3f);
  EXPECT_TRUE(detect(samples, parameters, 2).empty());
  parameters.mode = PSilenceDetector::Mode::kSmoothed;
  parameters.smoothing = 0.5f;
  EXPECT_EQ(detect(samples, parameters, 2), (Regions{{3, 6}}));
}

TEST(PSilenceDetector, TimeConstantIsTheStepResponseToOneMinusOneOverE) {
  // 10 ms at 48 kHz = 480 frames. After n + 1 frames of a unit step the
  // smoothed level is 1 − c^(n+1); it passes 0.6 where n + 1 > 480 ln(1/0.4)
  // = 439.8, at frame 439.
  Parameters parameters = thresholds(0.6f, 0.0f);
  parameters.mode = PSilenceDetector::Mode::kSmoothed;
  parameters.smoothing = PSilenceDetector::smoothingForTimeConstant(10.0, 48000.0);
  EXPECT_EQ(detect(std::vector<float>(1000, 1.0f), parameters), (Regions{{439, 1000}}));
  EXPECT_EQ(PSilenceDetector::smoothingForTimeConstant(0.0, 48000.0), 0.0f);
}

TEST(PSilenceDetector, MillisecondsBecomeTruncatedFrames) {
  EXPECT_EQ(millisecondsToFrames(10.5, 44100.0), 463);  // 463.05
  EXPECT_EQ(millisecondsToFrames(1.0, 22050.0), 22);    // 22.05
  EXPECT_EQ(millisecondsToFrames(0.02, 48000.0), 0);    // 0.96
  EXPECT_EQ(millisecondsToFrames(500.0, 48000.0), 24000);
}

TEST(PSilenceDetector, WideningClampsAndNeverOverlaps) {
  struct Case {
    Regions regions;
    int64_t pre;
    int64_t post;
    Regions widened;
  };
  const Case cases[] = {
      // 10 − 15 clamps at 0, 95 + 8 at the length 100; 20 + 8 = 28 and
      // 26 − 15 = 11 overlap: the post-roll stops at the next start 26 and
      // that start stays there.
      {{{10, 20}, {26, 40}, {95, 97}}, 15, 8, {{0, 26}, {26, 48}, {80, 100}}},
      // Pre-roll alone: 40 − 12 = 28 reaches back into the first region's
      // end 30 and is cut there.
      {{{10, 30}, {40, 50}}, 12, 0, {{0, 30}, {30, 50}}},
      // Apart: both widened in full.
      {{{10, 20}, {40, 50}}, 5, 5, {{5, 25}, {35, 55}}},
      {{}, 5, 5, {}},
  };
  for (const Case& c : cases) EXPECT_EQ(widenRegions(c.regions, c.pre, c.post, 100), c.widened);
}

}  // namespace
}  // namespace vantor
