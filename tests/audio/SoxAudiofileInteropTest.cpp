// Our reader and writer against two more independent programs: files that
// sox writes in every sample format it has for WAVE, AIFF and AIFC read
// with the same samples as libsndfile reads them, and files that we write
// read with our samples in libaudiofile and in sox.

#include <audiofile.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "audio/AudioTestSupport.h"

namespace vantor {
namespace {

bool haveSox() { return std::system("sox --version >/dev/null 2>&1") == 0; }

int run(const std::string& command) { return std::system((command + " 2>/dev/null").c_str()); }

// A signal whose every value is a multiple of 2^-15 within [-1, 1), so 16
// bits and more hold it exactly, with both ends of the range.
std::vector<float> testSignal(int channels, int frames) {
  std::mt19937 random(11);
  std::vector<float> out;
  for (int i = 0; i < frames * channels; ++i) {
    const int step = static_cast<int>(random() % 65536) - 32768;
    out.push_back(i == 0 ? -1.0f : (i == 1 ? 32767 / 32768.0f : static_cast<float>(step) / 32768.0f));
  }
  return out;
}

TEST(SoxInterop, WeReadWhatSoxWritesAsLibsndfileReadsIt) {
  if (!haveSox()) GTEST_SKIP() << "sox is not installed";
  test::TempDir dir;
  struct Case {
    const char* type;  // sox's file type
    const char* encoding;
    int bits;
    bool weRead;  // false where the sample format is one we refuse on purpose
  };
  // "wav" writes the extensible format for more than 16 bits or more than
  // two channels, "wavpcm" always the plain one; "aiff" with a comment adds
  // a "COMT" chunk before "COMM".
  const Case cases[] = {
      {"wav", "unsigned-integer", 8, true},   {"wav", "signed-integer", 16, true},
      {"wav", "signed-integer", 24, true},    {"wav", "signed-integer", 32, true},
      {"wav", "floating-point", 32, true},    {"wav", "floating-point", 64, true},
      {"wavpcm", "signed-integer", 24, true}, {"wavpcm", "signed-integer", 32, true},
      {"aiff", "signed-integer", 8, true},    {"aiff", "signed-integer", 16, true},
      {"aiff", "signed-integer", 24, true},   {"aiff", "signed-integer", 32, true},
      {"aifc", "signed-integer", 16, true},   {"aifc", "signed-integer", 24, true},
      {"aifc", "signed-integer", 32, true},   {"aifc", "floating-point", 32, true},
      {"aifc", "floating-point", 64, false},  // "fl64"
  };
  for (const Case& c : cases) {
    for (const int channels : {1, 2, 3}) {
      const std::string label =
          std::string(c.type) + " " + c.encoding + " " + std::to_string(c.bits) + " bits " + std::to_string(channels);
      SCOPED_TRACE(label);
      const std::string path = dir.file("sox." + std::string(c.type));
      // An odd-length comment, so the chunk before the samples needs a pad.
      ASSERT_EQ(run("sox -R -n -r 22050 -c " + std::to_string(channels) + " -e " + c.encoding + " -b " +
                    std::to_string(c.bits) + " --comment odd -t " + c.type + " '" + path +
                    "' synth 0.05 sine 440 sine 660 sawtooth 200 vol 0.9"),
                0);
      const auto theirs = test::readSndfile(path);
      ASSERT_TRUE(theirs);
      for (const int64_t block : {333, 4096}) {
        const auto ours = test::readOurs(path, block);
        ASSERT_EQ(ours.has_value(), c.weRead);
        if (!ours) continue;
        EXPECT_EQ(ours->channels, channels);
        EXPECT_EQ(ours->rate, 22050);
        ASSERT_EQ(ours->samples.size(), theirs->samples.size());
        EXPECT_TRUE(ours->samples == theirs->samples);
      }
    }
  }
}

TEST(SndfileInterop, WeReadLibsndfileFilesWithTextChunks) {
  // libsndfile writes text such as a title in chunks of their own ("LIST"
  // in WAVE, "NAME" and "AUTH" in AIFF), before or after the samples; texts
  // of odd and even length give the chunk walk both paddings.
  test::TempDir dir;
  for (const int major : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_AIFF}) {
    for (const char* title : {"odd", "even"}) {
      SCOPED_TRACE(std::to_string(major) + " " + title);
      const std::string path = dir.file("titled");
      SF_INFO info{};
      info.samplerate = 48000;
      info.channels = 2;
      info.format = major | SF_FORMAT_PCM_24;
      SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
      ASSERT_NE(sf, nullptr);
      ASSERT_EQ(sf_set_string(sf, SF_STR_TITLE, title), 0);
      ASSERT_EQ(sf_set_string(sf, SF_STR_ARTIST, "Someone"), 0);
      const std::vector<float> signal = testSignal(2, 500);
      ASSERT_EQ(sf_writef_float(sf, signal.data(), 500), 500);
      sf_close(sf);
      const auto ours = test::readOurs(path, 64);
      const auto theirs = test::readSndfile(path);
      ASSERT_TRUE(ours && theirs);
      EXPECT_EQ(ours->samples.size(), signal.size());
      EXPECT_TRUE(ours->samples == theirs->samples);
    }
  }
}

// Every frame of path through libaudiofile as float; false when it refuses.
bool readAudiofile(const std::string& path, int* channels, double* rate, std::vector<float>* samples) {
  AFfilehandle file = afOpenFile(path.c_str(), "r", nullptr);
  if (file == AF_NULL_FILEHANDLE) return false;
  afSetVirtualSampleFormat(file, AF_DEFAULT_TRACK, AF_SAMPFMT_FLOAT, 32);
  *channels = afGetChannels(file, AF_DEFAULT_TRACK);
  *rate = afGetRate(file, AF_DEFAULT_TRACK);
  const AFframecount frames = afGetFrameCount(file, AF_DEFAULT_TRACK);
  samples->assign(static_cast<size_t>(frames * *channels), 0.0f);
  const int got = afReadFrames(file, AF_DEFAULT_TRACK, samples->data(), static_cast<int>(frames));
  afCloseFile(file);
  samples->resize(static_cast<size_t>(got * *channels));
  return true;
}

// Every sample of path as sox decodes it, as 32-bit float, without dither.
std::vector<float> readSox(const std::string& path, const std::string& raw) {
  if (run("sox -D '" + path + "' -t raw -e floating-point -b 32 -L '" + raw + "'") != 0) return {};
  const test::Bytes bytes = test::readBytes(raw);
  std::vector<float> out(bytes.size() / 4);
  for (size_t i = 0; i < out.size(); ++i) {
    const uint32_t bits = test::le32(bytes, 4 * i);
    std::memcpy(&out[i], &bits, 4);
  }
  return out;
}

TEST(AudiofileAndSoxInterop, TheyReadOurFilesWithOurSamples) {
  afSetErrorHandler(nullptr);
  const bool sox = haveSox();
  test::TempDir dir;
  struct Case {
    const char* type;
    int bits;
    SampleType sampleType;
  };
  const Case cases[] = {
      {"WAVE", 8, SampleType::kInteger},  {"WAVE", 16, SampleType::kInteger}, {"WAVE", 24, SampleType::kInteger},
      {"WAVE", 32, SampleType::kInteger}, {"WAVE", 32, SampleType::kFloat},   {"WAVE", 64, SampleType::kFloat},
      {"AIFF", 8, SampleType::kInteger},  {"AIFF", 16, SampleType::kInteger}, {"AIFF", 24, SampleType::kInteger},
      {"AIFC", 16, SampleType::kInteger}, {"AIFC", 32, SampleType::kInteger}, {"AIFC", 32, SampleType::kFloat},
  };
  for (const Case& c : cases) {
    for (const int channels : {1, 2, 3}) {
      SCOPED_TRACE(std::string(c.type) + " " + std::to_string(c.bits) +
                   (c.sampleType == SampleType::kFloat ? " float " : " int ") + std::to_string(channels));
      const std::string path = dir.file(std::string("ours.") + (c.type[0] == 'W' ? "wav" : "aif"));
      AudioFile file = test::makeFile(c.type, 32000, channels, c.bits, c.sampleType);
      file.cues = {{3, 8}};  // the cue chunk must not disturb either reader
      const std::vector<float> signal = testSignal(channels, 701);
      ASSERT_TRUE(test::writeOurs(path, file, signal));
      // 8 bits hold what our writer made of the signal; the libsndfile
      // interop test shows that is the signal rounded to 8 bits.
      const std::vector<float> expected = test::readOurs(path)->samples;
      if (c.bits >= 16) {
        EXPECT_EQ(expected, signal);
      }

      int theirChannels = 0;
      double theirRate = 0;
      std::vector<float> theirs;
      ASSERT_TRUE(readAudiofile(path, &theirChannels, &theirRate, &theirs)) << "libaudiofile refuses our file";
      EXPECT_EQ(theirChannels, channels);
      EXPECT_EQ(theirRate, 32000);
      EXPECT_TRUE(theirs == expected) << "libaudiofile reads other samples";

      if (!sox) continue;
      EXPECT_TRUE(readSox(path, dir.file("sox.raw")) == expected) << "sox reads other samples";
    }
  }
}

}  // namespace
}  // namespace vantor
