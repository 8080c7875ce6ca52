#include <gtest/gtest.h>

#include <filesystem>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PoolMessages.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

// A project (120 BPM, 4/4) with an audio track and a pool whose working
// directory is a fresh folder, and float WAVE files at 48 kHz written by
// libsndfile.
class PoolCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeAudio();
    root = MProject::createNew();
    ASSERT_TRUE(root);
    project = root->getProject();
    pool = PAudioPool::ensurePool(*project);
    pool->setWorkingDirectory(dir.file("song"));
    fs::create_directories(dir.file("song"));
    FRef<MTrackEvent> made = MProject::createTrack("Audio", "Voice");
    track = made.get();
    ASSERT_TRUE(project->addTrack(std::move(made)));
  }

  std::string wave(const std::string& name, int frames) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    const std::string path = dir.file(name);
    SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
    std::vector<float> samples(static_cast<size_t>(frames), 0.25f);
    sf_writef_float(sf, samples.data(), frames);
    sf_close(sf);
    return path;
  }

  test::Bytes projectBytes() const { return test::archiveBytes(root.get()); }

  // Performs command, then checks that undo restores the project's bytes
  // exactly and that redo gives the performed bytes again.
  void performAndCheckUndo(const FRef<MCommand>& command) {
    ASSERT_TRUE(command);
    const auto before = projectBytes();
    ASSERT_TRUE(command->perform()) << command->failure();
    const auto after = projectBytes();
    EXPECT_NE(after, before);
    ASSERT_TRUE(command->undo());
    EXPECT_EQ(projectBytes(), before);
    ASSERT_TRUE(command->redo());
    EXPECT_EQ(projectBytes(), after);
  }

  PAudioClip* importOne(const std::string& path, bool copy = false) {
    auto command = makeImportMediumCommand(*pool, {path}, {copy, false, 0, 0}, nullptr, messages);
    EXPECT_TRUE(command && command->perform());
    return pool->clips().empty() ? nullptr : pool->clips().back().get();
  }

  test::TempDir dir;
  FCapturedMessages messages;
  FRef<MRoot> root;
  MProject* project = nullptr;
  PAudioPool* pool = nullptr;
  MTrackEvent* track = nullptr;
};

TEST_F(PoolCommands, ImportCopiesIntoTheAudioFolderAndUndoesExactly) {
  const std::string a = wave("a.wav", 4800), b = wave("b.wav", 96000);
  auto command = makeImportMediumCommand(
      *pool, {a, b}, importOptionsFor(PImportAction::kCopyToProjectFolder, messages, 2), nullptr, messages);
  performAndCheckUndo(command);
  ASSERT_EQ(pool->clips().size(), 2u);
  const PAudioClip& clip = *pool->clips()[0];
  EXPECT_EQ(clip.getName(), "a");
  EXPECT_EQ(clip.lengthFrames(), 4800);
  EXPECT_EQ(clip.getCluster()->files()[0].path, dir.file("song/Audio/a.wav"));
  EXPECT_EQ(test::readBytes(dir.file("song/Audio/a.wav")), test::readBytes(a));
  EXPECT_EQ(clip.getCluster()->attributes().contains(AudioClusterKey::kInfoString), true);
  // A second import of the same file gets a free name beside the first.
  PAudioClip* again = importOne(a, true);
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->getCluster()->files()[0].path, dir.file("song/Audio/a-1.wav"));
}

TEST_F(PoolCommands, AFailedImportLeavesPoolAndFolderUnchanged) {
  const std::string good = wave("good.wav", 100);
  test::writeBytes(dir.file("bad.wav"), test::Bytes(100, 7));
  const auto before = projectBytes();
  auto command = makeImportMediumCommand(*pool, {good, dir.file("bad.wav")}, {true, false, 0, 0}, nullptr, messages);
  EXPECT_FALSE(command);
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].text, std::string(kInvalidAudioFileMessage) + "\n" + dir.file("bad.wav"));
  EXPECT_EQ(projectBytes(), before);
  EXPECT_TRUE(fs::is_empty(dir.file("song/Audio")));  // the copy of good.wav was taken back
  // The dialog's choice asks, in the system's words.
  messages.queueAnswer(0);
  messages.queueAnswer(1);
  const PImportOptions asked = importOptionsFor(PImportAction::kOpenOptionsDialog, messages, 1);
  EXPECT_TRUE(asked.copy);
  EXPECT_FALSE(asked.convert);
  EXPECT_EQ(messages.questions(), (std::vector<std::string>{"Copy File to Working Directory", "Convert if needed"}));
  EXPECT_EQ(importActionFromName("Copy and Convert"), PImportAction::kCopyAndConvert);
  EXPECT_FALSE(importActionFromName("copy and convert"));
}

TEST_F(PoolCommands, InsertPlacesAPartAtCursorOrOriginWithTheTempoLength) {
  PAudioClip* clip = importOne(wave("v.wav", 96000));
  ASSERT_NE(clip, nullptr);
  clip->getCluster()->setOriginTime(3840);
  std::string error;
  // 96000 frames at 48 kHz last 2 s: 4 beats at 120 BPM, 1920 pulses.
  performAndCheckUndo(
      makeInsertClipCommand(*project, *track, *clip, PInsertAt::kCursor, 480, 0, -1, std::nullopt, &error));
  performAndCheckUndo(
      makeInsertClipCommand(*project, *track, *clip, PInsertAt::kOrigin, 0, 48000, 24000, std::nullopt, &error));
  std::vector<MAudioEvent*> users = eventsUsing(*project, clip);
  ASSERT_EQ(users.size(), 2u);
  std::vector<double> partStarts;
  project->forEachEvent([&](MEvent& e) {
    if (dynamic_cast<MAudioPartEvent*>(&e) != nullptr) partStarts.push_back(e.getStart());
  });
  EXPECT_EQ(partStarts, (std::vector<double>{480, 3840}));  // at the cursor, at the origin
  EXPECT_DOUBLE_EQ(users[0]->getLength(), 1920.0);
  EXPECT_EQ(users[1]->getClipStart(), 48000);
  EXPECT_DOUBLE_EQ(users[1]->getLength(), 480.0);  // 0.5 s
  EXPECT_EQ(selectInProject(*project, *clip), 2u);
  EXPECT_TRUE(users[0]->hasFlag(MEventFlag::kSelected));
  // A range beyond the clip is refused before anything is made.
  EXPECT_FALSE(
      makeInsertClipCommand(*project, *track, *clip, PInsertAt::kCursor, 0, 90000, 10000, std::nullopt, &error));
  // A MIDI track refuses audio parts when the command runs.
  FRef<MTrackEvent> midi = MProject::createTrack("MIDI", "Keys");
  MTrackEvent* keys = midi.get();
  ASSERT_TRUE(project->addTrack(std::move(midi)));
  auto refused = makeInsertClipCommand(*project, *keys, *clip, PInsertAt::kCursor, 0, 0, -1, std::nullopt, &error);
  const auto before = projectBytes();
  EXPECT_FALSE(refused->perform());
  EXPECT_EQ(projectBytes(), before);
}

TEST_F(PoolCommands, RemovingUsedAndUnusedClips) {
  PAudioClip* used = importOne(wave("used.wav", 4800));
  PAudioClip* unused = importOne(wave("unused.wav", 4800));
  std::string error;
  ASSERT_TRUE(
      makeInsertClipCommand(*project, *track, *used, PInsertAt::kCursor, 0, 0, -1, std::nullopt, &error)->perform());
  auto removeUnused = makeRemoveUnusedCommand(*project, *pool);
  performAndCheckUndo(removeUnused);
  EXPECT_EQ(pool->indexOf(unused), -1);
  EXPECT_EQ(removeUnused->description(), "Remove Unused Media");
  EXPECT_FALSE(makeRemoveUnusedCommand(*project, *pool));  // nothing left unused

  // A used clip asks first; "Cancel" leaves everything.
  EXPECT_FALSE(makeRemoveClipsCommand(*project, *pool, {FRef<PAudioClip>::share(used)}, "Remove", messages));
  ASSERT_EQ(messages.questions().size(), 1u);
  EXPECT_EQ(messages.questions()[0], "used is used!\nDo you want to remove all occurrences from the project?");
  messages.queueAnswer(0);
  auto remove = makeRemoveClipsCommand(*project, *pool, {FRef<PAudioClip>::share(used)}, "Remove", messages);
  performAndCheckUndo(remove);
  EXPECT_TRUE(pool->clips().empty());
  EXPECT_TRUE(eventsUsing(*project, used).empty());
}

TEST_F(PoolCommands, NewVersionRegionsFoldersAndRecordFolder) {
  PAudioClip* clip = importOne(wave("vox.wav", 4800));
  auto folder = FRef<PCreateFolderCommand>(new PCreateFolderCommand(FRef<GTreeEntry>::share(pool->tree().root()),
                                                                    freeFolderName(*pool->tree().root(), "Takes")));
  performAndCheckUndo(folder);
  EXPECT_EQ(freeFolderName(*pool->tree().root(), "Takes"), "Takes 2");
  performAndCheckUndo(FRef<MCommand>(
      new PSetRecordFolderCommand(FRef<PAudioPool>::share(pool), FRef<GTreeEntry>::share(folder->folder()))));
  EXPECT_EQ(pool->getRecordFolder(), folder->folder());

  performAndCheckUndo(makeCreateRegionsCommand(*clip, {makeRef<MRegionMarker>("Hook", 100, 200)}));
  EXPECT_FALSE(makeCreateRegionsCommand(*clip, {makeRef<MRegionMarker>("Past", 4700, 101)}));
  performAndCheckUndo(makeNewVersionCommand(*pool, *clip));
  PAudioClip* version = pool->findClip("vox 2");
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version->getCluster(), clip->getCluster());
  EXPECT_NE(version->getMaterial(), clip->getMaterial());
  ASSERT_EQ(version->regions().size(), 1u);
  EXPECT_NE(version->regions()[0].get(), clip->regions()[0].get());
}

TEST_F(PoolCommands, TheInformationLine) {
  importOne(wave("in.wav", 1000), true);  // 4000 bytes of float samples, in the project folder
  importOne(wave("out.wav", 512));        // 2048 bytes, outside it
  std::string error;
  ASSERT_TRUE(
      makeInsertClipCommand(*project, *track, *pool->clips()[0], PInsertAt::kCursor, 0, 0, -1, std::nullopt, &error)
          ->perform());
  // 6048 bytes / 1024 = 5.90625 KB.
  EXPECT_EQ(formatPoolInfo(poolInfo(*project, *pool)),
            "Audiofiles: 2   Used: 1   Total Size: 5.91 KB   Extern Files: 1");
  EXPECT_EQ(formatSize(1023), "1023 Bytes");
  EXPECT_EQ(formatSize(3 * 1024 * 1024), "3.00 MB");
}

}  // namespace
}  // namespace vantor
