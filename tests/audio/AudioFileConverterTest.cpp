// Conversion of container, width and rate: rates against sox as the
// reference, dither against plain rounding, failures against the bytes of
// the target.

#include "audio/files/AudioFileConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "audio/AudioTestSupport.h"
#include "audio/files/AudioFileMessages.h"

namespace vantor {
namespace {

using test::readOurs;

std::vector<float> sine(int64_t frames, int channels, double hertz, double rate, double amplitude) {
  std::vector<float> samples;
  for (int64_t i = 0; i < frames; ++i) {
    const double v = amplitude * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / rate);
    samples.insert(samples.end(), static_cast<size_t>(channels), static_cast<float>(v));
  }
  return samples;
}

// Upward zero crossings of channel 0 between frames from and to, per second.
double measuredFrequency(const test::Decoded& d, int64_t from, int64_t to) {
  int64_t first = -1, last = -1, count = 0;
  for (int64_t i = from; i < to; ++i) {
    if (d.samples[(i - 1) * d.channels] < 0 && d.samples[i * d.channels] >= 0) {
      if (first < 0) first = i;
      last = i;
      ++count;
    }
  }
  return static_cast<double>(count - 1) * d.rate / static_cast<double>(last - first);
}

float peak(const test::Decoded& d, int64_t from, int64_t to) {
  float most = 0;
  for (int64_t i = from * d.channels; i < to * d.channels; ++i) most = std::max(most, std::abs(d.samples[i]));
  return most;
}

TEST(AudioFileConverter, RateConversionKeepsToneAndLengthAndMatchesSox) {
  test::TempDir dir;
  struct Case {
    double from, to;
    int64_t frames;
    int64_t expectedFrames;  // round(frames × to / from)
  };
  const Case cases[] = {
      {44100, 48000, 44100, 48000},  // one second stays one second
      {48000, 44100, 12345, 11342},  // 12345 × 0.91875 = 11341.97
      {96000, 32000, 30001, 10000},  // 30001 / 3 = 10000.33
  };
  for (const Case& c : cases) {
    AudioFile file = test::makeFile("WAVE", static_cast<float>(c.from), 2, 24, SampleType::kInteger);
    file.cues = {{0, static_cast<int32_t>(c.frames)}, {1000, 2000}};
    ASSERT_TRUE(test::writeOurs(dir.file("in.wav"), file, sine(c.frames, 2, 1000, c.from, 0.5)));
    AudioConversion conversion;
    conversion.sampleRate = c.to;
    conversion.width = SampleWidth::kFloat32;
    AudioFileConverter converter;
    ASSERT_TRUE(converter.convert(dir.file("in.wav"), dir.file("out.wav"), conversion)) << converter.error();
    const auto ours = readOurs(dir.file("out.wav"));
    ASSERT_TRUE(ours);
    const int64_t frames = static_cast<int64_t>(ours->samples.size()) / 2;
    EXPECT_EQ(frames, c.expectedFrames) << c.from << " to " << c.to;
    EXPECT_EQ(ours->rate, c.to);
    EXPECT_EQ(converter.result().cues[0].second, c.expectedFrames);
    EXPECT_EQ(converter.result().cues[1], (CueEntry{static_cast<int32_t>(std::lround(1000 * c.to / c.from)),
                                                    static_cast<int32_t>(std::lround(2000 * c.to / c.from))}));
    // Away from the filter's run-in at both ends: the same tone.
    EXPECT_NEAR(measuredFrequency(*ours, frames / 10, frames * 9 / 10), 1000.0, 0.1);
    EXPECT_NEAR(peak(*ours, frames / 10, frames * 9 / 10), 0.5f, 0.001f);
    if (!test::haveSox()) continue;
    ASSERT_TRUE(test::runTool("sox " + dir.file("in.wav") + " -e floating-point " + dir.file("sox.wav") + " rate -v " +
                              std::to_string(static_cast<int>(c.to))));
    const auto sox = test::readSndfile(dir.file("sox.wav"));
    ASSERT_TRUE(sox);
    ASSERT_EQ(sox->samples.size(), ours->samples.size());
    float largest = 0;
    for (size_t i = 0; i < sox->samples.size(); ++i)
      largest = std::max(largest, std::abs(sox->samples[i] - ours->samples[i]));
    // Two good filters agree to about -100 dB, within a 16-bit step.
    EXPECT_LT(largest, 3e-5f) << c.from << " to " << c.to;
  }
}

TEST(AudioFileConverter, NarrowingTo16BitsDithersAndWideningIsExact) {
  test::TempDir dir;
  // A slow 24-bit ramp of many values between two 16-bit steps.
  std::vector<float> ramp;
  for (int i = 0; i < 40000; ++i)
    ramp.push_back(static_cast<float>((i * 37) % 16777216 - 8388608) / 8388608.0f * 0.25f);
  ASSERT_TRUE(test::writeOurs(dir.file("in.aiff"), test::makeFile("AIFF", 44100, 1, 24, SampleType::kInteger), ramp));
  AudioFileConverter converter;
  AudioConversion to16;
  to16.width = SampleWidth::kInteger16;
  ASSERT_TRUE(converter.convert(dir.file("in.aiff"), dir.file("d1.wav"), to16));
  ASSERT_TRUE(converter.convert(dir.file("in.aiff"), dir.file("d2.wav"), to16));
  EXPECT_EQ(test::readBytes(dir.file("d1.wav")), test::readBytes(dir.file("d2.wav")));  // a fixed seed
  to16.dither = false;
  ASSERT_TRUE(converter.convert(dir.file("in.aiff"), dir.file("r.wav"), to16));
  // The 24-bit values as stored.
  ramp = readOurs(dir.file("in.aiff"))->samples;
  const auto dithered = readOurs(dir.file("d1.wav"));
  const auto rounded = readOurs(dir.file("r.wav"));
  ASSERT_TRUE(dithered && rounded);
  ASSERT_EQ(dithered->samples.size(), ramp.size());
  const double step = 1.0 / 32768;
  double errorSum = 0;
  int differ = 0;
  for (size_t i = 0; i < ramp.size(); ++i) {
    // Rounding alone: the nearest 16-bit value. Dither: within 1.5 steps.
    EXPECT_EQ(rounded->samples[i], static_cast<float>(std::nearbyint(ramp[i] * 32768.0) / 32768.0)) << i;
    EXPECT_LE(std::abs(dithered->samples[i] - ramp[i]), 1.5 * step) << i;
    errorSum += dithered->samples[i] - ramp[i];
    differ += dithered->samples[i] != rounded->samples[i];
  }
  EXPECT_LT(std::abs(errorSum / static_cast<double>(ramp.size())), 0.02 * step);  // no offset
  EXPECT_GT(differ, static_cast<int>(ramp.size()) / 10);

  // 24 bits through float and back, and 16 bits to 16 bits: the same samples.
  AudioConversion toFloat;
  toFloat.width = SampleWidth::kFloat32;
  AudioConversion to24;
  to24.width = SampleWidth::kInteger24;
  ASSERT_TRUE(converter.convert(dir.file("in.aiff"), dir.file("f.aifc"), toFloat));
  EXPECT_EQ(converter.result().typeName, "AIFC");  // AIFF keeps float only in AIFC
  ASSERT_TRUE(converter.convert(dir.file("f.aifc"), dir.file("back.wav"), to24));
  EXPECT_EQ(readOurs(dir.file("back.wav"))->samples, readOurs(dir.file("in.aiff"))->samples);
  AudioConversion same16;
  same16.typeName = "AIFC";
  ASSERT_TRUE(converter.convert(dir.file("r.wav"), dir.file("r.aifc"), same16));
  EXPECT_EQ(readOurs(dir.file("r.aifc"))->samples, rounded->samples);
}

TEST(AudioFileConverter, FailuresLeaveTheTargetAsItWas) {
  test::TempDir dir;
  const std::string target = dir.file("target.wav");
  test::writeBytes(target, {'o', 'l', 'd'});
  test::writeBytes(dir.file("junk.wav"), {'R', 'I', 'F', 'F', 0, 0});
  ASSERT_TRUE(test::writeOurs(dir.file("in.wav"), test::makeFile("WAVE", 44100, 2, 16, SampleType::kInteger),
                              sine(100000, 2, 440, 44100, 0.5)));
  AudioFileConverter converter;
  AudioConversion conversion;
  EXPECT_FALSE(converter.convert(dir.file("junk.wav"), target, conversion));
  EXPECT_EQ(converter.error(), kInvalidAudioFileMessage);
  EXPECT_EQ(converter.errorPath(), dir.file("junk.wav"));

  conversion.sampleRate = 44100.0 * 300;
  EXPECT_FALSE(converter.convert(dir.file("in.wav"), target, conversion));
  EXPECT_EQ(converter.error(), kUnsupportedRateMessage);
  EXPECT_EQ(converter.errorPath(), target);

  // Cancelled half way, with a rate conversion running.
  conversion.sampleRate = 48000;
  std::vector<int64_t> seen;
  const auto cancelHalfWay = [&seen](int64_t done, int64_t total) {
    EXPECT_EQ(total, 100000);
    seen.push_back(done);
    return done < total / 2;
  };
  EXPECT_FALSE(converter.convert(dir.file("in.wav"), target, conversion, cancelHalfWay));
  EXPECT_EQ(converter.error(), kConversionCancelledMessage);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_EQ(seen.front(), AudioFileConverter::kBlockFrames);

  conversion.typeName = "MP3";  // read only
  EXPECT_FALSE(converter.convert(dir.file("in.wav"), target, conversion));
  EXPECT_EQ(test::readBytes(target), (test::Bytes{'o', 'l', 'd'}));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.file("")), {}), 3);  // no temporary left
}

TEST(AudioFileConverter, DecodedSourcesBecomeWaveWithTheirSamples) {
  test::TempDir dir;
  const std::vector<float> tone = sine(20000, 2, 330, 44100, 0.7);
  SF_INFO info{};
  info.samplerate = 44100;
  info.channels = 2;
  info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
  SNDFILE* sf = sf_open(dir.file("in.flac").c_str(), SFM_WRITE, &info);
  ASSERT_NE(sf, nullptr);
  ASSERT_EQ(sf_writef_float(sf, tone.data(), 20000), 20000);
  sf_close(sf);
  AudioFileConverter converter;
  ASSERT_TRUE(converter.convert(dir.file("in.flac"), dir.file("out"), AudioConversion{}));
  // FLAC cannot be written: the container falls back to WAVE, the width stays.
  EXPECT_EQ(converter.result().typeName, "WAVE");
  EXPECT_EQ(converter.result().format.bitsPerSample, 24);
  EXPECT_EQ(readOurs(dir.file("out"))->samples, test::readSndfile(dir.file("in.flac"))->samples);
}

TEST(AudioFileConverter, ASourceShorterThanItsHeaderSaysIsRefusedNotPadded) {
  test::TempDir dir;
  const std::vector<float> tone = sine(4000, 1, 330, 44100, 0.7);
  SF_INFO info{};
  info.samplerate = 44100;
  info.channels = 1;
  info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
  SNDFILE* sf = sf_open(dir.file("in.flac").c_str(), SFM_WRITE, &info);
  ASSERT_NE(sf, nullptr);
  ASSERT_EQ(sf_writef_float(sf, tone.data(), 4000), 4000);
  sf_close(sf);
  // "fLaC", a 4-byte block header, then STREAMINFO: its 36-bit total of
  // samples takes the low 4 bits of byte 21 and bytes 22 to 25. Claim
  // 0x40000000 frames: a converter that trusts it writes 2 GiB of silence.
  test::Bytes bytes = test::readBytes(dir.file("in.flac"));
  ASSERT_GT(bytes.size(), 26u);
  bytes[21] = static_cast<uint8_t>(bytes[21] & 0xF0);
  bytes[22] = 0x40;
  bytes[23] = bytes[24] = bytes[25] = 0;
  test::writeBytes(dir.file("in.flac"), bytes);
  const std::string target = dir.file("out.wav");
  test::writeBytes(target, {'o', 'l', 'd'});
  AudioFileConverter converter;
  EXPECT_FALSE(converter.convert(dir.file("in.flac"), target, AudioConversion{}));
  EXPECT_EQ(converter.error(), kUnreadableAudioFileMessage);
  EXPECT_EQ(test::readBytes(target), (test::Bytes{'o', 'l', 'd'}));
}

}  // namespace
}  // namespace vantor
