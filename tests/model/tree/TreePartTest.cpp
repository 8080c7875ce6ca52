// Parts: named properties, part nodes and accessors, group events, virtual
// groups, contexts and event controllers.

#include <gtest/gtest.h>

#include <string>

#include "model/TreeTestSupport.h"
#include "model/tree/MContext.h"
#include "model/tree/MEventController.h"
#include "model/tree/MFolderDataEvent.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor {
namespace {

using treetest::makePart;
using treetest::TreeTestNote;

using TreePart = treetest::TreeTest;

// Each row sets one property by name, then reads it back; a refused value
// leaves what the rows before set.
TEST_F(TreePart, PropertiesByNameSetAndReadBackOrRefuse) {
  FRef<MPartEvent> part = makePart("Intro", 960, 4);
  EXPECT_EQ(std::get<double>(*part->getProperty("length")), 480);  // 4 notes * 120
  const struct {
    const char* name;
    MPropertyValue value;
    bool ok;
    MPropertyValue after;
  } rows[] = {
      {"name", std::string("Chorus"), true, std::string("Chorus")},
      {"muted", true, true, true},
      {"locked", true, true, true},
      {"locked", false, true, false},
      {"length", 1920.0, true, 1920.0},
      {"offset", 15.0, true, 15.0},
      {"length", -1.0, false, 1920.0},
      {"muted", 1.0, false, true},
      {"start", std::string("0"), false, 960.0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(part->setProperty(row.name, row.value), row.ok) << row.name;
    EXPECT_EQ(part->getProperty(row.name), row.after) << row.name;
  }
  EXPECT_EQ(part->getNode()->getName(), "Chorus");
  EXPECT_TRUE(part->isMuted());
  EXPECT_EQ(part->getOffset(), 15);
  // Names are exact, and unknown ones are refused.
  EXPECT_FALSE(part->getProperty("Name").has_value());
  EXPECT_FALSE(part->getProperty("colour").has_value());
  EXPECT_FALSE(part->setProperty("tempo", 120.0));
}

TEST_F(TreePart, NewStartMovesThePartToItsPlace) {
  auto track = makeRef<MListNode>();
  FRef<MPartEvent> a = makePart("a", 0, 1);
  FRef<MPartEvent> b = makePart("b", 100, 1);
  FRef<MPartEvent> c = makePart("c", 200, 1);
  for (auto* p : {a.get(), b.get(), c.get()}) track->list().insert(FRef<MEvent>::share(p));
  ASSERT_TRUE(a->setProperty("start", 300.0));
  ASSERT_EQ(track->list().size(), 3u);
  EXPECT_EQ(track->list().at(0), b.get());
  EXPECT_EQ(track->list().at(1), c.get());
  EXPECT_EQ(track->list().at(2), a.get());
  EXPECT_EQ(a->getParent(), track.get());
  // A read-only node refuses the move.
  track->setReadOnly(true);
  EXPECT_FALSE(c->setProperty("start", 0.0));
  EXPECT_EQ(c->getStart(), 200);
  EXPECT_EQ(track->list().indexOf(c.get()), 1u);
}

TEST_F(TreePart, PartNodesAndAccessors) {
  auto audio = makeRef<MAudioPartEvent>();
  audio->setName("Take");
  FRef<MAccessor> writer = audio->getNode()->getWriteAccessor();
  ASSERT_TRUE(writer);
  EXPECT_TRUE(writer->insert(makeRef<TreeTestNote>(480, 10, 1)));
  EXPECT_TRUE(writer->insert(makeRef<TreeTestNote>(0, 10, 2)));
  EXPECT_EQ(static_cast<TreeTestNote*>(writer->at(0))->pitch(), 2);
  FRef<MAccessor> reader = audio->getNode()->getReadAccessor();
  EXPECT_FALSE(reader->insert(makeRef<TreeTestNote>(0, 10, 3)));
  EXPECT_EQ(reader->count(), 2u);
  // A group holds parts.
  auto group = makeRef<MGroupEvent>();
  group->setName("Both");
  EXPECT_TRUE(group->getNode()->getWriteAccessor()->insert(audio));
  EXPECT_EQ(audio->getParent(), group->getNode());
}

TEST_F(TreePart, VirtualGroupsHoldMembersByID) {
  auto first = makeRef<MFolderDataEvent>();
  auto second = makeRef<MFolderDataEvent>();
  auto group = makeRef<MVirtualGroup>();
  EXPECT_FALSE(group->addMember(first.get()));  // no ID yet
  first->setID(11);
  second->setID(12);
  EXPECT_TRUE(group->addMember(first.get()));
  EXPECT_FALSE(group->addMember(first.get()));
  FRef<MAccessor> writer = group->getWriteAccessor();
  EXPECT_TRUE(writer->insert(second));
  EXPECT_EQ(writer->count(), 2u);
  EXPECT_EQ(writer->indexOf(second.get()), 1u);
  EXPECT_EQ(group->memberIDs(), (std::vector<uint32_t>{11, 12}));
  EXPECT_EQ(writer->remove(first.get()).get(), first.get());
  EXPECT_EQ(group->memberIDs(), (std::vector<uint32_t>{12}));
  EXPECT_FALSE(group->getReadAccessor()->remove(second.get()));
  // The group's own placement cannot be a member.
  auto placement = makeRef<MVirtualGroupEvent>();
  placement->setNode(group);
  placement->setID(13);
  EXPECT_FALSE(group->addMember(placement.get()));
  EXPECT_EQ(placement->getGroup(), group.get());
}

TEST_F(TreePart, EditContextSelectsAndGathersCandidates) {
  FRef<MPartEvent> part = makePart("P", 0, 3);
  MDataNode* content = part->getNode();
  MEvent* n0 = content->events()->at(0);
  MEvent* n1 = content->events()->at(1);
  MEvent* n2 = content->events()->at(2);
  {
    MEditContext context;
    context.setTargetNode(FRef<MDataNode>::share(content));
    // Nothing selected: every event of the target node.
    EXPECT_EQ(context.getCandidates().size(), 3u);
    EXPECT_TRUE(context.select(n2));
    EXPECT_FALSE(context.select(n2));
    EXPECT_TRUE(context.select(n0));
    EXPECT_TRUE(n2->hasFlag(MEventFlag::kSelected));
    MEditCandidateList candidates = context.getCandidates();
    ASSERT_EQ(candidates.size(), 2u);
    EXPECT_EQ(candidates.at(0), n2);
    EXPECT_EQ(candidates.at(1), n0);
    EXPECT_FALSE(candidates.contains(n1));
    n0->setFlag(MEventFlag::kLocked, true);
    EXPECT_EQ(candidates.removeLocked(), 1u);
    EXPECT_FALSE(candidates.contains(n0));
    EXPECT_TRUE(context.deselect(n2));
    EXPECT_FALSE(context.deselect(n2));
    EXPECT_FALSE(n2->hasFlag(MEventFlag::kSelected));
    EXPECT_TRUE(context.isSelected(n0));
  }
  // The context cleared the flag of what it still had selected.
  EXPECT_FALSE(n0->hasFlag(MEventFlag::kSelected));
}

TEST_F(TreePart, PlayContextRange) {
  MPlayContext play;
  EXPECT_TRUE(play.setRange(1920, 3840));
  EXPECT_TRUE(play.contains(1920));
  EXPECT_FALSE(play.contains(3840));  // the end is outside
  EXPECT_FALSE(play.setRange(10, 5));
  EXPECT_FALSE(play.setRange(0, std::numeric_limits<double>::infinity()));
  EXPECT_EQ(play.getStart(), 1920);
  EXPECT_EQ(play.getEnd(), 3840);
}

TEST_F(TreePart, ControllersGuardLockedEventsAndNameParts) {
  FRef<MPartEvent> part = makePart("Verse", 0, 1);
  FRef<MEventController> controller = MEventController::forEvent(*part);
  EXPECT_TRUE(controller->isClass("MPartController"));
  EXPECT_TRUE(controller->canMove(*part));
  EXPECT_EQ(controller->getName(*part), "Verse");
  EXPECT_TRUE(controller->setName(*part, "Bridge"));
  EXPECT_EQ(part->getName(), "Bridge");
  part->setFlag(MEventFlag::kLocked, true);
  EXPECT_FALSE(controller->canMove(*part));
  EXPECT_FALSE(controller->canResize(*part));
  EXPECT_FALSE(controller->setName(*part, "Locked"));
  EXPECT_EQ(part->getName(), "Bridge");

  auto track = MProject::createTrack("Audio", "Guitar");
  FRef<MEventController> trackController = MEventController::forEvent(*track);
  EXPECT_TRUE(trackController->isClass("MEventController"));
  EXPECT_TRUE(trackController->setName(*track, "Bass"));
  EXPECT_EQ(track->getName(), "Bass");
  auto note = makeRef<TreeTestNote>(0, 1, 1);
  EXPECT_FALSE(trackController->setName(*note, "x"));
  EXPECT_EQ(trackController->getName(*note), "");
}

}  // namespace
}  // namespace vantor
