#include "model/edit/MSizeCommand.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "model/CommandTestSupport.h"
#include "model/tree/MAccessor.h"

namespace vantor {
namespace {

using cmdtest::CountingNode;

// An event's start, length and offset, compared in one expectation.
struct Extent {
  double start, length, offset;
  bool operator==(const Extent&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Extent& e) {
  return out << "{" << e.start << ", " << e.length << ", " << e.offset << "}";
}
Extent extent(const MEvent& event) { return {event.getStart(), event.getLength(), event.getOffset()}; }

class CommandSize : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdtest::initializeCommandTests();
    node_ = makeRef<CountingNode>();
  }
  MEvent* add(double start, double length, double offset, int32_t tag) {
    return cmdtest::put(*node_, cmdtest::makeEvent(start, length, offset, tag));
  }
  FRef<MEvent> share(MEvent* event) { return FRef<MEvent>::share(event); }
  FRef<MDataNode> node() { return FRef<MDataNode>(node_); }
  void resetCounts() { node_->willChange = node_->changedExtent = node_->changedEvents = 0; }

  FRef<CountingNode> node_;
};

TEST_F(CommandSize, PerformingTwiceLeavesTheEventAsItWas) {
  MEvent* event = add(960, 1920, 240, 1);
  FRef<MSizeCommand> size(new MSizeCommand(share(event), node(), 480, 960, 0));
  ASSERT_TRUE(size->perform());
  EXPECT_EQ(extent(*event), (Extent{480, 960, 0}));
  // The command now holds the replaced values.
  EXPECT_EQ(size->start(), 960);
  EXPECT_EQ(size->length(), 1920);
  EXPECT_EQ(size->offset(), 240);
  ASSERT_TRUE(size->undo());  // the second exchange
  EXPECT_EQ(extent(*event), (Extent{960, 1920, 240}));
  EXPECT_EQ(event->getParent(), node_.get());
}

TEST_F(CommandSize, ALengthChangeNeverTakesTheEventOutOfTheOrder) {
  // Three events of equal start: the middle one keeps its rank.
  add(480, 100, 0, 1);
  MEvent* middle = add(480, 100, 0, 2);
  add(480, 100, 0, 3);
  resetCounts();
  FRef<MLengthCommand> length(new MLengthCommand(share(middle), node(), 5000));
  ASSERT_TRUE(length->perform());
  EXPECT_EQ(middle->getLength(), 5000);
  // Removing or inserting would have called eventsChanged; only the extent
  // announcements came.
  EXPECT_EQ(node_->changedEvents, 0);
  EXPECT_EQ(node_->willChange, 1);
  EXPECT_EQ(node_->changedExtent, 1);
  EXPECT_EQ(cmdtest::tagsOf(*node_), (std::vector<int32_t>{1, 2, 3}));
  ASSERT_TRUE(length->undo());
  EXPECT_EQ(node_->changedEvents, 0);
  EXPECT_EQ(middle->getLength(), 100);
}

TEST_F(CommandSize, AStartChangeReordersAndUndoRestoresTheRank) {
  add(480, 100, 0, 1);
  MEvent* middle = add(480, 100, 0, 2);
  add(480, 100, 0, 3);
  add(960, 100, 0, 4);
  resetCounts();
  FRef<MSizeCommand> move(new MSizeCommand(share(middle), node(), 1000, 100, 0));
  ASSERT_TRUE(move->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (std::vector<int32_t>{1, 3, 4, 2}));
  EXPECT_EQ(node_->changedEvents, 2);  // taken out, put back
  ASSERT_TRUE(move->undo());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (std::vector<int32_t>{1, 2, 3, 4}));
}

TEST_F(CommandSize, WithoutAWriteAccessorNothingChangesAndValidIsCleared) {
  MEvent* event = add(960, 1920, 0, 1);
  node_->setReadOnly(true);
  FRef<MSizeCommand> size(new MSizeCommand(share(event), node(), 0, 10, 5));
  EXPECT_TRUE(size->isValid());
  EXPECT_FALSE(size->perform());
  EXPECT_FALSE(size->isValid());
  EXPECT_EQ(extent(*event), (Extent{960, 1920, 0}));
  EXPECT_EQ(size->state(), MCommand::kStateNew);
  // Undo against a node that became read-only fails the same way.
  node_->setReadOnly(false);
  FRef<MSizeCommand> other(new MSizeCommand(share(event), node(), 0, 10, 5));
  ASSERT_TRUE(other->perform());
  node_->setReadOnly(true);
  EXPECT_FALSE(other->undo());
  EXPECT_FALSE(other->isValid());
  EXPECT_EQ(event->getStart(), 0);
  EXPECT_EQ(other->state(), MCommand::kStatePerformed);
}

// An event not in the node, and a locked one, are refused; values out of
// range are refused in TimeRangeTest.
TEST_F(CommandSize, LooseAndLockedEventsAreRefused) {
  FRef<MEvent> loose = cmdtest::makeEvent(0, 10);
  FRef<MSizeCommand> size(new MSizeCommand(loose, node(), 5, 10, 0));
  EXPECT_FALSE(size->perform());
  EXPECT_FALSE(size->isValid());
  EXPECT_EQ(loose->getStart(), 0);
  MEvent* event = add(960, 1920, 0, 1);
  event->setFlag(MEventFlag::kLocked, true);
  EXPECT_FALSE(FRef<MSizeEndCommand>(new MSizeEndCommand(share(event), node(), 4000))->perform());
  EXPECT_EQ(event->getLength(), 1920);
}

TEST_F(CommandSize, SubclassesChangeWhatTheirNamesSay) {
  // The event: start 960, length 1920 (end 2880), offset 240; its content
  // origin (start - offset) lies at 720.
  using Make = FRef<MSizeCommand> (*)(FRef<MEvent>, FRef<MDataNode>);
  struct Row {
    const char* description;
    Make make;
    double start, length, offset;
  };
  const Row rows[] = {
      // Size start to 480: the end stays (2880 - 480 = 2400), the content stays
      // (origin 720: offset = 480 - 720 = -240).
      {"Size Start",
       [](FRef<MEvent> e, FRef<MDataNode> n) { return FRef<MSizeCommand>(new MSizeStartCommand(e, n, 480)); }, 480,
       2400, -240},
      // Move start to 480: the end stays, the content moves (offset stays).
      {"Move Start",
       [](FRef<MEvent> e, FRef<MDataNode> n) { return FRef<MSizeCommand>(new MMoveStartCommand(e, n, 480)); }, 480,
       2400, 240},
      // Size end to 3840: length 3840 - 960 = 2880.
      {"Size End",
       [](FRef<MEvent> e, FRef<MDataNode> n) { return FRef<MSizeCommand>(new MSizeEndCommand(e, n, 3840)); }, 960, 2880,
       240},
      {"Length", [](FRef<MEvent> e, FRef<MDataNode> n) { return FRef<MSizeCommand>(new MLengthCommand(e, n, 100)); },
       960, 100, 240},
      {"Set Offset",
       [](FRef<MEvent> e, FRef<MDataNode> n) { return FRef<MSizeCommand>(new MOffsetCommand(e, n, 480)); }, 960, 1920,
       480},
      {"Size", [](FRef<MEvent> e, FRef<MDataNode> n) { return FRef<MSizeCommand>(new MSizeCommand(e, n, 0, 1, 2)); }, 0,
       1, 2},
  };
  for (const Row& row : rows) {
    FRef<CountingNode> node = makeRef<CountingNode>();
    MEvent* event = cmdtest::put(*node, cmdtest::makeEvent(960, 1920, 240));
    FRef<MSizeCommand> command = row.make(FRef<MEvent>::share(event), FRef<MDataNode>(node));
    const std::string name = row.description;
    EXPECT_EQ(command->description(), name);
    ASSERT_TRUE(command->perform()) << name;
    EXPECT_EQ(extent(*event), (Extent{row.start, row.length, row.offset})) << name;
  }
}

TEST_F(CommandSize, TheSameEditUnites) {
  MEvent* a = add(0, 100, 0, 1);
  MEvent* b = add(0, 100, 0, 2);
  FRef<CountingNode> elsewhere = makeRef<CountingNode>();
  MSizeEndCommand first(share(a), node(), 200);
  // Same event, node and change bits: an end drag and a length entry unite.
  EXPECT_TRUE(first.unite(MSizeEndCommand(share(a), node(), 300)));
  EXPECT_TRUE(first.unite(MLengthCommand(share(a), node(), 50)));
  // Other bits, another event, another node: no.
  EXPECT_FALSE(first.unite(MSizeStartCommand(share(a), node(), 10)));
  EXPECT_FALSE(first.unite(MOffsetCommand(share(a), node(), 10)));
  EXPECT_FALSE(first.unite(MSizeEndCommand(share(b), node(), 300)));
  EXPECT_FALSE(first.unite(MSizeEndCommand(share(a), FRef<MDataNode>(elsewhere), 300)));
  cmdtest::LogCommand other;
  EXPECT_FALSE(first.unite(other));
}

TEST_F(CommandSize, UnitedDragsUndoToTheFirstValues) {
  MEvent* event = add(0, 100, 10, 1);
  FRef<MSizeStartCommand> first(new MSizeStartCommand(share(event), node(), 20));
  ASSERT_TRUE(first->perform());
  FRef<MSizeStartCommand> second(new MSizeStartCommand(share(event), node(), 40));
  ASSERT_TRUE(second->perform());
  ASSERT_TRUE(first->unite(*second));
  // Undoing the first alone returns to before both.
  ASSERT_TRUE(first->undo());
  EXPECT_EQ(extent(*event), (Extent{0, 100, 10}));
  ASSERT_TRUE(first->redo());
  EXPECT_EQ(extent(*event), (Extent{40, 60, 50}));
}

}  // namespace
}  // namespace vantor
