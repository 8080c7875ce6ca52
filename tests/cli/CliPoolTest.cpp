// `vantor import-audio`, `vantor pool` and `vantor regions` on a project
// made by `vantor new`, with WAVE files written by our writer.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileWriter.h"

namespace vantor {
namespace {

using test::runVantor;
using test::TempFolder;

// 44.1 kHz mono 16-bit: frames frames, 2 bytes each.
std::string writeWave(const TempFolder& dir, const std::string& name, int frames) {
  const std::string path = (dir / name).string();
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 44100;
  file.format.channels = 1;
  file.format.bitsPerSample = 16;
  std::vector<float> samples(static_cast<size_t>(frames), 0.125f);
  AudioFileWriter writer;
  EXPECT_TRUE(writer.open(path, file) && writer.writeFrames(samples.data(), frames) && writer.close());
  return path;
}

nlohmann::json poolJson(const std::string& project) {
  const test::RunResult result = runVantor({"pool", project, "--json"});
  EXPECT_EQ(result.status, 0) << result.err;
  return nlohmann::json::parse(result.out);
}

TEST(CliPool, ImportPlaceListAndRemoveUnused) {
  TempFolder dir;
  // The project folder is "song"; the files to import lie outside it.
  std::filesystem::create_directory(dir / "song");
  const std::string project = (dir / "song/song.vpr").string();
  ASSERT_EQ(runVantor({"new", project}).status, 0);
  ASSERT_EQ(runVantor({"edit", project, "-e", "track add audio Voice"}).status, 0);
  const std::string a = writeWave(dir, "a.wav", 44100), b = writeWave(dir, "b.wav", 22050);

  // Copied into the project's Audio folder and placed from bar 2: a lasts
  // one second (960 pulses at 120 BPM), so b starts at 1920 + 960.
  test::RunResult result = runVantor({"import-audio", project, a, b, "--copy", "--track", "Voice", "--at", "2.1.1.0"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(test::slurp(dir / "song/Audio/a.wav"), test::slurp(a));
  result = runVantor({"edit", project, "-e", "parts Voice"});
  EXPECT_NE(result.out.find("(start 1920, length 960"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("(start 2880, length 480"), std::string::npos) << result.out;

  // Left where it is: one more file, outside the project folder, unused.
  ASSERT_EQ(runVantor({"import-audio", project, a}).status, 0);
  nlohmann::json pool = poolJson(project);
  ASSERT_EQ(pool["clips"].size(), 3u);
  EXPECT_EQ(pool["clips"][0]["files"][0]["path"], (dir / "song/Audio/a.wav").string());
  EXPECT_EQ(pool["audiofiles"], 3);
  EXPECT_EQ(pool["used"], 2);
  EXPECT_EQ(pool["externFiles"], 1);
  EXPECT_EQ(pool["totalBytes"], 2 * (44100 * 2) + 22050 * 2);
  result = runVantor({"pool", project});
  EXPECT_NE(result.out.find("Audiofiles: 3   Used: 2   Total Size: 215.33 KB   Extern Files: 1"), std::string::npos)
      << result.out;

  result = runVantor({"pool", project, "--remove-unused", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(nlohmann::json::parse(result.out)["removed"], nlohmann::json::array({"a"}));
  EXPECT_EQ(poolJson(project)["clips"].size(), 2u);

  // A region made in the shell, listed and described for transfer: one
  // range of the copied file, so a plain region record.
  ASSERT_EQ(runVantor({"edit", project, "-e", "pool region b Hook 100 2000"}).status, 0);
  result = runVantor({"regions", project, "b", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(nlohmann::json::parse(result.out)["regions"][0]["length"], 2000);
  result = runVantor({"regions", project, "b", "--describe"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "<region id=\"1\">\n<filename>" + (dir / "song/Audio/b.wav").string() +
                            "</filename>\n<start>100</start>\n<end>2100</end>\n</region>\n");
}

TEST(CliPool, RefusalsLeaveTheProjectAndFolderAlone) {
  TempFolder dir;
  const std::string project = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"new", project}).status, 0);
  const std::string before = test::slurp(project);
  const std::string good = writeWave(dir, "good.wav", 100);
  std::ofstream((dir / "bad.wav").string()) << "not audio at all";

  test::RunResult result = runVantor({"import-audio", project, good, (dir / "bad.wav").string(), "--copy"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("Error: Invalid or unsupported file!"), std::string::npos) << result.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "Audio/good.wav"));
  // A track that is not there is found out before anything is copied.
  result = runVantor({"import-audio", project, good, "--copy", "--track", "Nowhere"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("there is no track named \"Nowhere\""), std::string::npos) << result.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "Audio/good.wav"));
  EXPECT_EQ(test::slurp(project), before);

  EXPECT_EQ(runVantor({"import-audio", project, good, "--at", "1920"}).status, 2);  // --at needs --track
  result = runVantor({"regions", project, "nothing"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("the pool has no clip \"nothing\""), std::string::npos);
}

}  // namespace
}  // namespace vantor
