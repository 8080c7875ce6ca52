// The root updater: writers exclude readers, the write side nests on its
// thread, and a reader thread walks the tree while the user thread edits it
// (run under ThreadSanitizer to check the locking).

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "model/TreeTestSupport.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace vantor {
namespace {

using TreeUpdater = treetest::TreeTest;

// Whether a thread other than the caller gets the read side now.
bool readableElsewhere(MRootUpdater& updater) {
  bool readable = false;
  std::thread([&] {
    readable = updater.tryLockRead();
    if (readable) updater.unlockRead();
  }).join();
  return readable;
}

TEST_F(TreeUpdater, WriteSideNestsOnItsThread) {
  MRootUpdater updater;
  {
    MRootUpdater::WriteGuard outer(updater);
    EXPECT_EQ(updater.writeDepth(), 1);
    {
      MRootUpdater::WriteGuard inner(updater);
      EXPECT_EQ(updater.writeDepth(), 2);
    }
    EXPECT_EQ(updater.writeDepth(), 1);
    // Another thread cannot read while the write side is held.
    EXPECT_FALSE(readableElsewhere(updater));
  }
  EXPECT_EQ(updater.writeDepth(), 0);
  // Readers share the read side.
  MRootUpdater::ReadGuard first(updater);
  EXPECT_TRUE(readableElsewhere(updater));
}

// The user thread inserts and removes notes under the write side; a reader
// walks the whole tree under the read side and checks that it never sees a
// half-done edit: every edit adds or removes two notes at once, so the
// count it sees is always even, and no reader runs while a writer is inside.
TEST_F(TreeUpdater, AReaderWalksWhileTheUserThreadEdits) {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Live");
  ASSERT_TRUE(project.addTrack(track));
  FRef<MPartEvent> part = treetest::makePart("P", 0, 0);
  ASSERT_TRUE(project.addPart(track.get(), part));
  MEventContainer& notes = *part->getNode()->events();
  MRootUpdater& updater = root->getUpdater();

  std::atomic<bool> writing{false};
  std::atomic<bool> done{false};
  std::atomic<int> passes{0};
  std::atomic<int> oddCounts{0};
  std::atomic<int> overlaps{0};
  std::thread reader([&] {
    while (!done.load() || passes.load() < 5) {
      MRootUpdater::ReadGuard guard(updater);
      if (writing.load()) overlaps.fetch_add(1);
      size_t count = 0;
      double sum = 0;
      // No references are taken here: the reader only follows pointers.
      for (size_t i = 0; i < notes.size(); ++i) {
        sum += notes.at(i)->getStart();
        ++count;
      }
      static_cast<void>(sum);
      if (count % 2 != 0) oddCounts.fetch_add(1);
      passes.fetch_add(1);
    }
  });

  std::vector<FRef<MEvent>> removed;
  for (int round = 0; round < 400; ++round) {
    MRootUpdater::WriteGuard guard(updater);
    writing.store(true);
    if (round % 3 == 2 && notes.size() >= 2) {
      removed.push_back(notes.remove(notes.at(0)));
      removed.push_back(notes.remove(notes.at(notes.size() - 1)));
    } else {
      notes.insert(makeRef<treetest::TreeTestNote>(round * 10.0, 5, 60));
      // A nested write, as a macro command takes the lock again.
      MRootUpdater::WriteGuard nested(updater);
      notes.insert(makeRef<treetest::TreeTestNote>(round * 10.0 + 5, 5, 62));
    }
    writing.store(false);
  }
  done.store(true);
  reader.join();
  EXPECT_EQ(oddCounts.load(), 0);
  EXPECT_EQ(overlaps.load(), 0);
  EXPECT_GE(passes.load(), 5);
  EXPECT_EQ(notes.size() % 2, 0u);
}

}  // namespace
}  // namespace vantor
