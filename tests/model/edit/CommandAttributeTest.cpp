#include "model/edit/MAttributeCommands.h"

#include <gtest/gtest.h>

#include <vector>

#include "model/CommandTestSupport.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {
namespace {

using Tags = std::vector<int32_t>;

class CommandAttribute : public cmdtest::ListNodeTest {
 protected:
  using ListNodeTest::add;
  MEvent* add(double start, int32_t tag) { return add(start, 10, tag); }
};

TEST_F(CommandAttribute, PriorityBringsToFrontAndSendsToBackAmongEqualStarts) {
  add(0, 1);
  MEvent* b = add(100, 2);
  add(100, 3);
  add(100, 4);
  add(200, 5);
  FRef<MPriorityCommand> front(new MPriorityCommand(share(b), true));
  EXPECT_EQ(front->description(), "To Front");
  ASSERT_TRUE(front->perform());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1, 3, 4, 2, 5}));
  ASSERT_TRUE(front->undo());
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1, 2, 3, 4, 5}));

  MEvent* d = node_->list().at(3);
  FRef<MPriorityCommand> back(new MPriorityCommand(share(d), false));
  EXPECT_EQ(back->description(), "To Back");
  ASSERT_TRUE(back->perform());
  // The others keep their order behind it.
  EXPECT_EQ(cmdtest::tagsOf(*node_), (Tags{1, 4, 2, 3, 5}));
}

TEST_F(CommandAttribute, VerticalMoveKeepsTheTime) {
  MEvent* x = add(300, 1);
  FRef<MListNode> lane = makeRef<MListNode>();
  FRef<MVerticalCommand> vertical(new MVerticalCommand({share(x)}, FRef<MDataNode>(lane)));
  EXPECT_EQ(vertical->description(), "Move Vertically");
  ASSERT_TRUE(vertical->perform());
  EXPECT_EQ(x->getParent(), lane.get());
  EXPECT_EQ(x->getStart(), 300);
  MVerticalCommand down({share(x)}, FRef<MDataNode>(lane));
  EXPECT_TRUE(down.unite(MVerticalCommand({share(x)}, FRef<MDataNode>(node_))));
}

TEST_F(CommandAttribute, MuteAndLockExchangeEachEventsFlag) {
  MEvent* a = add(0, 1);
  MEvent* b = add(10, 2);
  b->setFlag(MEventFlag::kMuted, true);
  FRef<MMuteCommand> mute(new MMuteCommand({share(a), share(b)}, true));
  EXPECT_EQ(mute->description(), "Mute");
  ASSERT_TRUE(mute->perform());
  EXPECT_TRUE(a->isMuted());
  EXPECT_TRUE(b->isMuted());
  ASSERT_TRUE(mute->undo());
  EXPECT_FALSE(a->isMuted());
  EXPECT_TRUE(b->isMuted());  // it was muted before
  EXPECT_EQ(MMuteCommand({share(a)}, false).description(), "Unmute");

  FRef<MEditLockCommand> lock(new MEditLockCommand({share(a)}, true));
  EXPECT_EQ(lock->description(), "Lock Event");
  EXPECT_EQ(MEditLockCommand({share(a)}, false).description(), "Unlock Event");
  ASSERT_TRUE(lock->perform());
  EXPECT_TRUE(a->isLocked());
  // Other flag bits are left alone.
  EXPECT_FALSE(a->isMuted());
}

TEST_F(CommandAttribute, FlagsOfAReadOnlyNodeStay) {
  MEvent* a = add(0, 1);
  node_->setReadOnly(true);
  FRef<MMuteCommand> mute(new MMuteCommand({share(a)}, true));
  EXPECT_FALSE(mute->perform());
  EXPECT_FALSE(a->isMuted());
  // An event without a node needs no accessor.
  FRef<MEvent> loose = cmdtest::makeEvent(0, 1);
  FRef<MEditLockCommand> lock(new MEditLockCommand({loose}, true));
  ASSERT_TRUE(lock->perform());
  EXPECT_TRUE(loose->isLocked());
}

TEST_F(CommandAttribute, RenameChangesTheNodeNameAndRepeatedRenamesUnite) {
  auto part = makeRef<MPartEvent>();
  part->setName("Verse");
  FRef<MRenameCommand> rename(new MRenameCommand(FRef<MEvent>(part), "Chorus"));
  EXPECT_EQ(rename->description(), "Rename Part");
  ASSERT_TRUE(rename->perform());
  EXPECT_EQ(part->getName(), "Chorus");
  FRef<MRenameCommand> again(new MRenameCommand(FRef<MEvent>(part), "Chorus 2"));
  ASSERT_TRUE(again->perform());
  ASSERT_TRUE(rename->unite(*again));
  ASSERT_TRUE(rename->undo());
  EXPECT_EQ(part->getName(), "Verse");
  ASSERT_TRUE(rename->redo());
  EXPECT_EQ(part->getName(), "Chorus 2");
  auto other = makeRef<MPartEvent>();
  other->setName("x");
  EXPECT_FALSE(rename->unite(MRenameCommand(FRef<MEvent>(other), "y")));

  part->getNode()->setReadOnly(true);
  FRef<MRenameCommand> refused(new MRenameCommand(FRef<MEvent>(part), "Bridge"));
  EXPECT_FALSE(refused->perform());
  EXPECT_EQ(part->getName(), "Chorus 2");
  FRef<MRenameCommand> noNode(new MRenameCommand(cmdtest::makeEvent(0, 1), "Name"));
  EXPECT_FALSE(noNode->perform());
}

TEST_F(CommandAttribute, ColorSetsTheTrackAttribute) {
  FRef<MRoot> root = MProject::createNew();
  ASSERT_TRUE(root);
  MProject* project = root->getProject();
  FRef<MTrackEvent> bass = MProject::createTrack("MIDI", "Bass");
  FRef<MTrackEvent> keys = MProject::createTrack("MIDI", "Keys");
  ASSERT_TRUE(project->addTrack(bass));
  ASSERT_TRUE(project->addTrack(keys));
  keys->setAttribute(MTrackAttribute::kColor, 3);
  FRef<MColorCommand> color(new MColorCommand({FRef<MEvent>(bass), FRef<MEvent>(keys)}, 7));
  EXPECT_EQ(color->description(), "Color");
  ASSERT_TRUE(color->perform());
  EXPECT_EQ(bass->getAttribute(MTrackAttribute::kColor), 7);
  EXPECT_EQ(keys->getAttribute(MTrackAttribute::kColor), 7);
  ASSERT_TRUE(color->undo());
  // Colour 0 is the default and is not kept as an attribute.
  EXPECT_FALSE(bass->hasAttribute(MTrackAttribute::kColor));
  EXPECT_EQ(keys->getAttribute(MTrackAttribute::kColor), 3);
  EXPECT_EQ(MRenameCommand(FRef<MEvent>(bass), "Low").description(), "Rename Track");
  // Events other than tracks carry no colour.
  FRef<MColorCommand> notTrack(new MColorCommand({FRef<MEvent>(bass), cmdtest::makeEvent(0, 1)}, 2));
  EXPECT_FALSE(notTrack->perform());
  EXPECT_FALSE(bass->hasAttribute(MTrackAttribute::kColor));
}

}  // namespace
}  // namespace vantor
