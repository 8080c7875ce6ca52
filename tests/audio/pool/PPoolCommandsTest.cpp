#include <gtest/gtest.h>

#include <filesystem>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PClipReader.h"
#include "audio/pool/PConvertFilesCommand.h"
#include "audio/pool/PMinimizeCommand.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolFile.h"
#include "audio/pool/PPoolMaintenance.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PoolMessages.h"
#include "audio/process/PEditHistory.h"
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

  // Every frame of clip through the clip reader.
  static std::vector<float> readClip(const PAudioClip& clip) {
    PClipReader reader(clip.clusterRef(), clip.materialRef());
    std::vector<float> out(static_cast<size_t>(clip.lengthFrames() * reader.channels()));
    EXPECT_EQ(reader.readFrames(out.data(), clip.lengthFrames()), clip.lengthFrames()) << reader.error();
    return out;
  }

  std::string wave(const std::string& name, int frames) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    const std::string path = dir.file(name);
    SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
    // Each frame its own value, so a frame read from the wrong place shows.
    std::vector<float> samples(static_cast<size_t>(frames));
    for (int i = 0; i < frames; ++i) samples[static_cast<size_t>(i)] = static_cast<float>(i % 4000) / 4096.0f;
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

TEST_F(PoolCommands, ConversionOnImportAndConvertFilesMoveEveryFramePosition) {
  // "Convert if needed" to 24 kHz: 4800 frames at 48 kHz become 2400.
  auto command = makeImportMediumCommand(*pool, {wave("c.wav", 4800)}, {true, true, 24000, 0}, nullptr, messages);
  ASSERT_TRUE(command && command->perform());
  PAudioClip* converted = pool->clips().back().get();
  EXPECT_EQ(converted->lengthFrames(), 2400);
  EXPECT_EQ(converted->getCluster()->sampleRate(), 24000);
  EXPECT_EQ(converted->getCluster()->rateChangeFactor(), 0.5);
  EXPECT_EQ(test::readSndfile(dir.file("song/Audio/c.wav"))->rate, 24000);
  // A file in the project's format is copied as it is.
  EXPECT_FALSE(needsConversion(converted->getCluster()->files()[0], projectConversion(24000, 0)));

  // "Convert Files..." of a clip with a processed piece, a region and an
  // event, to 24 kHz: every position halves; undo brings the bytes back.
  PAudioClip* clip = importOne(wave("d.wav", 9600));
  ASSERT_TRUE(clip->getMaterial()->replaceRange(1000, 2000, {PClipPiece::silence(400)}).has_value());
  clip->addRegion(makeRef<MRegionMarker>("R", 200, 600));
  std::string error;
  ASSERT_TRUE(makeInsertClipCommand(*project, *track, *clip, PInsertAt::kCursor, 0, 100, 1000, std::nullopt, &error)
                  ->perform());
  FRef<MCommand> convert = makeConvertFilesCommand(*project, *pool, {FRef<PAudioClip>::share(clip)},
                                                   projectConversion(24000, 16), "Conform Files", &error);
  performAndCheckUndo(convert);
  EXPECT_EQ(clip->getMaterial()->pieces(),
            (std::vector<PClipPiece>{PClipPiece::ofFile(0, 0, 500), PClipPiece::silence(200),
                                     PClipPiece::ofFile(0, 1500, 3300)}));
  EXPECT_EQ(clip->regions()[0]->getStart(), 100);
  EXPECT_EQ(clip->regions()[0]->getLength(), 300);
  EXPECT_EQ(eventsUsing(*project, clip)[0]->getClipStart(), 50);
  EXPECT_EQ(clip->getCluster()->files()[0].format.bitsPerSample, 16);
  EXPECT_EQ(clip->getCluster()->files()[0].path, dir.file("song/Audio/d.wav"));
  // Nothing left to convert: no command, no message.
  EXPECT_FALSE(makeConvertFilesCommand(*project, *pool, {FRef<PAudioClip>::share(clip)}, projectConversion(24000, 16),
                                       "Conform Files", &error));
  EXPECT_TRUE(error.empty());
}

TEST_F(PoolCommands, ConvertingTheRateClearsTheEditHistoryAndUndoBringsItBack) {
  // The history's ranges are frames at 48 kHz: kept after a change to
  // 24 kHz they would point at the wrong half of the file.
  PAudioClip* clip = importOne(wave("h.wav", 4800));
  auto history = makeRef<PEditHistory>();
  PEditHistoryEntry entry;
  entry.processClass = "PGain";
  entry.parameters = makeRef<FAttributes>();
  entry.start = 1000;
  entry.length = 2000;
  entry.replaced = {PClipPiece::ofFile(0, 1000, 2000)};
  history->append(entry);
  clip->setHistory(history);
  std::string error;
  FRef<MCommand> convert = makeConvertFilesCommand(*project, *pool, {FRef<PAudioClip>::share(clip)},
                                                   projectConversion(24000, 0), "Convert Files", &error);
  performAndCheckUndo(convert);
  EXPECT_EQ(clip->getHistory(), nullptr);
  ASSERT_TRUE(convert->undo());
  EXPECT_EQ(clip->getHistory(), history.get());
  // Only the sample width changes: every frame stays where it was, and so
  // does the history.
  FRef<MCommand> widen = makeConvertFilesCommand(*project, *pool, {FRef<PAudioClip>::share(clip)},
                                                 projectConversion(0, 16), "Convert Files", &error);
  ASSERT_TRUE(widen && widen->perform()) << error;
  EXPECT_EQ(clip->getHistory(), history.get());
}

TEST_F(PoolCommands, MinimizeKeepsWhatEventsAndRegionsUseAndAsksFirst) {
  PAudioClip* clip = importOne(wave("m.wav", 9600));
  clip->addRegion(makeRef<MRegionMarker>("R", 100, 200));
  std::string error;
  ASSERT_TRUE(makeInsertClipCommand(*project, *track, *clip, PInsertAt::kCursor, 0, 5000, 1000, std::nullopt, &error)
                  ->perform());
  ASSERT_TRUE(makeInsertClipCommand(*project, *track, *clip, PInsertAt::kCursor, 0, 5500, 1000, std::nullopt, &error)
                  ->perform());
  clip->setHistory(makeRef<MRegionMarker>());  // any history object
  const std::vector<float> before = readClip(*clip);
  // "No" changes nothing; the question comes even so.
  EXPECT_FALSE(makeMinimizeCommand(*project, *pool, {FRef<PAudioClip>::share(clip)}, messages, &error));
  ASSERT_EQ(messages.questions().size(), 1u);
  EXPECT_EQ(messages.questions()[0], "Minimizing files will clear the entire edit history!!\n\nDo you want to go on?");
  messages.queueAnswer(0);
  FRef<MCommand> minimize = makeMinimizeCommand(*project, *pool, {FRef<PAudioClip>::share(clip)}, messages, &error);
  ASSERT_TRUE(minimize) << error;
  performAndCheckUndo(minimize);
  // Kept: [100, 300) and [5000, 6500): 1700 frames in the new file.
  EXPECT_EQ(clip->getCluster()->files()[0].path, dir.file("song/Audio/m.wav"));
  EXPECT_EQ(test::readSndfile(dir.file("song/Audio/m.wav"))->samples.size(), 1700u);
  EXPECT_EQ(clip->getHistory(), nullptr);
  EXPECT_EQ(clip->lengthFrames(), 9600);
  const std::vector<float> after = readClip(*clip);
  for (size_t f = 0; f < before.size(); ++f) {
    const bool kept = (f >= 100 && f < 300) || (f >= 5000 && f < 6500);
    ASSERT_EQ(after[f], kept ? before[f] : 0.0f) << f;
  }
  // With an empty history the question still comes.
  messages.queueAnswer(1);
  EXPECT_FALSE(makeMinimizeCommand(*project, *pool, {FRef<PAudioClip>::share(clip)}, messages, &error));
  EXPECT_EQ(messages.questions().size(), 3u);
  messages.queueAnswer(0);
  EXPECT_TRUE(askSaveAfterMinimize(messages));
  EXPECT_EQ(messages.questions().back(),
            "You should save the project now!\nFile references in the stored version have become invalid!");
}

TEST_F(PoolCommands, TrashRefusalsAndEmptying) {
  PAudioClip* keep = importOne(wave("keep.wav", 100));
  PAudioClip* gone = importOne(wave("gone.wav", 100));
  ASSERT_TRUE(makeNewVersionCommand(*pool, *keep)->perform());  // "keep 2" shares keep.wav
  auto toTrash = [&](PAudioClip* clip) {
    return FRef<MCommand>(new PMoveClipsCommand(FRef<PAudioPool>::share(pool), {FRef<PAudioClip>::share(clip)},
                                                FRef<GTreeEntry>::share(pool->trash()), "Move to Trash"));
  };
  performAndCheckUndo(toTrash(keep));
  ASSERT_TRUE(toTrash(gone)->perform());
  EXPECT_TRUE(pool->isInTrash(keep) && pool->isInTrash(gone));

  // keep.wav is held by "keep 2" here and by a library beside the project.
  PAudioPool library;
  library.addClip(makeRef<PAudioClip>("lib", keep->clusterRef()));
  PEmptyTrashPlan plan = planEmptyTrash(*project, *pool, {&library}, messages);  // "Cancel"
  ASSERT_EQ(messages.questions().size(), 1u);
  EXPECT_EQ(messages.questions()[0],
            "keep can not be moved to the trash because\nit is used in another pool and it has more than one edit "
            "version!\n\nDo you want to remove it from the pool?");
  messages.clear();
  plan = planEmptyTrash(*project, *pool, {}, messages);
  EXPECT_EQ(messages.questions()[0].find("keep can not be moved to the trash because\nit has more than one edit "
                                         "version!\n"),
            0u);
  ASSERT_TRUE(plan.command);
  EXPECT_EQ(plan.filesToErase, (std::vector<std::string>{dir.file("gone.wav")}));
  performAndCheckUndo(plan.command);
  EXPECT_EQ(pool->indexOf(gone), -1);
  EXPECT_GE(pool->indexOf(keep), 0);  // cancelled: still in the trash
  messages.queueAnswer(0);
  EXPECT_EQ(eraseTrashFiles(plan.filesToErase, messages), 1u);
  EXPECT_EQ(messages.questions().back(), "Warning: You can not undo this!");
  EXPECT_FALSE(fs::exists(dir.file("gone.wav")));
  EXPECT_TRUE(fs::exists(dir.file("keep.wav")));
}

TEST_F(PoolCommands, EmptyTrashKeepsAFileThatAnotherEntryReadsByPath) {
  // The same file imported twice gives two entries of their own; a library
  // read from its pool file has entries of its own for the same file too.
  const std::string path = wave("twice.wav", 100);
  PAudioClip* first = importOne(path);
  importOne(path);
  ASSERT_NE(first->getCluster(), pool->clips().back()->getCluster());
  ASSERT_TRUE(FRef<MCommand>(new PMoveClipsCommand(FRef<PAudioPool>::share(pool), {FRef<PAudioClip>::share(first)},
                                                   FRef<GTreeEntry>::share(pool->trash()), "Move to Trash"))
                  ->perform());
  messages.queueAnswer(0);  // "Remove"
  PEmptyTrashPlan plan = planEmptyTrash(*project, *pool, {}, messages);
  ASSERT_EQ(messages.questions().size(), 1u);
  EXPECT_EQ(messages.questions()[0].find("twice can not be moved to the trash because\nit has more than one edit "
                                         "version!\n"),
            0u);
  EXPECT_TRUE(plan.filesToErase.empty());

  auto libraryCluster = makeRef<AudioCluster>();
  libraryCluster->files() = first->getCluster()->files();
  PAudioPool library;
  library.addClip(makeRef<PAudioClip>("lib", libraryCluster));
  messages.clear();
  messages.queueAnswer(0);
  plan = planEmptyTrash(*project, *pool, {&library}, messages);
  ASSERT_FALSE(messages.questions().empty());
  EXPECT_NE(messages.questions()[0].find("it is used in another pool"), std::string::npos);
  EXPECT_TRUE(plan.filesToErase.empty());
}

TEST_F(PoolCommands, PrepareArchiveRemovesUnusedThenCopiesExternalFiles) {
  PAudioClip* used = importOne(wave("used.wav", 100));
  importOne(wave("unused.wav", 100));
  std::string error;
  ASSERT_TRUE(
      makeInsertClipCommand(*project, *track, *used, PInsertAt::kCursor, 0, 0, -1, std::nullopt, &error)->perform());
  FRef<MCommand> prepare = makePrepareArchiveCommand(*project, *pool, &error);
  performAndCheckUndo(prepare);
  ASSERT_EQ(pool->clips().size(), 1u);
  EXPECT_EQ(used->getCluster()->files()[0].path, dir.file("song/Audio/used.wav"));
  EXPECT_EQ(test::readBytes(dir.file("song/Audio/used.wav")), test::readBytes(dir.file("used.wav")));
  EXPECT_FALSE(fs::exists(dir.file("song/Audio/unused.wav")));  // never copied
  EXPECT_EQ(poolInfo(*project, *pool).externFiles, 0);
  EXPECT_FALSE(makePrepareArchiveCommand(*project, *pool, &error));  // self-contained now
  EXPECT_TRUE(error.empty());
}

TEST_F(PoolCommands, PoolFilesSaveExportAndImport) {
  PAudioClip* vox = importOne(wave("vox.wav", 100));
  importOne(wave("gtr.wav", 50));
  vox->addRegion(makeRef<MRegionMarker>("Hook", 10, 20));
  std::string error;
  const std::string saved = dir.file("all.vpl"), exported = dir.file("vox.vpl");
  ASSERT_TRUE(writePoolFile(*pool, saved, &error)) << error;
  FRef<PAudioPool> library = readPoolFile(saved, &error);
  ASSERT_TRUE(library) << error;
  // Read and written again, the file keeps its bytes.
  ASSERT_TRUE(writePoolFile(*library, dir.file("again.vpl"), &error));
  EXPECT_EQ(test::readBytes(dir.file("again.vpl")), test::readBytes(saved));
  const test::Bytes bytes = test::readBytes(saved);
  ASSERT_GT(bytes.size(), 12u);
  EXPECT_EQ(std::string(bytes.begin() + 8, bytes.begin() + 12), "KPOL");  // the form type

  ASSERT_TRUE(exportPoolFile({FRef<PAudioClip>::share(vox)}, exported, &error));
  FRef<PAudioPool> one = readPoolFile(exported, &error);
  ASSERT_TRUE(one);
  ASSERT_EQ(one->clips().size(), 1u);
  EXPECT_EQ(one->clips()[0]->regions()[0]->getName(), "Hook");

  performAndCheckUndo(makeImportPoolCommand(*pool, *one, exported));
  ASSERT_EQ(pool->clips().size(), 3u);
  EXPECT_EQ(pool->clips()[2]->getPoolID(), 3u);
  GTreeEntry* folder = pool->tree().root()->findFolder("vox");
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->getDocumentPath(), exported);
  EXPECT_EQ(pool->tree().root()->findClipEntry(3), folder);

  // Not a pool file: a project container, an audio file, nothing at all.
  test::writeBytes(dir.file("bad.vpl"), test::Bytes(40, 1));
  EXPECT_FALSE(readPoolFile(dir.file("bad.vpl"), &error));
  EXPECT_EQ(error, "Error: Invalid or unsupported file!");
  EXPECT_FALSE(readPoolFile(dir.file("vox.wav"), &error));
  EXPECT_FALSE(readPoolFile(dir.file("none.vpl"), &error));
  EXPECT_EQ(error, "Error: Can not open file!");
  EXPECT_EQ(poolTitle("drums", true), "Library - drums");
  EXPECT_EQ(poolTitle("song", false), "Pool - song");
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
