#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/FClassRegistry.h"
#include "model/TreeTestSupport.h"
#include "model/edit/MInsertCommand.h"
#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MTransport.h"
#include "model/markers/MTransportCommand.h"
#include "model/time/MTempoCommands.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MName.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
namespace {

using treetest::loadArchive;
using treetest::saveArchive;

class Marker : public ::testing::Test {
 protected:
  void SetUp() override { treetest::initializeTreeTests(); }
};

FRef<MListNode> markerList(std::initializer_list<FRef<MMarkerEvent>> markers) {
  FRef<MListNode> node = makeRef<MListNode>();
  for (const auto& m : markers) node->list().insert(m);
  return node;
}

FRef<MMarkerEvent> marker(int32_t id, double start, std::string name = {}) {
  FRef<MMarkerEvent> m = makeRef<MMarkerEvent>();
  m->setMarkerID(id);
  m->setStart(start);
  m->setName(std::move(name));
  return m;
}

TEST_F(Marker, NewMarkerHasIdZeroNoNameAndItsTwoFlags) {
  MMarkerEvent m;
  EXPECT_EQ(m.getMarkerID(), 0);
  EXPECT_EQ(m.getName(), "");
  EXPECT_EQ(m.getStart(), 0);
  EXPECT_EQ(m.getLength(), 0);
  EXPECT_EQ(m.getFlags(), 0x0200 | 0x2000);
  EXPECT_TRUE(m.isKindOf("MEvent"));
  MRangeMarkerEvent r;
  EXPECT_TRUE(r.isKindOf("MMarkerEvent"));
  MCycleEvent c;
  EXPECT_TRUE(c.isKindOf("MMarkerEvent"));
}

TEST_F(Marker, LocatorMarkerTakesTheLocatorOfItsId) {
  FRef<MTransport> transport = makeRef<MTransport>();
  transport->setLeftLocator(1920);
  transport->setRightLocator(9600);
  struct Case {
    int32_t id;
    double start;
    const char* name;
  } cases[] = {
      {1, 1920, "Left Locator"}, {0, 9600, "Right Locator"}, {2, 9600, "Right Locator"}, {7, 9600, "Right Locator"}};
  for (const Case& c : cases) {
    MCycleEvent cycle(c.id, transport, MTimeDomain::kMusical);
    EXPECT_EQ(cycle.getStart(), c.start) << c.id;
    EXPECT_EQ(cycle.getName(), c.name) << c.id;
    EXPECT_FALSE(cycle.isFollowing());
    // Not following: a moved locator leaves the stored start.
    transport->setLeftLocator(0);
    EXPECT_EQ(cycle.getStart(), c.start);
    transport->setLeftLocator(1920);
  }
}

TEST_F(Marker, FollowingLocatorMarkerReadsTheLocatorEveryTime) {
  FRef<MTransport> transport = makeRef<MTransport>();
  MCycleEvent cycle(1, transport, MTimeDomain::kMusical);
  cycle.setFollowing(true);
  transport->setLeftLocator(480);
  EXPECT_EQ(cycle.getStart(), 480);
  transport->setLeftLocator(960);
  EXPECT_EQ(cycle.getStart(), 960);
}

TEST_F(Marker, LinearLocatorMarkerIsInSecondsOfTheTempoMap) {
  FRef<CmObject> made(FClassRegistry::instance().create("MTempoTrackNode"));
  auto* tempo = dynamic_cast<MTempoTrackNode*>(made.get());
  ASSERT_NE(tempo, nullptr);
  FRef<MTransport> transport = makeRef<MTransport>();
  transport->setTempo(tempo);
  transport->setRightLocator(4 * 1920);  // 16 quarters at 120 BPM = 8 s
  MCycleEvent cycle(2, transport, MTimeDomain::kLinear);
  EXPECT_DOUBLE_EQ(cycle.getStart(), 8.0);
}

TEST_F(Marker, LocatorMarkerNamesFollowTheIdAfterLoading) {
  FRef<MTransport> transport = makeRef<MTransport>();
  FRef<MCycleEvent> left(new MCycleEvent(1, transport, MTimeDomain::kMusical));
  FRef<MListNode> node = makeRef<MListNode>();
  node->list().insert(left);
  std::vector<uint8_t> bytes = saveArchive(node.get());
  // Rewrite the stored name "Left Locator" to another name of the same size.
  const std::string from = "Left Locator";
  const std::string to = "Stored Name!";
  auto at = std::search(bytes.begin(), bytes.end(), from.begin(), from.end());
  ASSERT_NE(at, bytes.end());
  std::copy(to.begin(), to.end(), at);
  bool ok = false;
  FRef<CmObject> read = loadArchive(bytes, &ok);
  ASSERT_TRUE(ok);
  auto* list = dynamic_cast<MListNode*>(read.get());
  ASSERT_NE(list, nullptr);
  auto* cycle = dynamic_cast<MCycleEvent*>(list->list().at(0));
  ASSERT_NE(cycle, nullptr);
  EXPECT_EQ(cycle->getName(), "Left Locator");
  EXPECT_EQ(cycle->getMarkerID(), 1);
  EXPECT_EQ(cycle->getStart(), MTransport::kDefaultLeft);
}

TEST_F(Marker, MarkersAndTransportRoundTripByteForByte) {
  FRef<MRangeMarkerEvent> range = makeRef<MRangeMarkerEvent>();
  range->setMarkerID(3);
  range->setName("Bridge");
  range->setStart(7680);
  range->setLength(3840);
  FRef<MListNode> node = markerList({marker(1, 0, "Intro"), marker(2, 1920, "Verse"), range});
  const std::vector<uint8_t> bytes = saveArchive(node.get());
  bool ok = false;
  FRef<CmObject> read = loadArchive(bytes, &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(saveArchive(read.get()), bytes);
  auto* r = dynamic_cast<MRangeMarkerEvent*>(dynamic_cast<MListNode*>(read.get())->list().at(2));
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->getName(), "Bridge");
  EXPECT_EQ(r->getLength(), 3840);

  FRef<MTransport> transport = makeRef<MTransport>();
  transport->setLeftLocator(100);
  transport->setRightLocator(200);
  transport->setCycle(true);
  FRef<CmObject> t = loadArchive(saveArchive(transport.get()), &ok);
  ASSERT_TRUE(ok);
  auto* back = dynamic_cast<MTransport*>(t.get());
  EXPECT_EQ(back->getLeftLocator(), 100);
  EXPECT_EQ(back->getRightLocator(), 200);
  EXPECT_TRUE(back->isCycleOn());
}

TEST_F(Marker, NewIdsFillTheLowestGap) {
  FRef<MTransport> transport = makeRef<MTransport>();
  FRef<MListNode> node = markerList({marker(1, 0), marker(2, 10), marker(4, 20)});
  node->list().insert(FRef<MEvent>(new MCycleEvent(3, transport, MTimeDomain::kMusical)));
  // The locator marker's ID 3 takes no part in numbering.
  EXPECT_EQ(nextFreeMarkerID(*node), 3);
  EXPECT_EQ(nextFreeMarkerID(*markerList({})), 1);
  EXPECT_EQ(findMarkerByID(*node, 4)->getStart(), 20);
  EXPECT_EQ(findMarkerByID(*node, 3), nullptr);
}

TEST_F(Marker, SetIdSwapsWithTheHolderAndUndoes) {
  FRef<MMarkerEvent> a = marker(1, 0);
  FRef<MMarkerEvent> b = marker(2, 10);
  FRef<MListNode> node = markerList({a, b});
  FManualClock clock;
  GUndoManager history(clock);
  ASSERT_TRUE(history.perform(makeRef<MMarkerIdCommand>(a, 2)));
  EXPECT_EQ(a->getMarkerID(), 2);
  EXPECT_EQ(b->getMarkerID(), 1);
  EXPECT_EQ(history.undoText(), "Undo Set ID");
  ASSERT_TRUE(history.undo());
  EXPECT_EQ(a->getMarkerID(), 1);
  EXPECT_EQ(b->getMarkerID(), 2);
  ASSERT_TRUE(history.redo());
  EXPECT_EQ(a->getMarkerID(), 2);
  // A free ID is simply taken; IDs below 1 and the marker's own are refused.
  clock.advance(1000);
  ASSERT_TRUE(history.perform(makeRef<MMarkerIdCommand>(a, 9)));
  EXPECT_EQ(b->getMarkerID(), 1);
  EXPECT_FALSE(history.perform(makeRef<MMarkerIdCommand>(a, 0)));
  EXPECT_FALSE(history.perform(makeRef<MMarkerIdCommand>(a, 9)));
}

TEST_F(Marker, RenameUnitesAndLocatorMarkersKeepTheirNames) {
  FRef<MMarkerEvent> a = marker(1, 0, "A");
  FRef<MListNode> node = markerList({a});
  FManualClock clock;
  GUndoManager history(clock);
  ASSERT_TRUE(history.perform(makeRef<MMarkerRenameCommand>(a, "Ch")));
  clock.advance(300);
  ASSERT_TRUE(history.perform(makeRef<MMarkerRenameCommand>(a, "Chorus")));
  EXPECT_EQ(history.undoCount(), 1u);
  EXPECT_EQ(history.undoText(), "Undo Rename Marker");
  ASSERT_TRUE(history.undo());
  EXPECT_EQ(a->getName(), "A");
  FRef<MCycleEvent> left(new MCycleEvent(1, makeRef<MTransport>(), MTimeDomain::kMusical));
  EXPECT_FALSE(history.perform(makeRef<MMarkerRenameCommand>(FRef<MMarkerEvent>(left), "X")));
  left->setName("X");
  EXPECT_EQ(left->getName(), "Left Locator");
  // Names the model refuses are never given, however the command was made.
  clock.advance(1000);
  EXPECT_FALSE(history.perform(makeRef<MMarkerRenameCommand>(a, std::string("a\0b", 3))));
  EXPECT_FALSE(history.perform(makeRef<MMarkerRenameCommand>(a, std::string(kMaxNameBytes + 1, 'x'))));
  EXPECT_EQ(a->getName(), "A");
}

// Locators and cycle are edits with undo; quick locator moves are one step.
TEST_F(Marker, TransportCommandsUndoAndUniteLocatorMoves) {
  FRef<MTransport> transport = makeRef<MTransport>();
  FManualClock clock;
  GUndoManager history(clock);
  ASSERT_TRUE(history.perform(MTransportCommand::locators(transport, 1920, 3840)));
  clock.advance(100);
  ASSERT_TRUE(history.perform(MTransportCommand::locators(transport, 960, 7680)));
  EXPECT_EQ(history.undoCount(), 1u);
  EXPECT_EQ(history.undoText(), "Undo Set Locators");
  clock.advance(100);
  ASSERT_TRUE(history.perform(MTransportCommand::cycle(transport, true)));
  EXPECT_EQ(history.undoText(), "Undo Cycle On");
  EXPECT_FALSE(history.perform(MTransportCommand::locators(transport, 960, 480)));  // right before left
  EXPECT_EQ(history.undoCount(), 2u);
  EXPECT_TRUE(transport->isCycleOn());
  EXPECT_EQ(transport->getLeftLocator(), 960);
  ASSERT_TRUE(history.undo());
  EXPECT_FALSE(transport->isCycleOn());
  EXPECT_EQ(transport->getRightLocator(), 7680);
  ASSERT_TRUE(history.undo());
  EXPECT_EQ(transport->getLeftLocator(), MTransport::kDefaultLeft);
  EXPECT_EQ(transport->getRightLocator(), MTransport::kDefaultRight);
  ASSERT_TRUE(history.redo());
  ASSERT_TRUE(history.redo());
  EXPECT_EQ(transport->getLeftLocator(), 960);
  EXPECT_TRUE(transport->isCycleOn());
}

TEST_F(Marker, InsertAndRemoveRunUnderMarkerActionNames) {
  FRef<MListNode> node = markerList({});
  FManualClock clock;
  GUndoManager history(clock);
  FRef<MMarkerEvent> m = marker(nextFreeMarkerID(*node), 960, "Solo");
  ASSERT_TRUE(
      history.perform(makeRef<MInsertCommand>(FRef<MDataNode>(node), FRef<MEvent>(m)), nullptr, kInsertMarkerAction));
  EXPECT_EQ(history.undoText(), "Undo Insert Marker");
  EXPECT_EQ(node->list().size(), 1u);
  clock.advance(1000);
  ASSERT_TRUE(history.perform(makeRef<MRemoveCommand>(FRef<MEvent>(m)), nullptr, kRemoveMarkerAction));
  EXPECT_EQ(history.undoText(), "Undo Remove Marker");
  EXPECT_EQ(node->list().size(), 0u);
  ASSERT_TRUE(history.undo());
  EXPECT_EQ(node->list().at(0), m.get());
}

}  // namespace
}  // namespace vantor
