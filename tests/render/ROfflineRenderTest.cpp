// Renders written to files and read back by libsndfile: their length and
// rate, their samples at each width, loudness normalization measured again,
// and failures that leave the target as it was.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <numbers>

#include "PlaybackTestSupport.h"
#include "model/markers/MTransport.h"
#include "render/offline/RLoudnessMeter.h"
#include "render/offline/ROfflineRender.h"

namespace vantor {
namespace {

struct ReadBack {
  int rate = 0;
  int channels = 0;
  int format = 0;
  std::vector<float> samples;  // interleaved
};

// The file through libsndfile, the independent reader.
std::optional<ReadBack> readBack(const std::string& path) {
  SF_INFO info{};
  SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
  if (sf == nullptr) return std::nullopt;
  ReadBack out{info.samplerate, info.channels, info.format, {}};
  out.samples.resize(static_cast<size_t>(info.frames * info.channels));
  sf_readf_float(sf, out.samples.data(), info.frames);
  sf_close(sf);
  return out;
}

class ROfflineRenderTest : public test::RenderTest {
 protected:
  // A hard-left mono track playing `clip` from pulse 0.
  void addHardLeft(const FRef<PAudioClip>& clip, int64_t frames) {
    MTrackEvent* track = addTrack("Audio", "Left");
    track->setAttribute(MTrackAttribute::kPan, -100);
    addAudioEvent(track, clip, 0, 0, frames);
  }
  bool render(const std::string& path, const RRenderSettings& settings, RRenderResult* result, std::string* error,
              const std::function<bool(double)>& progress = {}) {
    return renderProject(*doc, path, settings, test::ImpulseFactory(), result, error, progress);
  }
};

TEST_F(ROfflineRenderTest, EachWidthReadsBackWithItsPrecision) {
  // A quiet ramp from -0.25 to 0.25: at 32-bit float exact; at 24 and 16
  // bits within the rounding plus the ±1 step of triangular dither.
  const auto ramp = [](int64_t i) { return (static_cast<float>(i) - 2400) / 9600; };
  addHardLeft(makeClip("ramp", 48000, 1, 4800, [&](int64_t i, int) { return ramp(i); }), 4800);
  struct Case {
    const char* file;
    int bits;
    int subtype;
    double tolerance;
  };
  const Case cases[] = {{"f.wav", 32, SF_FORMAT_FLOAT, 0},
                        {"i24.wav", 24, SF_FORMAT_PCM_24, 1.5 / 8388608},
                        {"i16.aiff", 16, SF_FORMAT_PCM_16, 1.5 / 32768},
                        {"i24.aif", 24, SF_FORMAT_PCM_24, 1.5 / 8388608}};
  for (const Case& c : cases) {
    RRenderSettings settings;
    settings.bits = c.bits;
    RRenderResult result;
    std::string error;
    ASSERT_TRUE(render(dir.file(c.file), settings, &result, &error)) << error;
    EXPECT_EQ(result.frames, 4800) << c.file;
    const auto back = readBack(dir.file(c.file));
    ASSERT_TRUE(back) << c.file;
    EXPECT_EQ(back->rate, 48000);
    EXPECT_EQ(back->channels, 2);
    EXPECT_EQ(back->format & SF_FORMAT_SUBMASK, c.subtype) << c.file;
    ASSERT_EQ(back->samples.size(), 9600u);
    for (size_t i = 0; i < 4800; ++i) {
      ASSERT_NEAR(back->samples[2 * i], ramp(static_cast<int64_t>(i)), c.tolerance) << c.file << " " << i;
      ASSERT_NEAR(back->samples[2 * i + 1], 0, c.tolerance) << c.file << " " << i;
    }
    // Peak: the first sample, -0.25 = -12.04 dBFS.
    EXPECT_NEAR(result.peakDb, 20 * std::log10(0.25), 0.01) << c.file;
  }
}

TEST_F(ROfflineRenderTest, TheLocatorsRangeHasItsLengthAtEveryOutputRate) {
  // Bar 2 to bar 4 in 4/4 at 120 BPM: 4 s to ... 1920 to 5760 pulses, 2 s
  // to 6 s: 192000 frames at 48 kHz, 176400 at 44.1 kHz. A 1 kHz sine plays
  // throughout; converted, it still matches the sine at the new rate.
  addHardLeft(makeClip("sine", 48000, 1, 48000 * 8,
                       [](int64_t i, int) { return static_cast<float>(0.5 * std::sin(std::numbers::pi * (i % 48) / 24)); }),
              48000 * 8);
  doc->arrangement()->getTransport()->setLeftLocator(1920);
  doc->arrangement()->getTransport()->setRightLocator(5760);
  const auto p = plan();
  for (int rate : {0, 44100}) {
    RRenderSettings settings;
    settings.from = p->leftLocator;
    settings.to = p->rightLocator;
    settings.outputRate = rate;
    settings.bits = 32;
    RRenderResult result;
    std::string error;
    ASSERT_TRUE(render(dir.file("range.wav"), settings, &result, &error)) << error;
    const int expectedRate = rate == 0 ? 48000 : rate;
    const auto back = readBack(dir.file("range.wav"));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->rate, expectedRate);
    EXPECT_EQ(static_cast<int64_t>(back->samples.size() / 2), 4 * expectedRate);
    EXPECT_EQ(result.frames, 4 * expectedRate);
    // Away from the edges (the converter's filter), sample k is the sine at
    // 2 s + k / rate.
    for (int64_t k = 1000; k < 4 * expectedRate - 1000; k += 7) {
      const double t = 2.0 + static_cast<double>(k) / expectedRate;
      ASSERT_NEAR(back->samples[static_cast<size_t>(2 * k)], 0.5 * std::sin(2 * std::numbers::pi * 1000 * t), 2e-3)
          << rate << " " << k;
    }
  }
}

TEST_F(ROfflineRenderTest, NormalizeReachesTheLoudnessMeasuredAgain) {
  // Pink-ish noise would do; a 440 Hz sine at 0.05 is about -29 LUFS.
  addHardLeft(makeClip("tone", 48000, 1, 48000 * 3,
                       [](int64_t i, int) { return 0.05f * std::sin(2 * std::numbers::pi_v<float> * 440 * i / 48000); }),
              48000 * 3);
  for (double target : {-23.0, -16.0}) {
    RRenderSettings settings;
    settings.normalizeLufs = target;
    RRenderResult result;
    std::string error;
    ASSERT_TRUE(render(dir.file("loud.wav"), settings, &result, &error)) << error;
    EXPECT_GT(result.gainDb, 3.0);
    const auto back = readBack(dir.file("loud.wav"));
    ASSERT_TRUE(back);
    RLoudnessMeter meter(back->rate);
    meter.add(back->samples.data(), static_cast<int64_t>(back->samples.size() / 2));
    EXPECT_NEAR(meter.loudnessLufs(), target, 0.1);
    EXPECT_NEAR(result.loudnessLufs, target, 0.1);
  }
}

TEST_F(ROfflineRenderTest, SilenceMeasuresAsMinusInfinityAndGetsNoGain) {
  addHardLeft(makeClip("silence", 48000, 1, 48000, [](int64_t, int) { return 0.0f; }), 48000);
  RRenderSettings settings;
  settings.normalizeLufs = -14;
  RRenderResult result;
  std::string error;
  ASSERT_TRUE(render(dir.file("quiet.wav"), settings, &result, &error)) << error;
  EXPECT_EQ(result.gainDb, 0);
  EXPECT_TRUE(std::isinf(result.loudnessLufs) && result.loudnessLufs < 0);
  EXPECT_TRUE(std::isinf(result.peakDb) && result.peakDb < 0);
}

TEST_F(ROfflineRenderTest, AFailureOrACancelLeavesTheTargetAsItWas) {
  addHardLeft(makeClip("tone", 48000, 1, 48000, [](int64_t i, int) { return i % 100 / 200.0f; }), 48000);
  const std::string target = dir.file("keep.wav");
  test::writeText(target, "the old render");
  const auto unchanged = [&] {
    EXPECT_EQ(test::readText(target), "the old render");
    EXPECT_FALSE(test::temporaryLeftFor(target));
  };
  RRenderResult result;
  std::string error;
  EXPECT_FALSE(render(dir.file("keep.mp3"), {}, &result, &error));
  EXPECT_NE(error.find("file type is not known"), std::string::npos) << error;
  EXPECT_FALSE(render(target, {}, &result, &error, [](double done) { return done < 0.5; }));
  EXPECT_EQ(error, "The render was cancelled");
  unchanged();
  RRenderSettings empty;
  empty.from = 1000;
  empty.to = 1000;
  EXPECT_FALSE(render(target, empty, &result, &error));
  EXPECT_NE(error.find("Nothing to render"), std::string::npos) << error;
  // A folder nobody may write into.
  const std::string locked = dir.file("locked");
  ASSERT_EQ(::mkdir(locked.c_str(), 0555), 0);
  if (::access(locked.c_str(), W_OK) != 0) {  // root may write anyway
    EXPECT_FALSE(render(locked + "/out.wav", {}, &result, &error));
    EXPECT_NE(error.find("Cannot write"), std::string::npos) << error;
  }
  // A "folder" that is a file: no one can write into it, root included.
  EXPECT_FALSE(render(target + "/out.wav", {}, &result, &error));
  EXPECT_NE(error.find("Cannot write"), std::string::npos) << error;
  // The clip's file went missing after the project was made.
  std::filesystem::remove(dir.file("tone.wav"));
  EXPECT_FALSE(render(target, {}, &result, &error));
  EXPECT_NE(error.find("An audio clip cannot be read"), std::string::npos) << error;
  unchanged();
}

}  // namespace
}  // namespace vantor
