// Each process against values worked by hand or computed independently:
// gain against sox, convolution against a direct-form sum, fades, envelope,
// gate, DC offset, echo and normalising frame by frame.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "audio/AudioTestSupport.h"
#include "audio/process/PConvolution.h"
#include "audio/process/PDCOffset.h"
#include "audio/process/PEvtdetection.h"
#include "audio/process/PGain.h"
#include "audio/process/ProcessTestSupport.h"

namespace vantor {
namespace {

using test::floatFormat;
using test::makeProcess;
using test::runProcess;

void expectNear(const std::vector<float>& actual, const std::vector<float>& expected, float tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (size_t i = 0; i < actual.size(); ++i) ASSERT_NEAR(actual[i], expected[i], tolerance) << "sample " << i;
}

TEST(PGain, MatchesSoxAndReportsClipping) {
  test::TempDir dir;
  const std::vector<float> input = test::randomSamples(2 * 5000, 3, 0.4f);
  const AudioFile file = test::makeFile("WAVE", 44100, 2, 32, SampleType::kFloat);
  ASSERT_TRUE(test::writeOurs(dir.file("in.wav"), file, input));
  const std::string command =
      "sox -D " + dir.file("in.wav") + " -e floating-point " + dir.file("sox.wav") + " vol 7.5dB 2>/dev/null";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "sox is not installed";
  const auto sox = test::readSndfile(dir.file("sox.wav"));
  ASSERT_TRUE(sox);

  FRef<PAudioProcess> gain = makeProcess("PGain", {{"Gain", "7.5"}});
  expectNear(runProcess(*gain, file.format, input), sox->samples, 1e-6f);

  // 0.4 × 10^(7.5/20) ≈ 0.95 stays below full scale; +8 dB (× 2.51) clips.
  bool clipped = true;
  std::string error;
  test::PBufferSourceFor source(input, 2);
  ASSERT_TRUE(static_cast<PGain&>(*gain).previewClips(file.format, 5000, source.source, &clipped, &error));
  EXPECT_STREQ(PGain::clipText(clipped), "No Clip Detected");
  ASSERT_TRUE(gain->setParameter("Gain", "8", &error));
  ASSERT_TRUE(static_cast<PGain&>(*gain).previewClips(file.format, 5000, source.source, &clipped, &error));
  EXPECT_STREQ(PGain::clipText(clipped), "Clip Detected");
}

TEST(PGain, NormalisesThePeakOfItsResult) {
  // Peak 0.25 at frame 2; -6.0206 dB is a peak of 0.5, so the factor is 2.
  const std::vector<float> input{0.1f, -0.2f, 0.25f, 0.0f};
  FRef<PAudioProcess> gain =
      makeProcess("PGain", {{"Gain", "-20"}, {"Normalize", "On"}, {"Normalize Level", "-6.020599913"}});
  expectNear(runProcess(*gain, floatFormat(1, 100), input), {0.2f, -0.4f, 0.5f, 0.0f}, 1e-6f);
  // Silence stays silence.
  EXPECT_EQ(runProcess(*gain, floatFormat(1, 100), {0, 0, 0}), (std::vector<float>{0, 0, 0}));
}

TEST(PFadeProcess, CurvesFrameByFrame) {
  const std::vector<float> ones(4, 1.0f);
  const AudioFormat mono = floatFormat(1, 100);
  // Fade in over n = 4: x = 0, 1/4, 1/2, 3/4.
  expectNear(runProcess(*makeProcess("PFadeIn"), mono, ones), {0, 0.25f, 0.5f, 0.75f}, 1e-7f);
  expectNear(runProcess(*makeProcess("PFadeIn", {{"Curve", "Exponential"}}), mono, ones), {0, 0.0625f, 0.25f, 0.5625f},
             1e-7f);
  expectNear(runProcess(*makeProcess("PFadeIn", {{"Curve", "Logarithmic"}}), mono, ones), {0, 0.4375f, 0.75f, 0.9375f},
             1e-7f);
  // (1 − cos(πx)) / 2 at x = 1/4: (1 − 0.70710678) / 2 = 0.14644661.
  expectNear(runProcess(*makeProcess("PFadeIn", {{"Curve", "S-Curve"}}), mono, ones),
             {0, 0.14644661f, 0.5f, 0.85355339f}, 1e-6f);
  // A fade out is the mirror image: x = 3/4, 1/2, 1/4, 0.
  expectNear(runProcess(*makeProcess("PFadeOut"), mono, ones), {0.75f, 0.5f, 0.25f, 0}, 1e-7f);
  expectNear(runProcess(*makeProcess("PFadeOut", {{"Curve", "Exponential"}}), mono, ones), {0.5625f, 0.25f, 0.0625f, 0},
             1e-7f);
}

TEST(PEnvelope, FollowsItsPointsLinearly) {
  // Five frames: x = 0, 1/4, 1/2, 3/4, 1 on "0:0, 0.5:2, 1:1".
  FRef<PAudioProcess> envelope = makeProcess("PEnvelope", {{"Envelope", "0:0, 0.5:2, 1:1"}});
  expectNear(runProcess(*envelope, floatFormat(2, 100), std::vector<float>(10, 0.5f)),
             {0, 0, 0.5f, 0.5f, 1, 1, 0.75f, 0.75f, 0.5f, 0.5f}, 1e-7f);
  // The default curve leaves the audio as it is.
  const std::vector<float> input = test::randomSamples(64, 1);
  EXPECT_EQ(runProcess(*makeProcess("PEnvelope"), floatFormat(1, 100), input), input);
}

TEST(PNoiseGate, OpensAboveTheThresholdHoldsAndRamps) {
  // At 1000 Hz the hold is 10 frames. Frames 0..2 are loud (0.5 > -12 dB =
  // 0.251), the rest quiet (0.01): the gate is open through frame 2 + 9 = 11.
  std::vector<float> input(20, 0.01f);
  std::fill(input.begin(), input.begin() + 3, 0.5f);
  std::vector<float> expected(20, 0.0f);
  std::copy(input.begin(), input.begin() + 12, expected.begin());
  FRef<PAudioProcess> instant =
      makeProcess("PNoiseGate", {{"Threshold", "-12"}, {"Attack Time", "0"}, {"Release Time", "0"}});
  expectNear(runProcess(*instant, floatFormat(1, 1000), input), expected, 0);
  // Attack 4 ms and release 2 ms: the gain rises by 1/4 per frame from frame
  // 0 and falls by 1/2 per frame from frame 12.
  FRef<PAudioProcess> ramped =
      makeProcess("PNoiseGate", {{"Threshold", "-12"}, {"Attack Time", "4"}, {"Release Time", "2"}});
  expected = {0.125f, 0.25f, 0.375f, 0.01f, 0.01f, 0.01f, 0.01f, 0.01f, 0.01f, 0.01f,
              0.01f,  0.01f, 0.005f, 0,     0,     0,     0,     0,     0,     0};
  expectNear(runProcess(*ramped, floatFormat(1, 1000), input), expected, 1e-7f);
  // Unlinked, each channel has its own gate: the quiet right channel stays shut.
  FRef<PAudioProcess> unlinked =
      makeProcess("PNoiseGate", {{"Threshold", "-12"}, {"Attack Time", "0"}, {"Linked Channels", "Off"}});
  expectNear(runProcess(*unlinked, floatFormat(2, 1000), {0.5f, 0.01f, 0.5f, 0.01f}), {0.5f, 0, 0.5f, 0}, 0);
  FRef<PAudioProcess> linked = makeProcess("PNoiseGate", {{"Threshold", "-12"}, {"Attack Time", "0"}});
  expectNear(runProcess(*linked, floatFormat(2, 1000), {0.5f, 0.01f, 0.5f, 0.01f}), {0.5f, 0.01f, 0.5f, 0.01f}, 0);
}

TEST(PDCOffset, MeasuresAndRemovesEachChannelsMean) {
  // Left 0.1, 0.3 → mean 0.2; right -0.5, 0.5 → mean 0.
  const std::vector<float> input{0.1f, -0.5f, 0.3f, 0.5f};
  const AudioFormat stereo = floatFormat(2, 100);
  FRef<PAudioProcess> compute = makeProcess("PDCOffsetPrepare");
  EXPECT_FALSE(compute->changesAudio());
  std::unique_ptr<PAudioWork> work = compute->createWork();
  std::string error;
  EXPECT_EQ(runWorkOnBuffer(*work, stereo, input, &error), input);
  EXPECT_EQ(static_cast<PAudioAnalyze&>(*compute).summary(*work), "DC Offset: 20.0000 %, 0.0000 %");
  expectNear(runProcess(*makeProcess("PDCOffset"), stereo, input), {-0.1f, -0.5f, 0.1f, 0.5f}, 1e-7f);
}

TEST(PEcho, OneEchoFromTheInputRepeatsFromTheOutput) {
  // 3 ms at 1000 Hz is 3 frames; mix 50 %: y = x/2 + echo/2.
  std::vector<float> impulse(10, 0.0f);
  impulse[0] = 1.0f;
  FRef<PAudioProcess> input = makeProcess("PEcho", {{"Echo length", "3"}});
  expectNear(runProcess(*input, floatFormat(1, 1000), impulse), {0.5f, 0, 0, 0.5f, 0, 0, 0, 0, 0, 0}, 0);
  FRef<PAudioProcess> output = makeProcess("PEcho", {{"Echo length", "3"}, {"Source", "Output"}});
  expectNear(runProcess(*output, floatFormat(1, 1000), impulse), {0.5f, 0, 0, 0.25f, 0, 0, 0.125f, 0, 0, 0.0625f}, 0);
}

TEST(PEcho, AnEchoBeyondTheRangeNeedsNoRingOfItsLength) {
  // A header may claim 4 GHz: 5 s of delay would be 2·10^10 frames of ring.
  // No echo arrives within 10 frames, so the result is the dry half.
  const std::vector<float> in = {1, 1, -1, -1, 0.5f, 0.5f, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1};
  std::vector<float> half;
  for (const float x : in) half.push_back(x / 2);
  FRef<PAudioProcess> echo = makeProcess("PEcho", {{"Echo length", "5000"}});
  expectNear(runProcess(*echo, floatFormat(2, 4.0e9f), in, {3, 7}), half, 0);
  // At an ordinary rate the echo just misses the end: the same dry half.
  FRef<PAudioProcess> late = makeProcess("PEcho", {{"Echo length", "10"}});
  expectNear(runProcess(*late, floatFormat(2, 1000), in, {4}), half, 0);
}

// y[n] = Σ h[k]·x[n − k], the definition, in double precision.
std::vector<float> directConvolution(const std::vector<float>& x, const std::vector<float>& h, int channels,
                                     int impulseChannels) {
  const size_t frames = x.size() / static_cast<size_t>(channels);
  const size_t taps = h.size() / static_cast<size_t>(impulseChannels);
  std::vector<float> y(x.size());
  for (size_t n = 0; n < frames; ++n) {
    for (int c = 0; c < channels; ++c) {
      double sum = 0;
      const int hc = c % impulseChannels;
      for (size_t k = 0; k <= n && k < taps; ++k) {
        sum += double{h[k * static_cast<size_t>(impulseChannels) + static_cast<size_t>(hc)]} *
               x[(n - k) * static_cast<size_t>(channels) + static_cast<size_t>(c)];
      }
      y[n * static_cast<size_t>(channels) + static_cast<size_t>(c)] = static_cast<float>(sum);
    }
  }
  return y;
}

TEST(PConvolution, MatchesTheDirectFormSum) {
  test::TempDir dir;
  const std::vector<float> impulse = test::randomSamples(2 * 700, 21, 0.2f);
  ASSERT_TRUE(test::writeOurs(dir.file("ir.wav"), test::makeFile("WAVE", 8000, 2, 32, SampleType::kFloat), impulse));
  const std::vector<float> input = test::randomSamples(2 * 12000, 22);
  // Per channel: left with the impulse's left, right with its right.
  FRef<PAudioProcess> perChannel =
      makeProcess("PConvolution", {{"Impulse Path", dir.file("ir.wav")}, {"Impulse Channel Mode", "Per Channel"}});
  expectNear(runProcess(*perChannel, floatFormat(2, 8000), input, {1000}), directConvolution(input, impulse, 2, 2),
             2e-5f);
  // Mixed: both channels with the mean of the impulse's two, 6 dB louder.
  std::vector<float> mixed(impulse.size() / 2);
  for (size_t i = 0; i < mixed.size(); ++i) mixed[i] = (impulse[2 * i] + impulse[2 * i + 1]) / 2 * 1.9952623f;
  FRef<PAudioProcess> mix = makeProcess("PConvolution", {{"Impulse Path", dir.file("ir.wav")}, {"Gain", "6"}});
  std::string error;
  expectNear(runProcess(*mix, floatFormat(2, 8000), input), directConvolution(input, mixed, 2, 1), 4e-5f);
  // Normalised to -6.0206 dBFS, the peak of the (delayed) result is 0.5.
  ASSERT_TRUE(mix->setParameter("Normalize", "On", &error));
  ASSERT_TRUE(mix->setParameter("Normalize Level", "-6.020599913", &error));
  float peak = 0;
  for (float sample : runProcess(*mix, floatFormat(2, 8000), input)) peak = std::max(peak, std::fabs(sample));
  EXPECT_NEAR(peak, 0.5f, 1e-6f);
}

TEST(PConvolution, AClaimedHugeRateStretchesOnlyTheTapsTheRangeUses) {
  // Against a range of 8000 · 2^24 Hz the 700 taps of an 8 kHz impulse
  // would stretch to 700 · 2^24 frames (47 GB); 10 frames use only the
  // first 10: h'[k] = h[0] + (h[1] − h[0]) · k / 2^24, linear between taps.
  test::TempDir dir;
  const std::vector<float> impulse = test::randomSamples(700, 31, 0.2f);
  ASSERT_TRUE(test::writeOurs(dir.file("ir.wav"), test::makeFile("WAVE", 8000, 1, 32, SampleType::kFloat), impulse));
  const std::vector<float> input = test::randomSamples(10, 32);
  std::vector<float> stretched(10);
  for (size_t k = 0; k < stretched.size(); ++k) {
    stretched[k] = impulse[0] + (impulse[1] - impulse[0]) * static_cast<float>(k) / 16777216.0f;
  }
  FRef<PAudioProcess> process = makeProcess("PConvolution", {{"Impulse Path", dir.file("ir.wav")}});
  expectNear(runProcess(*process, floatFormat(1, 8000.0f * 16777216.0f), input, {3}),
             directConvolution(input, stretched, 1, 1), 1e-6f);
}

TEST(PConvolution, RefusesLongMissingAndEmptyImpulses) {
  test::TempDir dir;
  // 11 seconds at 100 Hz: over the limit of 10.
  ASSERT_TRUE(test::writeOurs(dir.file("long.wav"), test::makeFile("WAVE", 100, 1, 16, SampleType::kInteger),
                              std::vector<float>(1100, 0.1f)));
  ASSERT_TRUE(test::writeOurs(dir.file("empty.wav"), test::makeFile("WAVE", 100, 1, 16, SampleType::kInteger), {}));
  EXPECT_EQ(PConvolution::maximumImpulseText(), "The maximum duration allowed for impulse is 10 seconds");
  const std::pair<std::string, std::string> cases[] = {
      {dir.file("long.wav"), "The maximum duration allowed for impulse is 10 seconds"},
      {dir.file("empty.wav"), "The impulse file holds no audio!"},
      {"", "No impulse file loaded!"},
  };
  for (const auto& [path, message] : cases) {
    FRef<PAudioProcess> convolution = makeProcess("PConvolution", {{"Impulse Path", path}});
    std::unique_ptr<PAudioWork> work = convolution->createWork();
    std::string error;
    EXPECT_TRUE(runWorkOnBuffer(*work, floatFormat(1, 100), {0.5f}, &error).empty());
    EXPECT_EQ(error, message);
  }
  FRef<PAudioProcess> missing = makeProcess("PConvolution", {{"Impulse Path", dir.file("none.wav")}});
  std::string error;
  EXPECT_TRUE(runWorkOnBuffer(*missing->createWork(), floatFormat(1, 100), {0.5f}, &error).empty());
  EXPECT_FALSE(error.empty());
}

TEST(PEvtdetection, FindsNamesAndCountsRegions) {
  // 1000 Hz; loud (0.5) over frames 100..199 and 800..899; min. closing
  // 500 ms keeps them apart (600 frames of quiet), min. opening 10 ms.
  std::vector<float> input(1000, 0.0f);
  std::fill(input.begin() + 100, input.begin() + 200, 0.5f);
  std::fill(input.begin() + 800, input.begin() + 900, 0.5f);
  FRef<PAudioProcess> detect =
      makeProcess("PEvtdetection", {{"Pre-Roll", "5"}, {"Region Name", "Take"}, {"Auto Number Start", "7"}});
  std::unique_ptr<PAudioWork> work = detect->createWork();
  std::string error;
  EXPECT_EQ(runWorkOnBuffer(*work, floatFormat(1, 1000), input, &error), input);
  const auto& found = static_cast<PEvtdetectionWork&>(*work).regions();
  EXPECT_EQ(found, (std::vector<SilenceRegion>{{95, 200}, {795, 900}}));
  EXPECT_EQ(static_cast<PAudioAnalyze&>(*detect).summary(*work), "Number of Region Detected: 2");
  EXPECT_EQ(static_cast<PEvtdetection&>(*detect).regionName(1), "Take 8");

  std::unique_ptr<PAudioWork> quiet = detect->createWork();
  (void)runWorkOnBuffer(*quiet, floatFormat(1, 1000), std::vector<float>(100, 0.001f), &error);
  EXPECT_EQ(static_cast<PAudioAnalyze&>(*detect).summary(*quiet), "No region detected!");
}

}  // namespace
}  // namespace vantor
