// "Extract Audio from Videofile" through the ffmpeg program, with a small
// video that ffmpeg makes for the test (skipped where ffmpeg is missing).

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/PVideoAudioExtractor.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

std::string searchPath() {
  const char* path = std::getenv("PATH");
  return path == nullptr ? "" : path;
}

// One second of 10 frames of test picture and a 441 Hz sine at 44.1 kHz,
// 0.5 on the left and 0.25 on the right, as 16-bit PCM in an AVI file; ""
// when ffmpeg is not there.
std::string makeVideo(const test::TempDir& dir) {
  if (!findProgram("ffmpeg", searchPath())) return "";
  const std::string path = dir.file("clip.avi");
  const bool made = test::runTool(
      "ffmpeg -nostdin -y -f lavfi -i testsrc=size=32x32:rate=10 -f lavfi -i "
      "'aevalsrc=0.5*sin(2*PI*441*t)|0.25*sin(2*PI*441*t):s=44100' -t 1 -c:v mpeg4 -c:a pcm_s16le '" +
      path + "'");
  return made ? path : "";
}

TEST(VideoAudioExtractor, FindsProgramsOnlyInTheFoldersOfThePath) {
  test::TempDir dir;
  fs::create_directories(dir.file("bin"));
  test::writeBytes(dir.file("bin/tool"), {'#', '!'});
  EXPECT_FALSE(findProgram("tool", dir.file("bin")));  // not executable
  fs::permissions(dir.file("bin/tool"), fs::perms::owner_exec, fs::perm_options::add);
  EXPECT_EQ(findProgram("tool", "/nonexistent::" + dir.file("bin")), dir.file("bin/tool"));
  EXPECT_FALSE(findProgram("tool", ""));
  EXPECT_FALSE(findProgram("bin", dir.file("")));  // a folder is no program
}

TEST(VideoAudioExtractor, TheFirstAudioStreamBecomesAFloatWaveClip) {
  initializeAudio();
  test::TempDir dir;
  const std::string video = makeVideo(dir);
  if (video.empty()) GTEST_SKIP() << "ffmpeg is not installed";
  FRef<MRoot> root = MProject::createNew();
  PAudioPool& pool = *PAudioPool::ensurePool(*root->getProject());
  pool.setWorkingDirectory(dir.file("song"));
  FCapturedMessages messages;

  const auto before = test::archiveBytes(root.get());
  FRef<MCommand> command = makeExtractAudioCommand(pool, {video}, searchPath(), messages);
  ASSERT_TRUE(command);
  EXPECT_EQ(command->description(), "Extract Audio from Videofile");
  ASSERT_TRUE(command->perform());
  ASSERT_EQ(pool.clips().size(), 1u);
  const PAudioClip& clip = *pool.clips()[0];
  EXPECT_EQ(clip.getName(), "clip");
  const AudioFile& file = clip.getCluster()->files()[0];
  EXPECT_EQ(file.path, dir.file("song/Audio/clip.wav"));
  EXPECT_EQ(file.format.channels, 2);
  EXPECT_EQ(file.format.bitsPerSample, 32);
  EXPECT_EQ(file.format.sampleType, SampleType::kFloat);
  EXPECT_EQ(file.lengthFrames, 44100);
  // Frame 25 of 441 Hz at 44.1 kHz is a quarter period in, the peak of
  // both sides (within a 16-bit step).
  const auto decoded = test::readOurs(file.path);
  ASSERT_TRUE(decoded);
  EXPECT_NEAR(decoded->samples[50], 0.5f, 1e-4);
  EXPECT_NEAR(decoded->samples[51], 0.25f, 1e-4);
  ASSERT_TRUE(command->undo());
  EXPECT_EQ(test::archiveBytes(root.get()), before);
  EXPECT_TRUE(fs::exists(file.path));  // the user's material stays

  // A second extraction gets a free name.
  command = makeExtractAudioCommand(pool, {video}, searchPath(), messages);
  ASSERT_TRUE(command && command->perform());
  EXPECT_EQ(pool.clips().back()->getCluster()->files()[0].path, dir.file("song/Audio/clip-1.wav"));
}

TEST(VideoAudioExtractor, AFileWhereTheExtractionWouldWriteIsLeftAlone) {
  initializeAudio();
  test::TempDir dir;
  const std::string video = makeVideo(dir);
  if (video.empty()) GTEST_SKIP() << "ffmpeg is not installed";
  FRef<MRoot> root = MProject::createNew();
  PAudioPool& pool = *PAudioPool::ensurePool(*root->getProject());
  pool.setWorkingDirectory(dir.file("song"));
  FCapturedMessages messages;
  fs::create_directories(dir.file("song/Audio"));
  test::writeBytes(dir.file("song/Audio/clip.wav.part"), {'m', 'i', 'n', 'e'});
  FRef<MCommand> command = makeExtractAudioCommand(pool, {video}, searchPath(), messages);
  ASSERT_TRUE(command && command->perform());
  EXPECT_EQ(pool.clips().back()->getCluster()->files()[0].path, dir.file("song/Audio/clip.wav"));
  EXPECT_EQ(test::readBytes(dir.file("song/Audio/clip.wav.part")), (test::Bytes{'m', 'i', 'n', 'e'}));
}

TEST(VideoAudioExtractor, RefusalsLeaveNoFileAndNoCommand) {
  initializeAudio();
  test::TempDir dir;
  FRef<MRoot> root = MProject::createNew();
  PAudioPool& pool = *PAudioPool::ensurePool(*root->getProject());
  pool.setWorkingDirectory(dir.file("song"));
  FCapturedMessages messages;

  // Without ffmpeg on the path: the user is told what to install.
  EXPECT_FALSE(makeExtractAudioCommand(pool, {dir.file("any.avi")}, dir.file("nothing"), messages));
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].text,
            "Extract Audio from Videofile needs the program ffmpeg: install the package \"ffmpeg\"");
  if (!findProgram("ffmpeg", searchPath())) GTEST_SKIP() << "ffmpeg is not installed";

  // A file that is not there; a file that is no video.
  EXPECT_FALSE(makeExtractAudioCommand(pool, {dir.file("gone.avi")}, searchPath(), messages));
  EXPECT_EQ(messages.messages().back().text, "Error: Can not open file!\n" + dir.file("gone.avi"));
  test::writeBytes(dir.file("text.avi"), test::Bytes(100, 'x'));
  EXPECT_FALSE(makeExtractAudioCommand(pool, {dir.file("text.avi")}, searchPath(), messages));
  EXPECT_EQ(
      messages.messages().back().text.rfind("no audio could be extracted from \"" + dir.file("text.avi") + "\"", 0), 0u)
      << messages.messages().back().text;
  EXPECT_TRUE(fs::is_empty(dir.file("song/Audio")));
  EXPECT_TRUE(pool.clips().empty());
}

}  // namespace
}  // namespace vantor
