#include "model/undo/MCompositeCommands.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "model/CommandTestSupport.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MArrayNode.h"

namespace vantor {
namespace {

// (tag, start, length) of each event of a node, in order.
struct Placed {
  int32_t tag;
  double start;
  double length;
  bool operator==(const Placed&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Placed& p) {
  return out << "{" << p.tag << ", " << p.start << ", " << p.length << "}";
}

std::vector<Placed> layout(MDataNode& node) {
  std::vector<Placed> out;
  FRef<MAccessor> reader = node.getReadAccessor();
  const std::vector<int32_t> tags = cmdtest::tagsOf(node);
  for (size_t i = 0; i < reader->count(); ++i) {
    out.push_back({tags[i], reader->at(i)->getStart(), reader->at(i)->getLength()});
  }
  return out;
}

using CommandComposite = cmdtest::ListNodeTest;

TEST_F(CommandComposite, RemoveOverlapsTrimsRemovesAndCutsAroundTheEditedEvent) {
  // Edited event 3: 1000..2000.
  add(0, 1200, 1);    // ends inside: its end is cut back to 1000
  add(1200, 300, 2);  // inside: removed
  MEvent* edited = add(1000, 1000, 3);
  add(1800, 700, 4);  // starts inside: its start moves to 2000 (length 500)
  add(500, 2000, 5);  // 500..2500 spans it: pieces 500..1000 and 2000..2500
  add(3000, 100, 6);  // apart: stays
  FRef<MRemoveOverlapsPostCommand> post(new MRemoveOverlapsPostCommand(node(), {share(edited)}));
  EXPECT_EQ(post->description(), "Remove Overlaps");
  ASSERT_TRUE(post->perform());
  EXPECT_EQ(layout(*node_),
            (std::vector<Placed>{
                {1, 0, 1000}, {5, 500, 500}, {3, 1000, 1000}, {4, 2000, 500}, {5, 2000, 500}, {6, 3000, 100}}));
  // The right piece of 5 starts 1500 into it: offset 0 + 1500.
  EXPECT_EQ(node_->list().at(4)->getOffset(), 1500);
}

TEST_F(CommandComposite, RemoveOverlapsLeavesLockedEventsAndNeedsEditedEventsInTheNode) {
  MEvent* edited = add(1000, 1000, 1);
  MEvent* locked = add(1500, 100, 2);
  locked->setFlag(MEventFlag::kLocked, true);
  FRef<MRemoveOverlapsPostCommand> post(new MRemoveOverlapsPostCommand(node(), {share(edited)}));
  ASSERT_TRUE(post->perform());
  EXPECT_TRUE(post->empty());
  EXPECT_EQ(locked->getParent(), node_.get());
  FRef<MRemoveOverlapsPostCommand> stranger(new MRemoveOverlapsPostCommand(node(), {cmdtest::makeEvent(0, 10)}));
  EXPECT_FALSE(stranger->perform());
}

TEST_F(CommandComposite, ShuffleMoveKeepsTheRowWithoutGaps) {
  // A row: 1 at 0..100, 2 at 100..300, 3 at 300..400, 4 at 400..700.
  add(0, 100, 1);
  MEvent* two = add(100, 200, 2);
  add(300, 100, 3);
  add(400, 300, 4);
  // Move 2 to 200 on the row without it (1 0..100, 3 100..200, 4 200..500):
  // 4 makes room, so the row is 1, 3, 2, 4.
  FRef<MShuffleMoveCommand> shuffle(new MShuffleMoveCommand(share(two), 200));
  EXPECT_EQ(shuffle->description(), "Shuffle Move");
  ASSERT_TRUE(shuffle->perform());
  EXPECT_EQ(layout(*node_), (std::vector<Placed>{{1, 0, 100}, {3, 100, 100}, {2, 200, 200}, {4, 400, 300}}));
}

TEST_F(CommandComposite, ShuffleMoveFailsWholeWhenAnEventIsLocked) {
  // Moving 2 to the front pushes 1 back by 200; 1 is locked.
  MEvent* one = add(0, 100, 1);
  MEvent* two = add(100, 200, 2);
  add(300, 100, 3);
  one->setFlag(MEventFlag::kLocked, true);
  const auto before = layout(*node_);
  FRef<MShuffleMoveCommand> shuffle(new MShuffleMoveCommand(share(two), 0));
  EXPECT_FALSE(shuffle->perform());
  EXPECT_EQ(layout(*node_), before);
}

TEST_F(CommandComposite, VerticalShuffleClosesTheSourceAndOpensTheTarget) {
  FRef<MListNode> target = makeRef<MListNode>();
  add(0, 100, 1);
  MEvent* two = add(100, 200, 2);
  add(300, 100, 3);
  cmdtest::put(*target, cmdtest::makeEvent(0, 50, 0, 7));
  cmdtest::put(*target, cmdtest::makeEvent(50, 50, 0, 8));
  FRef<MShuffleMoveVCommand> shuffle(new MShuffleMoveVCommand(share(two), FRef<MDataNode>(target), 50));
  ASSERT_TRUE(shuffle->perform());
  EXPECT_EQ(layout(*node_), (std::vector<Placed>{{1, 0, 100}, {3, 100, 100}}));
  EXPECT_EQ(layout(*target), (std::vector<Placed>{{7, 0, 50}, {2, 50, 200}, {8, 250, 50}}));
  ASSERT_TRUE(shuffle->undo());
  // Within its own node it is the horizontal shuffle.
  FRef<MShuffleMoveVCommand> same(new MShuffleMoveVCommand(share(two), node(), 200));
  ASSERT_TRUE(same->perform());
  EXPECT_EQ(layout(*node_), (std::vector<Placed>{{1, 0, 100}, {3, 100, 100}, {2, 200, 200}}));
}

}  // namespace
}  // namespace vantor
