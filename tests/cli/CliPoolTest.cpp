// `vantor import-audio`, `vantor pool` and `vantor regions` on a project
// made by `vantor new`, with WAVE files written by our writer.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileWriter.h"

namespace vantor {
namespace {

using test::runVantor;
using test::TempFolder;

// 44.1 kHz 16-bit (mono unless told): frames frames, 2 bytes a sample.
std::string writeWave(const TempFolder& dir, const std::string& name, int frames, int channels = 1) {
  const std::string path = (dir / name).string();
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 44100;
  file.format.channels = static_cast<int16_t>(channels);
  file.format.bitsPerSample = 16;
  std::vector<float> samples(static_cast<size_t>(frames * channels), 0.125f);
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
  // `info` shows the information line: 88200 + 44100 bytes = 129.20 KB.
  result = runVantor({"info", project});
  EXPECT_NE(result.out.find("Pool: Audiofiles: 2   Used: 2   Total Size: 129.20 KB   Extern Files: 0\n"),
            std::string::npos)
      << result.out;

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

// A project with the clips a and b of old/a.wav and old/b.wav (1000 mono
// frames each), both files then taken away.
std::string projectMissingTwo(const TempFolder& dir) {
  const std::string project = (dir / "song.vpr").string();
  EXPECT_EQ(runVantor({"new", project}).status, 0);
  const std::string a = writeWave(dir, "old/a.wav", 1000), b = writeWave(dir, "old/b.wav", 1000);
  EXPECT_EQ(runVantor({"import-audio", project, a, b}).status, 0);
  std::filesystem::remove(a);
  std::filesystem::remove(b);
  return project;
}

TEST(CliPool, ResolveRelinksWhatTheSearchFindsAndTellsWhatStaysMissing) {
  TempFolder dir;
  const std::string project = projectMissingTwo(dir);
  const std::string oldA = (dir / "old/a.wav").string(), oldB = (dir / "old/b.wav").string();
  // a.wav turns up deeper down; the b.wav found is stereo, so it cannot
  // stand for the mono one.
  const std::string newA = writeWave(dir, "moved/sub/a.wav", 1000);
  const std::string stereoB = writeWave(dir, "moved/b.wav", 1000, 2);

  test::RunResult result = runVantor({"pool", project, "--resolve", (dir / "moved").string(), "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("1 file(s) still missing"), std::string::npos) << result.err;
  nlohmann::json out = nlohmann::json::parse(result.out);
  EXPECT_EQ(out["resolved"], nlohmann::json::parse(R"([{"missing":")" + oldA + R"(","path":")" + newA + R"("}])"));
  ASSERT_EQ(out["refused"].size(), 1u);
  EXPECT_EQ(out["refused"][0]["reason"],
            "\"" + stereoB + "\" cannot replace \"" + oldB + "\": it has 2 channels, not 1 channel");
  EXPECT_EQ(out["missing"], nlohmann::json::array({oldB}));
  EXPECT_EQ(out["allResolved"], false);
  // What was relinked is saved.
  EXPECT_EQ(poolJson(project)["clips"][0]["files"][0]["path"], newA);

  // A locate that cannot be taken changes nothing.
  const std::string saved = test::slurp(project);
  result = runVantor({"pool", project, "--locate", "b=" + (dir / "nowhere.wav").string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("Error: Can not open file!"), std::string::npos) << result.err;
  result = runVantor({"pool", project, "--locate", "nothing=" + newA});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("\"nothing\" is neither a missing file nor a clip of the pool"), std::string::npos);
  EXPECT_EQ(runVantor({"pool", project, "--resolve", "x", "--filter", "no-equals"}).status, 2);
  EXPECT_EQ(runVantor({"pool", project, "--resolve", "x", "--filter", "a=b:1:2:3"}).status, 2);
  EXPECT_EQ(runVantor({"pool", project, "--locate", "b"}).status, 2);
  EXPECT_EQ(test::slurp(project), saved);

  // The clip named by its name; the last file found, so all are resolved.
  const std::string monoB = writeWave(dir, "elsewhere/b.wav", 1200);
  result = runVantor({"pool", project, "--locate", "b=" + monoB});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, oldB + " -> " + monoB + "\nall files resolved!\n");
  result = runVantor({"pool", project, "--resolve", (dir / "moved").string()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "all files resolved!\n");
}

TEST(CliPool, ShellResolveAndLocateAreUndoneToTheSavedBytes) {
  TempFolder dir;
  const std::string project = projectMissingTwo(dir);
  const std::string saved = test::slurp(project);
  writeWave(dir, "moved/a.wav", 1000);
  const std::string b = writeWave(dir, "moved/other/b-take.wav", 1000);
  // A filter row translates the old folder into the new one: a.wav is a
  // candidate at moved/a.wav.
  const std::string filter = (dir / "old").string() + "=" + (dir / "moved").string();
  test::RunResult result =
      runVantor({"edit", project, "-e", "pool resolve " + (dir / "nowhere").string() + " " + filter});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("Error: Can not open folder!"), std::string::npos) << result.err;
  result = runVantor({"edit", project, "-e", "pool resolve " + (dir / "moved").string() + " " + filter, "-e",
                      "pool locate b " + b, "-e", "undo", "-e", "undo"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("still missing: " + (dir / "old/b.wav").string()), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("all files resolved!"), std::string::npos) << result.out;
  EXPECT_EQ(test::slurp(project), saved);
  result = runVantor({"edit", project, "-e", "pool locate 2 " + b});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(poolJson(project)["clips"][1]["files"][0]["path"], b);
}

TEST(CliPool, ConvertFilesWritesNewFilesInTheAudioFolder) {
  TempFolder dir;
  const std::string project = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"new", project}).status, 0);
  ASSERT_EQ(runVantor({"import-audio", project, writeWave(dir, "a.wav", 44100)}).status, 0);
  test::RunResult result =
      runVantor({"pool", project, "--convert", "a", "--format", "aiff", "--bits", "24", "--rate", "48000"});
  ASSERT_EQ(result.status, 0) << result.err;
  const nlohmann::json file = poolJson(project)["clips"][0]["files"][0];
  EXPECT_EQ(file["type"], "AIFF");
  EXPECT_EQ(file["frames"], 48000);  // one second at the new rate
  EXPECT_EQ(file["path"].get<std::string>().rfind((dir / "Audio/").string(), 0), 0u) << file;
  // Nothing left to do; a clip that is not there; a format not offered.
  result = runVantor({"pool", project, "--convert", "a", "--format", "aiff", "--bits", "24", "--rate", "48000"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "every file is in that format already\n");
  result = runVantor({"pool", project, "--convert", "b"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("the pool has no clip \"b\""), std::string::npos);
  EXPECT_EQ(runVantor({"pool", project, "--convert", "a", "--format", "mp3"}).status, 2);
  EXPECT_EQ(runVantor({"pool", project, "--bits", "24"}).status, 2);
}

TEST(CliPool, ExtractVideoEntersTheSoundAsAFloatWaveClip) {
  TempFolder dir;
  const std::string project = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"new", project}).status, 0);
  EXPECT_EQ(runVantor({"import-audio", project, "x.avi", "--extract-video", "--copy"}).status, 2);
  const std::string video = (dir / "take.mkv").string();
  if (std::system(("ffmpeg -nostdin -loglevel error -f lavfi -i testsrc=size=32x32:rate=5 -f lavfi -i "
                   "sine=sample_rate=48000 -t 0.5 -c:v mpeg4 -c:a pcm_s16le '" +
                   video + "'")
                      .c_str()) != 0) {
    GTEST_SKIP() << "ffmpeg is not installed";
  }
  test::RunResult result = runVantor({"import-audio", project, video, "--extract-video", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const nlohmann::json clip = nlohmann::json::parse(result.out)["clips"][0];
  EXPECT_EQ(clip["name"], "take");
  EXPECT_EQ(clip["frames"], 24000);  // half a second at 48 kHz
  EXPECT_EQ(clip["files"][0]["path"], (dir / "Audio/take.wav").string());
  result = runVantor({"import-audio", project, (dir / "song.vpr").string(), "--extract-video"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("no audio could be extracted from"), std::string::npos) << result.err;
  EXPECT_EQ(poolJson(project)["clips"].size(), 1u);
}

}  // namespace
}  // namespace vantor
