#include "model/edit/MInsertCommand.h"

#include <gtest/gtest.h>

#include <vector>

#include "model/CommandTestSupport.h"
#include "model/tree/MArrayNode.h"

namespace vantor {
namespace {

using Tags = std::vector<int32_t>;

using CommandInsert = cmdtest::ListNodeTest;

TEST_F(CommandInsert, InsertPlacesByStart) {
  add(0, 10, 1);
  add(960, 10, 3);
  FRef<MEvent> a = cmdtest::makeEvent(480, 10, 0, 2);
  FRef<MEvent> b = cmdtest::makeEvent(2000, 10, 0, 4);
  FRef<MInsertCommand> insert(new MInsertCommand(node(), {a, b}));
  EXPECT_EQ(insert->description(), "Insert");
  ASSERT_TRUE(insert->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1, 2, 3, 4}));
  EXPECT_EQ(a->getParent(), node_.get());
}

TEST_F(CommandInsert, InsertRefusesEventsThatAreHeldAndReadOnlyNodes) {
  MEvent* held = add(0, 10, 1);
  FRef<MInsertCommand> again(new MInsertCommand(node(), share(held)));
  EXPECT_FALSE(again->perform());
  FRef<MEvent> fresh = cmdtest::makeEvent(5, 10, 0, 2);
  FRef<MInsertCommand> twice(new MInsertCommand(node(), {fresh, fresh}));
  EXPECT_FALSE(twice->perform());
  node_->setReadOnly(true);
  FRef<MInsertCommand> readOnly(new MInsertCommand(node(), fresh));
  EXPECT_FALSE(readOnly->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1}));
  FRef<MInsertCommand> nothing(new MInsertCommand(node(), std::vector<FRef<MEvent>>{}));
  EXPECT_FALSE(nothing->perform());
}

TEST_F(CommandInsert, RemoveAndUndoRestoreTheRankAmongEqualStarts) {
  add(480, 10, 1);
  MEvent* middle = add(480, 10, 2);
  add(480, 10, 3);
  FRef<MRemoveCommand> remove(new MRemoveCommand(share(middle)));
  EXPECT_EQ(remove->description(), "Delete");
  ASSERT_TRUE(remove->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1, 3}));
  // An event of the same start inserted meanwhile goes after the others.
  add(480, 10, 4);
  ASSERT_TRUE(remove->undo());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1, 2, 3, 4}));
}

TEST_F(CommandInsert, RemoveIsAllOrNothingAcrossNodes) {
  MEvent* a = add(0, 10, 1);
  a->setFlag(MEventFlag::kLocked, true);  // a lock does not keep an event from removal
  FRef<MListNode> other = makeRef<MListNode>();
  MEvent* b = cmdtest::put(*other, cmdtest::makeEvent(0, 10, 0, 2));
  other->setReadOnly(true);
  FRef<MRemoveCommand> remove(new MRemoveCommand({share(a), share(b)}));
  EXPECT_FALSE(remove->perform());
  EXPECT_EQ(a->getParent(), node_.get());
  EXPECT_EQ(b->getParent(), other.get());
  other->setReadOnly(false);
  ASSERT_TRUE(remove->perform());
  EXPECT_TRUE(node_->list().empty());
  EXPECT_TRUE(other->list().empty());
}

TEST_F(CommandInsert, ReplaceSwapsTheEvents) {
  MEvent* old = add(100, 10, 1);
  add(200, 10, 2);
  FRef<MEvent> replacement = cmdtest::makeEvent(300, 10, 0, 9);
  FRef<MReplaceCommand> replace(new MReplaceCommand(node(), {share(old)}, {replacement}));
  ASSERT_TRUE(replace->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{2, 9}));
  // A replacement that is already held elsewhere fails and leaves all.
  FRef<MReplaceCommand> bad(new MReplaceCommand(node(), {replacement}, {share(node_->list().at(0))}));
  EXPECT_FALSE(bad->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{2, 9}));
}

TEST_F(CommandInsert, SplitMakesTwoPiecesThatPlayOn) {
  // Event: start 960, length 1920 (end 2880), offset 100; split at 1440.
  MEvent* event = cmdtest::put(*node_, cmdtest::makeEvent(960, 1920, 100, 7));
  MEvent* outside = add(5000, 10, 8);
  FRef<MSplitCommand> split(new MSplitCommand(node(), {share(event), share(outside)}, 1440));
  EXPECT_EQ(split->description(), "Split");
  ASSERT_TRUE(split->perform());
  ASSERT_EQ(node_->list().size(), 3u);
  const MEvent* left = node_->list().at(0);
  const MEvent* right = node_->list().at(1);
  // Left: 960..1440 (length 480), offset 100. Right: 1440..2880 (length
  // 1440), offset 100 + (1440 - 960) = 580.
  EXPECT_EQ(left->getStart(), 960);
  EXPECT_EQ(left->getLength(), 480);
  EXPECT_EQ(left->getOffset(), 100);
  EXPECT_EQ(right->getStart(), 1440);
  EXPECT_EQ(right->getLength(), 1440);
  EXPECT_EQ(right->getOffset(), 580);
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{7, 7, 8}));
  EXPECT_EQ(event->getParent(), nullptr);
}

TEST_F(CommandInsert, SplitRefusesLockedEventsAndPositionsOutside) {
  MEvent* event = add(960, 1920, 1);
  FRef<MSplitCommand> atEdge(new MSplitCommand(node(), {share(event)}, 960));
  EXPECT_FALSE(atEdge->perform());
  event->setFlag(MEventFlag::kLocked, true);
  FRef<MSplitCommand> locked(new MSplitCommand(node(), {share(event)}, 1000));
  EXPECT_FALSE(locked->perform());
  EXPECT_EQ(node_->list().size(), 1u);
  EXPECT_EQ(node_->list().at(0), event);
}

}  // namespace
}  // namespace vantor
