// Damaged archives of a project: every truncation must fail cleanly, and
// what is read must be usable. Random damage is the fuzz targets' work.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <vector>

#include "model/TreeTestSupport.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MVirtualGroup.h"
#include "support/ArchiveBytes.h"

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

// Time-bound: a record that declares a million list entries reads in time
// linear in the count. Each row's list would make a quadratic reader take
// minutes: a million distinct member IDs of a virtual group (a search per ID
// for repeats), a million track attribute codes in falling order (an
// ordered insert per code).
TEST_F(TreeDamage, ListsOfAMillionEntriesReadInLinearTime) {
  constexpr uint32_t kCount = 1000000;
  struct Row {
    const char* what;
    FRef<CmObject> empty;  // writes its list last, empty
    std::vector<uint8_t> items;
    std::function<size_t(const CmObject&)> kept;
  };
  std::vector<uint8_t> ids;
  std::vector<uint8_t> codes;
  const auto put = [](std::vector<uint8_t>& out, uint32_t value) {
    for (int b = 0; b < 4; ++b) out.push_back(static_cast<uint8_t>(value >> (8 * b)));
  };
  for (uint32_t i = 0; i < kCount; ++i) {
    put(ids, i + 1);
    put(codes, kCount - i);  // the code, then its value
    put(codes, 1);
  }
  Row rows[] = {
      {"virtual group member IDs", makeRef<MVirtualGroup>(), ids,
       [](const CmObject& o) { return dynamic_cast<const MVirtualGroup&>(o).memberIDs().size(); }},
      {"track attribute codes", MProject::createTrack("MIDI", "T"), codes,
       [](const CmObject& o) { return dynamic_cast<const MTrackEvent&>(o).attributes().size(); }},
  };
  for (Row& row : rows) {
    bool ok = false;
    std::vector<uint8_t> bytes = saveArchive(row.empty.get(), &ok);
    ASSERT_TRUE(ok) << row.what;
    ASSERT_TRUE(test::growRootList(&bytes, kCount, row.items)) << row.what;
    const auto start = std::chrono::steady_clock::now();
    FRef<CmObject> read = loadArchive(bytes, &ok);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ASSERT_TRUE(ok && read) << row.what;
    EXPECT_EQ(row.kept(*read), kCount) << row.what;
    EXPECT_LT(seconds, 20.0) << row.what;
  }
}

}  // namespace
}  // namespace vantor
