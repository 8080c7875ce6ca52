// `vantor play` through a private JACK server (dummy backend): ranges and
// one pass of the cycle measured in frames worked by hand, and the
// refusals with their exit codes.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileWriter.h"
#include "support/JackTestServer.h"

namespace vantor {
namespace {

using test::runVantor;
using test::TempFolder;

// A project at 120 BPM (a beat is 0.5 s, 24000 frames at 48 kHz) with an
// audio track playing 2 s of a 48 kHz tone from the start, and the locators
// at 1.3.1.0 (48000) and 1.4.1.0 (72000).
std::string makeProject(const TempFolder& dir) {
  const std::string wave = (dir / "tone.wav").string();
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 48000;
  file.format.channels = 1;
  file.format.bitsPerSample = 32;
  file.format.sampleType = SampleType::kFloat;
  std::vector<float> samples(96000);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = (i % 100 < 50) ? 0.25f : -0.25f;
  AudioFileWriter writer;
  EXPECT_TRUE(writer.open(wave, file) && writer.writeFrames(samples.data(), 96000) && writer.close());
  const std::string project = (dir / "song.vpr").string();
  EXPECT_EQ(runVantor({"new", project}).status, 0);
  EXPECT_EQ(runVantor({"edit", project, "-e", "track add audio A", "-e", "locators 1.3.1.0 1.4.1.0"}).status, 0);
  EXPECT_EQ(runVantor({"-y", "import-audio", project, wave, "--track", "A", "--at", "1.1.1.0"}).status, 0);
  return project;
}

TEST(CliPlay, RefusesWithoutAServerAndForBadPositions) {
  TempFolder dir;
  const std::string project = makeProject(dir);
  const auto none = runVantor({"play", project, "--server", "vantor_no_such_server"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "No JACK server is running.\n");
  const auto bad = runVantor({"play", project, "--from", "1.x"});
  EXPECT_EQ(bad.status, 2);
  const auto empty = runVantor({"play", project, "--from", "2.1.1.0", "--to", "1.2.1.0"});
  EXPECT_EQ(empty.status, 1);
  EXPECT_NE(empty.err.find("Nothing to play from 2.1.1.0 to 1.2.1.0"), std::string::npos) << empty.err;
}

// A range from 1.2.1.0 to 1.3.1.0 is 24000 to 48000; without a terminal
// --cycle plays from the left locator to the right one (24000 frames) and
// the locators' range once more (24000): 48000 frames, one loop.
TEST(CliPlay, PlaysTheRangeOrOnePassOfTheCycle) {
  test::JackTestServer server;
  if (!server.running()) GTEST_SKIP() << server.skipReason();
  TempFolder dir;
  const std::string project = makeProject(dir);
  const auto range =
      runVantor({"play", project, "--server", server.name(), "--from", "1.2.1.0", "--to", "1.3.1.0", "--json"});
  ASSERT_EQ(range.status, 0) << range.err;
  const nlohmann::json played = nlohmann::json::parse(range.out);
  EXPECT_EQ(played.at("from").at("frame"), 24000);
  EXPECT_EQ(played.at("to").at("frame"), 48000);
  EXPECT_EQ(played.at("position").at("bars"), "1.3.1.0");
  EXPECT_EQ(played.at("framesPlayed"), 24000);
  EXPECT_EQ(played.at("underruns"), 0);
  EXPECT_EQ(played.at("bufferSize"), 256);

  const auto cycle = runVantor({"play", project, "--server", server.name(), "--cycle", "--json"});
  ASSERT_EQ(cycle.status, 0) << cycle.err;
  const nlohmann::json looped = nlohmann::json::parse(cycle.out);
  EXPECT_EQ(looped.at("from").at("frame"), 48000);
  EXPECT_EQ(looped.at("framesPlayed"), 48000);
  EXPECT_EQ(looped.at("loops"), 1);
  EXPECT_EQ(looped.at("position").at("frame"), 72000);
  EXPECT_EQ(looped.at("underruns"), 0);
}

}  // namespace
}  // namespace vantor
