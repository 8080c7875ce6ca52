// `vantor detect-silence` on a stereo WAVE written with our writer, its
// regions read from the JSON output.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileWriter.h"

namespace vantor {
namespace {

using test::runVantor;
using test::TempFolder;

using Regions = std::vector<std::pair<int64_t, int64_t>>;

Regions regionsOf(const test::RunResult& result) {
  EXPECT_EQ(result.status, 0) << result.err;
  const nlohmann::json output = nlohmann::json::parse(result.out);
  Regions regions;
  for (const auto& region : output.at("regions")) {
    regions.emplace_back(region.at("start").get<int64_t>(), region.at("end").get<int64_t>());
  }
  return regions;
}

// 48 kHz stereo float: 0.5 on the left at [48000, 72000), 0.25 on the
// right at [100000, 124000), silence elsewhere, 144000 frames.
std::string writeBursts(const TempFolder& dir) {
  const std::string path = (dir / "bursts.wav").string();
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 48000;
  file.format.channels = 2;
  file.format.bitsPerSample = 32;
  file.format.sampleType = SampleType::kFloat;
  std::vector<float> samples(2 * 144000, 0.0f);
  for (int i = 48000; i < 72000; ++i) samples[2 * i] = 0.5f;
  for (int i = 100000; i < 124000; ++i) samples[2 * i + 1] = -0.25f;
  AudioFileWriter writer;
  EXPECT_TRUE(writer.open(path, file) && writer.writeFrames(samples.data(), 144000) && writer.close());
  return path;
}

TEST(CliDetectSilence, FindsTheBurstsOfAGeneratedWave) {
  TempFolder dir;
  const std::string path = writeBursts(dir);
  // Defaults: open -40 dBFS (0.01), close -50 dBFS, 480 frames minimum open,
  // 24000 minimum closed. The gap closes at 72000 and the next opening at
  // 100000 has counted 27999 frames since: two regions.
  EXPECT_EQ(regionsOf(runVantor({"detect-silence", path, "--json"})), (Regions{{48000, 72000}, {100000, 124000}}));
  // A minimum closed length of a second bridges the gap.
  EXPECT_EQ(regionsOf(runVantor({"detect-silence", path, "--min-closed", "1000", "--json"})),
            (Regions{{48000, 124000}}));
  // 100 ms = 4800 frames before, 50 ms = 2400 after.
  EXPECT_EQ(regionsOf(runVantor({"detect-silence", path, "--pre-roll", "100", "--post-roll", "50", "--json"})),
            (Regions{{43200, 74400}, {95200, 126400}}));
  // Smoothed with c = e^(-1/480); worked in double precision: the level
  // 0.5 (1 − c^n) passes 0.01 at n = 10 (frame 48009) and decays below
  // -50 dBFS after 2431 quiet frames (74430); 0.25 (1 − c^n) passes 0.01
  // at n = 20 (100019) and falls below after 2098 (126097).
  EXPECT_EQ(regionsOf(runVantor({"detect-silence", path, "--mode", "smoothed", "--json"})),
            (Regions{{48009, 74430}, {100019, 126097}}));

  const auto text = runVantor({"detect-silence", path});
  EXPECT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("(1.000 s)"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("\n2 Regions Detected\n"), std::string::npos) << text.out;
}

TEST(CliDetectSilence, ReportsNoRegionAndRefusesBadInput) {
  TempFolder dir;
  const std::string path = writeBursts(dir);
  // Nothing lies above full scale.
  const auto none = runVantor({"detect-silence", path, "--open", "0"});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.out, "No region detected!\n");

  const std::string junk = (dir / "junk.wav").string();
  std::ofstream(junk) << "RIFF not really a wave file";
  const auto invalid = runVantor({"detect-silence", junk});
  EXPECT_EQ(invalid.status, 1);
  EXPECT_NE(invalid.err.find("Error: Invalid or unsupported file!"), std::string::npos) << invalid.err;
  EXPECT_EQ(runVantor({"detect-silence", path, "--mode", "loud"}).status, 2);
  EXPECT_EQ(runVantor({"detect-silence", path, "--min-open", "-1"}).status, 2);
  EXPECT_EQ(runVantor({"detect-silence", path, "--open", "nan"}).status, 2);
  const auto help = runVantor({"detect-silence", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("--pre-roll"), std::string::npos);
}

}  // namespace
}  // namespace vantor
