// Long random sequences of pool commands on a project: undoing them all
// gives back the project's bytes before the first, redoing them all the
// bytes after the last.

#include <gtest/gtest.h>

#include <random>

#include "audio/AudioInit.h"
#include "audio/AudioTestSupport.h"
#include "audio/pool/MAudioFadeCommand.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolMaintenance.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PRelinkFilesCommand.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

// The audio events inside the parts of track.
std::vector<FRef<MAudioEvent>> audioEvents(const MTrackEvent& track) {
  std::vector<FRef<MAudioEvent>> events;
  FRef<MAccessor> parts = track.getNode()->getReadAccessor();
  for (size_t i = 0; i < parts->count(); ++i) {
    MDataNode* content = parts->at(i)->getNode();
    FRef<MAccessor> inside = content != nullptr ? content->getReadAccessor() : nullptr;
    for (size_t j = 0; inside && j < inside->count(); ++j) {
      if (auto* event = dynamic_cast<MAudioEvent*>(inside->at(j))) events.push_back(FRef<MAudioEvent>::share(event));
    }
  }
  return events;
}

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
  int fades = 0;  // fade commands that did their edit
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
      switch (clip == nullptr ? 0 : pick(10)) {
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
        case 9: {
          // Fades on an inserted event, now and then longer than it.
          std::vector<FRef<MAudioEvent>> events = audioEvents(*audio);
          if (events.empty()) break;
          FRef<MAudioEvent> event = events[pick(events.size())];
          const int64_t length = event->getClipLength();
          const auto curve = static_cast<MFadeCurve>(pick(5));
          std::optional<MAudioFade> in = MAudioFade{static_cast<int64_t>(pick(static_cast<size_t>(length) + 2)), curve};
          std::optional<MAudioFade> out = MAudioFade{static_cast<int64_t>(pick(static_cast<size_t>(length) / 2 + 1))};
          if (pick(3) == 0) in.reset();
          command = FRef<MCommand>(new MAudioFadeCommand({event}, in, pick(3) == 0 ? std::nullopt : out));
          break;
        }
        default:
          command = FRef<MCommand>(new PSetRecordFolderCommand(
              FRef<PAudioPool>::share(&pool), FRef<GTreeEntry>::share(pool.tree().root()->children().back().get())));
          break;
      }
      if (command && command->perform()) {
        done.push_back(command);
        if (dynamic_cast<MAudioFadeCommand*>(command.get()) != nullptr) ++fades;
      }
    }
    const auto final = test::archiveBytes(root.get());
    for (auto it = done.rbegin(); it != done.rend(); ++it) ASSERT_TRUE((*it)->undo());
    ASSERT_EQ(test::archiveBytes(root.get()), initial) << "round " << round;
    for (auto& command : done) ASSERT_TRUE(command->redo());
    ASSERT_EQ(test::archiveBytes(root.get()), final) << "round " << round;
  }
  EXPECT_GT(fades, 0);
}

}  // namespace
}  // namespace vantor
