#include "model/edit/MMoveCommand.h"

#include <gtest/gtest.h>

#include <vector>

#include "model/CommandTestSupport.h"
#include "model/edit/MAttributeCommands.h"
#include "model/tree/MArrayNode.h"

namespace vantor {
namespace {

using Tags = std::vector<int32_t>;

class CommandMove : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdtest::initializeCommandTests();
    a_ = makeRef<MListNode>();
    b_ = makeRef<MListNode>();
  }
  static MEvent* add(MListNode& node, double start, double length, int32_t tag) {
    return cmdtest::put(node, cmdtest::makeEvent(start, length, 0, tag));
  }
  static FRef<MEvent> share(MEvent* event) { return FRef<MEvent>::share(event); }

  FRef<MListNode> a_;
  FRef<MListNode> b_;
};

TEST_F(CommandMove, SimpleMoveExchangesTheStart) {
  MEvent* first = add(*a_, 0, 100, 1);
  add(*a_, 500, 100, 2);
  FRef<MSimpleMoveCommand> move(new MSimpleMoveCommand(share(first), 900));
  EXPECT_EQ(move->description(), "Move");
  ASSERT_TRUE(move->perform());
  EXPECT_EQ(first->getStart(), 900);
  EXPECT_EQ(cmdtest::tagsOf(*a_), (Tags{2, 1}));
}

TEST_F(CommandMove, MoveInsideShiftsEveryEventInItsOwnNode) {
  MEvent* x = add(*a_, 100, 10, 1);
  MEvent* y = add(*b_, 200, 10, 2);
  FRef<MMoveInsideCommand> move(new MMoveInsideCommand({share(x), share(y)}, 50));
  ASSERT_TRUE(move->perform());
  EXPECT_EQ(x->getStart(), 150);
  EXPECT_EQ(y->getStart(), 250);
  EXPECT_EQ(x->getParent(), a_.get());
  EXPECT_EQ(y->getParent(), b_.get());
}

TEST_F(CommandMove, MoveCarriesEventsToAnotherNode) {
  add(*a_, 100, 10, 1);
  MEvent* y = add(*a_, 100, 10, 2);
  add(*a_, 100, 10, 3);
  FRef<MMoveCommand> move(new MMoveCommand({share(y)}, FRef<MDataNode>(b_), 960));
  ASSERT_TRUE(move->perform());
  EXPECT_EQ(y->getParent(), b_.get());
  EXPECT_EQ(y->getStart(), 1060);
  EXPECT_EQ(cmdtest::tagsOf(*a_), (Tags{1, 3}));
}

TEST_F(CommandMove, LockedEventsRefuseAndNothingMoves) {
  MEvent* free = add(*a_, 0, 10, 1);
  MEvent* locked = add(*a_, 100, 10, 2);
  locked->setFlag(MEventFlag::kLocked, true);
  FRef<MMoveInsideCommand> inside(new MMoveInsideCommand({share(free), share(locked)}, 5));
  EXPECT_FALSE(inside->perform());
  FRef<MMoveCommand> across(new MMoveCommand({share(free), share(locked)}, FRef<MDataNode>(b_), 0));
  EXPECT_FALSE(across->perform());
  FRef<MSimpleMoveCommand> simple(new MSimpleMoveCommand(share(locked), 7));
  EXPECT_FALSE(simple->perform());
  FRef<MMoveEndCommand> end(new MMoveEndCommand(share(locked), FRef<MDataNode>(a_), 50));
  EXPECT_FALSE(end->perform());
  FRef<MVerticalCommand> vertical(new MVerticalCommand({share(locked)}, FRef<MDataNode>(b_)));
  EXPECT_FALSE(vertical->perform());
  EXPECT_EQ(free->getStart(), 0);
  EXPECT_EQ(locked->getStart(), 100);
  EXPECT_EQ(locked->getLength(), 10);
  EXPECT_EQ(cmdtest::tagsOf(*a_), (Tags{1, 2}));
  EXPECT_TRUE(b_->list().empty());
}

TEST_F(CommandMove, AReadOnlyTargetRefusesAndNothingMoves) {
  MEvent* x = add(*a_, 0, 10, 1);
  b_->setReadOnly(true);
  FRef<MMoveCommand> move(new MMoveCommand({share(x)}, FRef<MDataNode>(b_), 10));
  EXPECT_FALSE(move->perform());
  EXPECT_EQ(x->getParent(), a_.get());
  EXPECT_EQ(x->getStart(), 0);
}

TEST_F(CommandMove, MoveEndKeepsTheContentUnderTheEnd) {
  // Start 960, length 1920 (end 2880), offset 100. Move the end to 2400:
  // length 1440, offset 100 + (1920 - 1440) = 580.
  MEvent* event = cmdtest::put(*a_, cmdtest::makeEvent(960, 1920, 100, 1));
  FRef<MMoveEndCommand> end(new MMoveEndCommand(share(event), FRef<MDataNode>(a_), 2400));
  EXPECT_EQ(end->description(), "Move End");
  ASSERT_TRUE(end->perform());
  EXPECT_EQ(event->getStart(), 960);
  EXPECT_EQ(event->getLength(), 1440);
  EXPECT_EQ(event->getOffset(), 580);
  FRef<MMoveEndCommand> backwards(new MMoveEndCommand(share(event), FRef<MDataNode>(a_), 900));
  EXPECT_FALSE(backwards->perform());
}

TEST_F(CommandMove, RepeatedMovesOfTheSameEventsUnite) {
  MEvent* x = add(*a_, 0, 10, 1);
  MEvent* y = add(*a_, 0, 10, 2);
  EXPECT_TRUE(MSimpleMoveCommand(share(x), 1).unite(MSimpleMoveCommand(share(x), 2)));
  EXPECT_FALSE(MSimpleMoveCommand(share(x), 1).unite(MSimpleMoveCommand(share(y), 2)));
  EXPECT_TRUE(MMoveInsideCommand({share(x), share(y)}, 1).unite(MMoveInsideCommand({share(x), share(y)}, 2)));
  EXPECT_FALSE(MMoveInsideCommand({share(x), share(y)}, 1).unite(MMoveInsideCommand({share(x)}, 2)));
  EXPECT_TRUE(MMoveCommand({share(x)}, FRef<MDataNode>(b_), 1).unite(MMoveCommand({share(x)}, FRef<MDataNode>(a_), 1)));
  EXPECT_FALSE(MMoveCommand({share(x)}, FRef<MDataNode>(b_), 1).unite(MSimpleMoveCommand(share(x), 2)));
  MMoveEndCommand end(share(x), FRef<MDataNode>(a_), 20);
  EXPECT_TRUE(end.unite(MMoveEndCommand(share(x), FRef<MDataNode>(a_), 30)));
}

TEST_F(CommandMove, UnitedMovesBetweenNodesUndoToTheFirstNode) {
  FRef<MListNode> c = makeRef<MListNode>();
  MEvent* x = add(*a_, 100, 10, 1);
  FRef<MMoveCommand> first(new MMoveCommand({share(x)}, FRef<MDataNode>(b_), 10));
  ASSERT_TRUE(first->perform());
  FRef<MMoveCommand> second(new MMoveCommand({share(x)}, FRef<MDataNode>(c), 10));
  ASSERT_TRUE(second->perform());
  ASSERT_TRUE(first->unite(*second));
  ASSERT_TRUE(first->undo());
  EXPECT_EQ(x->getParent(), a_.get());
  EXPECT_EQ(x->getStart(), 100);
  ASSERT_TRUE(first->redo());
  EXPECT_EQ(x->getParent(), c.get());
  EXPECT_EQ(x->getStart(), 120);
}

}  // namespace
}  // namespace vantor
