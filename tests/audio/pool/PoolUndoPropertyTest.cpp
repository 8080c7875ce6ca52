// Long random sequences of pool commands on a project: undoing them all
// gives back the project's bytes before the first, redoing them all the
// bytes after the last.

#include <gtest/gtest.h>

#include <random>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolMaintenance.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PRelinkFilesCommand.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

TEST(PoolUndoProperty, RandomSequencesUndoToTheOriginalBytes) {
  initializeAudio();
  test::TempDir dir;
  std::vector<std::string> waves;
  for (int i = 0; i < 3; ++i) {
    waves.push_back(dir.file("w" + std::to_string(i) + ".wav"));
    ASSERT_TRUE(test::writeOurs(waves.back(), test::makeFile("WAVE", 48000, 1, 16, SampleType::kInteger),
                                std::vector<float>(static_cast<size_t>(1000 * (i + 1)), 0.5f)));
  }
  FCapturedMessages messages;
  std::mt19937 rng(11);
  auto pick = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); };
  for (int round = 0; round < 20; ++round) {
    FRef<MRoot> root = MProject::createNew();
    MProject& project = *root->getProject();
    PAudioPool& pool = *PAudioPool::ensurePool(project);
    FRef<MTrackEvent> track = MProject::createTrack("Audio", "A");
    MTrackEvent* audio = track.get();
    ASSERT_TRUE(project.addTrack(std::move(track)));
    const auto initial = test::archiveBytes(root.get());
    std::vector<FRef<MCommand>> done;
    for (int step = 0; step < 25; ++step) {
      FRef<MCommand> command;
      PAudioClip* clip = pool.clips().empty() ? nullptr : pool.clips()[pick(pool.clips().size())].get();
      std::string error;
      switch (clip == nullptr ? 0 : pick(9)) {
        case 0:
          command = makeImportMediumCommand(pool, {waves[pick(waves.size())]}, {}, nullptr, messages);
          break;
        case 1:
          command = makeNewVersionCommand(pool, *clip);
          break;
        case 2:
          command = makeCreateRegionsCommand(*clip, {makeRef<MRegionMarker>("R", 10, 100)});
          break;
        case 3:
          command = makeInsertClipCommand(project, *audio, *clip, PInsertAt::kCursor, 480.0 * pick(8), 0, -1,
                                          std::nullopt, &error);
          break;
        case 4:
          command =
              FRef<MCommand>(new PMoveClipsCommand(FRef<PAudioPool>::share(&pool), {FRef<PAudioClip>::share(clip)},
                                                   FRef<GTreeEntry>::share(pool.trash()), "Move to Trash"));
          break;
        case 5:
          command = makeRemoveUnusedCommand(project, pool);
          break;
        case 6:
          command = FRef<MCommand>(new PCreateFolderCommand(FRef<GTreeEntry>::share(pool.tree().root()),
                                                            freeFolderName(*pool.tree().root(), "F")));
          break;
        case 7: {
          // Relinked to another of the waves; a shorter one is refused.
          std::vector<PRelinkRefusal> refused;
          command = makeRelinkFilesCommand(pool, {{clip->getCluster()->files()[0].path, waves[pick(waves.size())]}},
                                           &refused);
          break;
        }
        default:
          command = FRef<MCommand>(new PSetRecordFolderCommand(
              FRef<PAudioPool>::share(&pool), FRef<GTreeEntry>::share(pool.tree().root()->children().back().get())));
          break;
      }
      if (command && command->perform()) done.push_back(command);
    }
    const auto final = test::archiveBytes(root.get());
    for (auto it = done.rbegin(); it != done.rend(); ++it) ASSERT_TRUE((*it)->undo());
    ASSERT_EQ(test::archiveBytes(root.get()), initial) << "round " << round;
    for (auto& command : done) ASSERT_TRUE(command->redo());
    ASSERT_EQ(test::archiveBytes(root.get()), final) << "round " << round;
  }
}

}  // namespace
}  // namespace vantor
