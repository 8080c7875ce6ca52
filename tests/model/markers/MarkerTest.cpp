#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/FClassRegistry.h"
#include "model/CommandTestSupport.h"
#include "model/TreeTestSupport.h"
#include "model/edit/MInsertCommand.h"
#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MMarkerEventController.h"
#include "model/markers/MTransport.h"
#include "model/markers/MTransportCommand.h"
#include "model/time/MTempoCommands.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MName.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
namespace {

using treetest::saveArchive;

class Marker : public cmdtest::UndoLimitTest {
 protected:
  void SetUp() override {
    cmdtest::UndoLimitTest::SetUp();
    treetest::initializeTreeTests();
  }
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

// A locator marker made by class name has ID 0, which follows the right
// locator, and is named by that ID like any other.
TEST_F(Marker, NewMarkersAndLocatorMarkersByClassName) {
  MMarkerEvent m;
  EXPECT_EQ(m.getMarkerID(), 0);
  EXPECT_EQ(m.getName(), "");
  EXPECT_EQ(m.getFlags(), 0x0200 | 0x2000);
  FRef<MCycleEvent> made = refCast<MCycleEvent>(FClassRegistry::instance().create("MCycleEvent"));
  ASSERT_TRUE(made);
  EXPECT_EQ(made->getMarkerID(), 0);
  EXPECT_EQ(made->getName(), "Right Locator");
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
  // Following: the start is read from the locator every time.
  MCycleEvent following(1, transport, MTimeDomain::kMusical);
  following.setFollowing(true);
  transport->setLeftLocator(480);
  EXPECT_EQ(following.getStart(), 480);
  transport->setLeftLocator(960);
  EXPECT_EQ(following.getStart(), 960);
  // In linear time the start is in seconds of the tempo map: 9600 pulses are
  // 20 quarters, at 120 BPM 10 s.
  FRef<MTempoTrackNode> tempo = makeRef<MTempoTrackNode>();
  transport->setTempo(tempo.get());
  EXPECT_DOUBLE_EQ(MCycleEvent(2, transport, MTimeDomain::kLinear).getStart(), 10.0);
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
  FRef<MListNode> list = treetest::loadAs<MListNode>(bytes);
  ASSERT_TRUE(list);
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
  // roundTrip reads each back and saves it again to the same bytes.
  FRef<MListNode> read = treetest::roundTrip(*markerList({marker(1, 0, "Intro"), marker(2, 1920, "Verse"), range}));
  ASSERT_TRUE(read);
  EXPECT_NE(dynamic_cast<MRangeMarkerEvent*>(read->list().at(2)), nullptr);
  FRef<MTransport> transport = makeRef<MTransport>();
  transport->setLeftLocator(100);
  transport->setRightLocator(200);
  transport->setCycle(true);
  EXPECT_TRUE(treetest::roundTrip(*transport));
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

TEST_F(Marker, SetIdSwapsWithTheHolder) {
  FRef<MMarkerEvent> a = marker(1, 0);
  FRef<MMarkerEvent> b = marker(2, 10);
  FRef<MListNode> node = markerList({a, b});
  FManualClock clock;
  GUndoManager history(clock);
  ASSERT_TRUE(history.perform(makeRef<MMarkerIdCommand>(a, 2)));
  EXPECT_EQ(a->getMarkerID(), 2);
  EXPECT_EQ(b->getMarkerID(), 1);
  EXPECT_EQ(history.undoText(), "Undo Set ID");
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
}

class MarkerController : public Marker {
 protected:
  void SetUp() override {
    Marker::SetUp();
    root_ = MProject::createNew();
    ASSERT_TRUE(root_);
    track_ = project().getMarkerTrack();
    transport_->setLeftLocator(1920);
    transport_->setRightLocator(7680);
    auto found = MEventController::forEvent(*track_);
    controller_ = FRef<MMarkerEventController>::share(dynamic_cast<MMarkerEventController*>(found.get()));
    ASSERT_TRUE(controller_);
  }
  MProject& project() { return *root_->getProject(); }
  MDataNode& node() { return *track_->getNode(); }
  MMarkerTrackContext context() { return {transport_.get(), project().getTempoNode()}; }
  // Sets a track property and performs the command it gives, if any.
  std::string setTrack(const char* name, MPropertyValue value) {
    MPropertyEdit edit = controller_->setTrackProperty(*track_, name, value, context());
    if (edit.ok() && edit.command && !history_.perform(edit.command, root_.get())) return edit.command->failure();
    return edit.error;
  }
  std::string setMarker(MEvent& marker, const char* name, MPropertyValue value) {
    MPropertyEdit edit = controller_->setProperty(marker, name, value);
    if (edit.ok() && edit.command && !history_.perform(edit.command, root_.get())) return edit.command->failure();
    return edit.error;
  }
  std::vector<std::string> names() {
    std::vector<std::string> out;
    for (const auto& e : *node().events()) out.push_back(static_cast<MMarkerEvent*>(e.get())->getName());
    return out;
  }

  FManualClock clock_;
  GUndoManager history_{clock_};
  FRef<MRoot> root_;
  MMarkerTrackEvent* track_ = nullptr;
  FRef<MTransport> transport_ = makeRef<MTransport>();
  FRef<MMarkerEventController> controller_;
};

TEST_F(MarkerController, MarkerPropertiesEditThroughCommands) {
  ASSERT_EQ(setTrack("newMarker", 960.0), "");
  ASSERT_EQ(setTrack("newMarker", 3840.0), "");
  MEvent& first = *node().events()->at(0);
  EXPECT_EQ(findMarkerByID(node(), 1), &first);
  EXPECT_NE(first.getID(), 0u);  // the insert gave the event its ID
  struct Case {
    const char* property;
    MPropertyValue value;
    const char* error;  // "" when it is set
  };
  const Case cases[] = {
      {"name", std::string("Intro"), ""},
      {"start", 480.0, ""},
      {"name", 3.0, "a marker's name is a text"},
      {"start", -1.0, "a marker starts at 0 or later"},
      {"length", 960.0, "marker 1 \"Intro\" has no length"},
      {"color", 1.0, "markers have no property \"color\""},
  };
  for (const Case& c : cases) {
    clock_.advance(1000);
    EXPECT_EQ(setMarker(first, c.property, c.value), c.error) << c.property;
  }
  EXPECT_EQ(std::get<std::string>(*controller_->getProperty(first, "name")), "Intro");
  EXPECT_EQ(std::get<double>(*controller_->getProperty(first, "start")), 480.0);
  first.setFlag(MEventFlag::kLocked, true);
  EXPECT_EQ(setMarker(first, "name", std::string("X")), "marker 1 \"Intro\" is locked; unlock it first");
  EXPECT_EQ(setMarker(first, "start", 0.0), "marker 1 \"Intro\" is locked; unlock it first");
}

TEST_F(MarkerController, OneSetOfLocatorMarkersFollowsTheLocators) {
  const std::vector<uint8_t> empty = saveArchive(root_.get());
  ASSERT_EQ(setTrack("newCycleMarker", true), "");
  ASSERT_EQ(setTrack("newCycleMarker", true), "");  // nothing to change: no second set
  EXPECT_EQ(names(), (std::vector<std::string>{"Left Locator", "Right Locator"}));
  MCycleEvent* right = findLocatorMarker(node(), 2);
  ASSERT_NE(right, nullptr);
  EXPECT_EQ(right->getStart(), 7680);
  // They are reachable, apart from numbered markers: a plain marker takes ID
  // 1 without meeting the left locator marker.
  ASSERT_EQ(setTrack("newMarker", 0.0), "");
  EXPECT_EQ(findMarkerByID(node(), 1)->getName(), "");
  EXPECT_EQ(setMarker(*right, "name", std::string("X")),
            "the right locator marker is named by its locator and cannot be renamed");
  clock_.advance(1000);
  ASSERT_EQ(setMarker(*right, "start", 100.0), "");
  clock_.advance(1000);
  transport_->setLeftLocator(960);
  ASSERT_EQ(setTrack("newCycleMarker", true), "");  // moves both back onto the locators
  EXPECT_EQ(findLocatorMarker(node(), 1)->getStart(), 960);
  EXPECT_EQ(right->getStart(), 7680);
  while (history_.undo()) {
  }
  EXPECT_EQ(saveArchive(root_.get()), empty);
}

TEST_F(MarkerController, TrackPropertiesSetTheTransportAndTheTimeBase) {
  ASSERT_EQ(setTrack("newMarker", 1920.0), "");
  auto range = makeRef<MRangeMarkerEvent>();
  range->setStart(3840);
  range->setLength(1920);
  MPropertyEdit insert = MMarkerEventController::insertMarker(*track_, range, context());
  ASSERT_TRUE(insert.ok());
  ASSERT_TRUE(history_.perform(insert.command, root_.get()));
  EXPECT_EQ(range->getMarkerID(), 2);
  // locateMarker: a range marker's span, a plain marker's start twice;
  // setZoom: from a marker to the next one.
  struct Case {
    const char* property;
    double id, left, right;
  };
  for (const Case& c : {Case{"locateMarker", 2, 3840, 5760}, Case{"locateMarker", 1, 1920, 1920},
                        Case{"setZoom", 1, 1920, 3840}, Case{"setZoom", 2, 3840, 5760}}) {
    EXPECT_EQ(setTrack(c.property, c.id), "") << c.property;
    EXPECT_EQ(transport_->getLeftLocator(), c.left) << c.property << c.id;
    EXPECT_EQ(transport_->getRightLocator(), c.right) << c.property << c.id;
  }
  EXPECT_EQ(setTrack("locateMarker", 9.0), "there is no marker with that ID");
  ASSERT_EQ(setTrack("setCycle", true), "");
  EXPECT_TRUE(std::get<bool>(*controller_->getTrackProperty(*track_, "setCycle", context())));
  EXPECT_EQ(setTrack("setCycle", 1.0), "the cycle is on or off");
  // timeType: in linear time at 120 BPM the marker at 1920 pulses (one bar)
  // stands at 2 s; undoing restores the pulses exactly.
  const std::vector<uint8_t> musical = saveArchive(root_.get());
  ASSERT_EQ(setTrack("timeType", std::string("linear")), "");
  EXPECT_EQ(std::get<std::string>(*controller_->getTrackProperty(*track_, "timeType", context())), "linear");
  EXPECT_DOUBLE_EQ(findMarkerByID(node(), 1)->getStart(), 2.0);
  EXPECT_EQ(setTrack("timeType", std::string("linear")), "the markers are already in linear time");
  EXPECT_EQ(setTrack("timeType", std::string("bars")), "the time type is musical or linear");
  ASSERT_TRUE(history_.undo());
  EXPECT_EQ(saveArchive(root_.get()), musical);
  EXPECT_EQ(setTrack("zoom", 1.0), "the marker track has no property \"zoom\"");
}

}  // namespace
}  // namespace vantor
