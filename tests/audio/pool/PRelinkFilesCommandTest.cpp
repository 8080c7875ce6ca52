// "Find Missing Files": the resolver's finds pointed at by the pool, with
// the checks a replacement file must pass.

#include <gtest/gtest.h>

#include <filesystem>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PMissingFileResolver.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PRelinkFilesCommand.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

class RelinkFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeAudio();
    root = MProject::createNew();
    ASSERT_TRUE(root);
    pool = PAudioPool::ensurePool(*root->getProject());
    pool->setWorkingDirectory(dir.file("song"));
    fs::create_directories(dir.file("old"));
    fs::create_directories(dir.file("moved"));
  }

  // A 16-bit WAVE file at path.
  static void write(const std::string& path, int channels, float rate, int frames) {
    ASSERT_TRUE(test::writeOurs(path, test::makeFile("WAVE", rate, channels, 16, SampleType::kInteger),
                                std::vector<float>(static_cast<size_t>(frames * channels), 0.25f)));
  }

  // A clip of a mono 48 kHz file of 1000 frames written to old/name and
  // then moved away, so the pool misses it.
  PAudioClip* missingClip(const std::string& name) {
    const std::string path = dir.file("old/" + name);
    write(path, 1, 48000, 1000);
    std::string error;
    FRef<PAudioClip> clip = makeClipOfFile(path, &error);
    EXPECT_TRUE(clip) << error;
    PAddClipsCommand add(FRef<PAudioPool>::share(pool), {clip}, nullptr, "Import Medium");
    EXPECT_TRUE(add.perform());
    fs::remove(path);
    return clip.get();
  }

  test::Bytes projectBytes() const { return test::archiveBytes(root.get()); }

  test::TempDir dir;
  FRef<MRoot> root;
  PAudioPool* pool = nullptr;
  FCapturedMessages messages;
};

TEST_F(RelinkFiles, SearchedFilesAreRelinkedAndUndoGivesBackTheBytes) {
  PAudioClip* a = missingClip("a.wav");
  PAudioClip* b = missingClip("b.wav");
  ASSERT_EQ(missingFilePaths(*pool), (std::vector<std::string>{dir.file("old/a.wav"), dir.file("old/b.wav")}));
  // The new a.wav is a 24-bit AIFF file of more frames: another container
  // and width are fine. b.wav lies one folder deeper.
  ASSERT_TRUE(test::writeOurs(dir.file("moved/a.wav"), test::makeFile("AIFF", 48000, 1, 24, SampleType::kInteger),
                              std::vector<float>(1200, 0.5f)));
  fs::create_directories(dir.file("moved/deeper"));
  write(dir.file("moved/deeper/b.wav"), 1, 48000, 1000);

  PMissingFileResolver resolver(missingFilePaths(*pool), checkAudioFile, messages);
  EXPECT_EQ(resolver.search(dir.file("moved"), {}), 2);
  std::vector<PRelinkRefusal> refused;
  FRef<MCommand> command = makeRelinkFilesCommand(*pool, resolver.resolved(), &refused);
  ASSERT_TRUE(command);
  EXPECT_TRUE(refused.empty());
  EXPECT_EQ(command->description(), "Find Missing Files");

  const test::Bytes before = projectBytes();
  ASSERT_TRUE(command->perform()) << command->failure();
  const test::Bytes after = projectBytes();
  EXPECT_EQ(a->getCluster()->files()[0].path, dir.file("moved/a.wav"));
  EXPECT_EQ(a->getCluster()->files()[0].typeName, "AIFF");
  EXPECT_EQ(a->getCluster()->files()[0].lengthFrames, 1200);
  EXPECT_EQ(b->getCluster()->files()[0].path, dir.file("moved/deeper/b.wav"));
  EXPECT_TRUE(missingFilePaths(*pool).empty());
  ASSERT_TRUE(command->undo());
  EXPECT_EQ(projectBytes(), before);
  EXPECT_TRUE(hasMissingFile(*a));
  ASSERT_TRUE(command->redo());
  EXPECT_EQ(projectBytes(), after);
}

TEST_F(RelinkFiles, AFileThatCannotStandForTheMissingOneStaysMissing) {
  const std::string gone = dir.file("old/a.wav");
  struct Case {
    const char* what;
    int channels;
    float rate;
    int frames;
    std::string reason;
  };
  const Case cases[] = {
      {"stereo", 2, 48000, 1000, "it has 2 channels, not 1 channel"},
      {"another rate", 1, 44100, 1000, "its sample rate is 44100 Hz, not 48000 Hz"},
      {"too short", 1, 48000, 999, "it holds 999 frames, the clip uses 1000"},
  };
  PAudioClip* clip = missingClip("a.wav");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string found = dir.file("moved/a.wav");
    write(found, c.channels, c.rate, c.frames);
    const test::Bytes before = projectBytes();
    std::vector<PRelinkRefusal> refused;
    EXPECT_FALSE(makeRelinkFilesCommand(*pool, {{gone, found}}, &refused));
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_EQ(refused[0].missing, gone);
    EXPECT_EQ(refused[0].reason, "\"" + found + "\" cannot replace \"" + gone + "\": " + c.reason);
    EXPECT_EQ(projectBytes(), before);
    EXPECT_TRUE(hasMissingFile(*clip));
  }

  // Not audio at all: the reader's own words.
  test::writeBytes(dir.file("moved/a.wav"), test::Bytes(64, 7));
  std::vector<PRelinkRefusal> refused;
  EXPECT_FALSE(makeRelinkFilesCommand(*pool, {{gone, dir.file("moved/a.wav")}}, &refused));
  ASSERT_EQ(refused.size(), 1u);
  EXPECT_EQ(refused[0].reason, "\"" + dir.file("moved/a.wav") + "\": Error: Invalid or unsupported file!");
}

TEST_F(RelinkFiles, OnlyTheFramesTheMaterialUsesMustBeThere) {
  PAudioClip* clip = missingClip("a.wav");
  // The clip shows frames 100 to 399 of the file: 400 frames must be there.
  clip->setMaterial(makeRef<PClipMaterial>(std::vector<PClipPiece>{PClipPiece::ofFile(0, 100, 300)}));
  const std::string gone = dir.file("old/a.wav");
  write(dir.file("moved/short.wav"), 1, 48000, 399);
  write(dir.file("moved/enough.wav"), 1, 48000, 400);
  std::vector<PRelinkRefusal> refused;
  EXPECT_FALSE(makeRelinkFilesCommand(*pool, {{gone, dir.file("moved/short.wav")}}, &refused));
  ASSERT_EQ(refused.size(), 1u);
  EXPECT_NE(refused[0].reason.find("it holds 399 frames, the clip uses 400"), std::string::npos);
  FRef<MCommand> command = makeRelinkFilesCommand(*pool, {{gone, dir.file("moved/enough.wav")}}, &refused);
  ASSERT_TRUE(command);
  EXPECT_TRUE(refused.empty());
  ASSERT_TRUE(command->perform());
  EXPECT_FALSE(hasMissingFile(*clip));
}

TEST_F(RelinkFiles, ClipsThatShareAPathAreAllRelinked) {
  // Two imports of one file: two clusters remembering the same path.
  PAudioClip* a = missingClip("a.wav");
  const std::string gone = dir.file("old/a.wav");
  write(gone, 1, 48000, 1000);
  std::string error;
  FRef<PAudioClip> twin = makeClipOfFile(gone, &error);
  ASSERT_TRUE(twin) << error;
  PAddClipsCommand add(FRef<PAudioPool>::share(pool), {twin}, nullptr, "Import Medium");
  ASSERT_TRUE(add.perform());
  fs::rename(gone, dir.file("moved/a.wav"));
  EXPECT_EQ(missingFilePaths(*pool), std::vector<std::string>{gone});
  std::vector<PRelinkRefusal> refused;
  FRef<MCommand> command = makeRelinkFilesCommand(*pool, {{gone, dir.file("moved/a.wav")}}, &refused);
  ASSERT_TRUE(command);
  ASSERT_TRUE(command->perform());
  EXPECT_EQ(a->getCluster()->files()[0].path, dir.file("moved/a.wav"));
  EXPECT_EQ(twin->getCluster()->files()[0].path, dir.file("moved/a.wav"));
}

}  // namespace
}  // namespace vantor
