// Damaged archives of a project: every truncation and random byte flips
// must fail or succeed cleanly, and what is read must be usable.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "model/TreeTestSupport.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace vantor {
namespace {

using treetest::loadArchive;
using treetest::saveArchive;

class TreeDamage : public ::testing::Test {
 protected:
  void SetUp() override { treetest::initializeTreeTests(); }
};

std::vector<uint8_t> smallProject() {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", "T");
  track->setAttribute(MTrackAttribute::kSolo, 1);
  EXPECT_TRUE(project.addTrack(track));
  EXPECT_TRUE(project.addPart(track.get(), treetest::makePart("P", 0, 2)));
  bool ok = false;
  auto bytes = saveArchive(root.get(), &ok);
  EXPECT_TRUE(ok);
  return bytes;
}

// Uses what was read the way a program would: walk it and write it again.
void exercise(const FRef<CmObject>& object) {
  if (!object) return;
  auto* root = dynamic_cast<MRoot*>(object.get());
  if (root == nullptr || root->getProject() == nullptr) return;
  MProject* project = root->getProject();
  size_t count = 0;
  project->forEachEvent([&](MEvent& event) {
    ++count;
    EXPECT_EQ(project->findEvent(event.getID()), &event);
  });
  bool ok = false;
  const auto again = saveArchive(root, &ok);
  EXPECT_TRUE(ok);
}

TEST_F(TreeDamage, EveryTruncationFailsCleanly) {
  const auto bytes = smallProject();
  ASSERT_GT(bytes.size(), 100u);
  for (size_t size = 0; size < bytes.size(); ++size) {
    std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    bool ok = true;
    FRef<CmObject> object = loadArchive(cut, &ok);
    // The root's record always reaches the archive's last byte: any cut
    // leaves it short, and the read gives nothing.
    EXPECT_FALSE(object) << "size " << size;
    exercise(object);
  }
}

TEST_F(TreeDamage, RandomByteFlipsNeverCrash) {
  const auto bytes = smallProject();
  std::mt19937 random(20240611);
  std::uniform_int_distribution<size_t> position(0, bytes.size() - 1);
  std::uniform_int_distribution<int> value(0, 255);
  std::uniform_int_distribution<int> flips(1, 4);
  int read = 0;
  for (int round = 0; round < 3000; ++round) {
    auto damaged = bytes;
    for (int i = flips(random); i > 0; --i) damaged[position(random)] = static_cast<uint8_t>(value(random));
    bool ok = false;
    FRef<CmObject> object = loadArchive(damaged, &ok);
    if (object) ++read;
    exercise(object);
  }
  // Flips in names and values leave many archives readable.
  EXPECT_GT(read, 0);
}

TEST_F(TreeDamage, ProjectWithoutItsTimeTracksIsRefused) {
  // A damaged file may lose the tempo or signature track, or give it content
  // of another kind; everything that converts time relies on them.
  struct Case {
    const char* what;
    void (*damage)(MProject&);
  } cases[] = {
      {"no tempo track", [](MProject& p) { p.setTempoTrack(nullptr); }},
      {"no signature track", [](MProject& p) { p.setSignatureTrack(nullptr); }},
      {"tempo track with a plain list", [](MProject& p) { p.getTempoTrack()->setNode(makeRef<MListNode>()); }},
      {"signature track with tempo content",
       [](MProject& p) { p.getSignatureTrack()->setNode(FRef<MDataNode>::share(p.getTempoNode())); }},
  };
  for (const Case& c : cases) {
    FRef<MRoot> root = MProject::createNew();
    ASSERT_NE(root->getProject()->getTempoNode(), nullptr);
    c.damage(*root->getProject());
    bool ok = false;
    FRef<CmObject> read = loadArchive(saveArchive(root.get()), &ok);
    auto* readRoot = dynamic_cast<MRoot*>(read.get());
    // The project record is refused: no root with a project comes back.
    EXPECT_TRUE(readRoot == nullptr || readRoot->getProject() == nullptr) << c.what;
  }
}

}  // namespace
}  // namespace vantor
