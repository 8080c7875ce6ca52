#include <gtest/gtest.h>

#include "model/TreeTestSupport.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"

namespace vantor {
namespace {

using treetest::loadArchive;
using treetest::saveArchive;

// Damaged or forged files may describe an object that owns itself. The node
// that would close the cycle is dropped (a record whose class refuses it),
// so what is read holds no cycle and everything is freed (the sanitizer
// build reports leaks).
class ArchiveCycle : public ::testing::Test {
 protected:
  void SetUp() override { treetest::initializeTreeTests(); }
};

TEST_F(ArchiveCycle, PartInsideItsOwnContentIsRefused) {
  FRef<MPartEvent> part = makeRef<MPartEvent>();
  FRef<MDataNode> content = part->createNode();
  part->setNode(content);
  content->events()->insert(part);  // the part shows the node that holds it
  bool ok = true;
  const auto bytes = saveArchive(content.get(), &ok);
  ASSERT_TRUE(ok);
  FRef<CmObject> read = loadArchive(bytes, &ok);
  EXPECT_TRUE(ok);
  EXPECT_FALSE(read);          // the root node itself refused its content
  content->events()->clear();  // free the cycle made for the test
  part->setNode(nullptr);
}

TEST_F(ArchiveCycle, DeeperOwnershipCycleIsRefused) {
  // outer -> part A -> node NA -> part B -> node NB -> part C whose node is NA.
  FRef<MPartEvent> a = makeRef<MPartEvent>();
  FRef<MPartEvent> b = makeRef<MPartEvent>();
  FRef<MPartEvent> c = makeRef<MPartEvent>();
  FRef<MDataNode> na = a->createNode();
  FRef<MDataNode> nb = b->createNode();
  a->setNode(na);
  b->setNode(nb);
  c->setNode(na);
  na->events()->insert(b);
  nb->events()->insert(c);
  FRef<MListNode> outer = makeRef<MListNode>();
  outer->list().insert(a);
  FRef<MListNode> list = treetest::loadAs<MListNode>(saveArchive(outer.get()));
  ASSERT_TRUE(list);
  MEvent* readA = list->list().at(0);
  MEvent* readB = readA->getNode()->events()->at(0);
  EXPECT_EQ(readB->getNode(), nullptr);  // NB, which held C, was dropped
  nb->events()->clear();
  na->events()->clear();
}

TEST_F(ArchiveCycle, EventInTwoNodesIsRefused) {
  FRef<MPartEvent> shared = makeRef<MPartEvent>();
  FRef<MListNode> first = makeRef<MListNode>();
  FRef<MListNode> second = makeRef<MListNode>();
  first->list().insert(shared);
  second->list().insert(shared);
  FRef<MTrackList> tracks = makeRef<MTrackList>();
  FRef<MTrackEvent> t1 = MProject::createTrack("MIDI", "one");
  FRef<MTrackEvent> t2 = MProject::createTrack("MIDI", "two");
  t1->setNode(first);
  t2->setNode(second);
  ASSERT_TRUE(tracks->insert(t1));
  ASSERT_TRUE(tracks->insert(t2));
  FRef<MTrackList> list = treetest::loadAs<MTrackList>(saveArchive(tracks.get()));
  ASSERT_TRUE(list);
  EXPECT_EQ(list->at(0)->getNode()->events()->size(), 1u);
  EXPECT_EQ(list->at(1)->getNode(), nullptr);  // the second holder was dropped
}

TEST_F(ArchiveCycle, AliasedPartsAreNoCycle) {
  // Two parts showing one node is sharing, not ownership of oneself.
  FRef<MPartEvent> a = makeRef<MPartEvent>();
  FRef<MPartEvent> b = makeRef<MPartEvent>();
  FRef<MDataNode> content = a->createNode();
  a->setNode(content);
  b->setNode(content);
  b->setStart(1920);
  FRef<MListNode> track = makeRef<MListNode>();
  track->list().insert(a);
  track->list().insert(b);
  FRef<MListNode> list = treetest::loadAs<MListNode>(saveArchive(track.get()));
  ASSERT_TRUE(list);
  EXPECT_EQ(list->list().at(0)->getNode(), list->list().at(1)->getNode());
}

}  // namespace
}  // namespace vantor
