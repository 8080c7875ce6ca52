#include "model/edit/MTrackCommands.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/CommandTestSupport.h"
#include "model/edit/MSizeCommand.h"
#include "model/edit/MVGroupCommands.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace vantor {
namespace {

class CommandTrack : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdtest::initializeCommandTests();
    root_ = MProject::createNew();
    ASSERT_TRUE(root_);
    project_ = root_->getProject();
    for (const char* name : {"A", "B", "C", "D"}) {
      FRef<MTrackEvent> track = MProject::createTrack("MIDI", name);
      ASSERT_TRUE(project_->addTrack(track));
    }
  }
  MTrackList& list() { return *project_->getTrackList(); }
  std::string names() {
    std::string out;
    for (size_t i = 0; i < list().count(); ++i) out += list().at(i)->getName();
    return out;
  }
  FRef<MTrackEvent> track(size_t index) { return FRef<MTrackEvent>::share(list().at(index)); }
  FRef<MTrackList> listRef() { return FRef<MTrackList>::share(&list()); }

  FRef<MRoot> root_;
  MProject* project_ = nullptr;
};

TEST_F(CommandTrack, InsertTrackAtAnIndex) {
  FRef<MTrackEvent> extra = MProject::createTrack("Audio", "X");
  FRef<MInsertTrackCommand> insert(new MInsertTrackCommand(listRef(), extra, 1));
  EXPECT_EQ(insert->description(), "Add Track");
  ASSERT_TRUE(insert->perform());
  EXPECT_EQ(names(), "AXBCD");
  // A track already in a list, or a read-only list, is refused.
  EXPECT_FALSE(MInsertTrackCommand(listRef(), extra, 0).perform());
  // Without an index: appended.
  FRef<MInsertTrackCommand> append(new MInsertTrackCommand(listRef(), MProject::createTrack("MIDI", "E")));
  ASSERT_TRUE(append->perform());
  EXPECT_EQ(names(), "AXBCDE");
  list().setReadOnly(true);
  EXPECT_FALSE(MInsertTrackCommand(listRef(), MProject::createTrack("MIDI", "Y"), 0).perform());
}

TEST_F(CommandTrack, RemovingSeveralTracksRestoresEveryIndex) {
  FRef<MRemoveTrackCommand> remove(new MRemoveTrackCommand({track(3), track(0), track(2)}));
  EXPECT_EQ(remove->description(), "Remove Tracks");
  ASSERT_TRUE(remove->perform());
  EXPECT_EQ(names(), "B");
  ASSERT_TRUE(remove->undo());
  EXPECT_EQ(names(), "ABCD");
  ASSERT_TRUE(remove->redo());
  EXPECT_EQ(names(), "B");
  EXPECT_EQ(MRemoveTrackCommand(track(0)).description(), "Remove Track");
}

TEST_F(CommandTrack, MoveTrackExchangesTheIndexAndDragsUnite) {
  FRef<MTrackEvent> a = track(0);
  FRef<MMoveTrackCommand> move(new MMoveTrackCommand(a, 2));
  EXPECT_EQ(move->description(), "Move Track");
  ASSERT_TRUE(move->perform());
  EXPECT_EQ(names(), "BCAD");
  FRef<MMoveTrackCommand> further(new MMoveTrackCommand(a, 99));  // clamped to the last place
  ASSERT_TRUE(further->perform());
  EXPECT_EQ(names(), "BCDA");
  ASSERT_TRUE(move->unite(*further));
  ASSERT_TRUE(move->undo());
  EXPECT_EQ(names(), "ABCD");
  ASSERT_TRUE(move->redo());
  EXPECT_EQ(names(), "BCDA");
  EXPECT_FALSE(move->unite(MMoveTrackCommand(track(0), 1)));
}

TEST_F(CommandTrack, SizingATrackEventKeepsItsPlaceInTheList) {
  // Track lists are ordered by index; a start change must not reorder them.
  FRef<MTrackEvent> b = track(1);
  FRef<MSizeCommand> size(new MSizeCommand(FRef<MEvent>(b), FRef<MDataNode>(listRef()), 5000, 10, 0));
  ASSERT_TRUE(size->perform());
  EXPECT_EQ(names(), "ABCD");
  EXPECT_EQ(b->getStart(), 5000);
}

TEST_F(CommandTrack, VirtualGroupsAreCreatedAndDissolved) {
  auto verse = makeRef<MPartEvent>();
  verse->setName("Verse");
  verse->setStart(0);
  verse->setLength(1920);
  auto chorus = makeRef<MPartEvent>();
  chorus->setName("Chorus");
  chorus->setStart(960);
  chorus->setLength(3840);
  ASSERT_TRUE(project_->addPart(list().at(0), verse));
  ASSERT_TRUE(project_->addPart(list().at(1), chorus));
  FRef<MDataNode> holder = FRef<MDataNode>::share(project_);
  const size_t before = project_->list().size();

  FRef<MVGroupCreateCommand> create(
      new MVGroupCreateCommand(holder, {FRef<MEvent>(verse), FRef<MEvent>(chorus)}, "Hook"));
  EXPECT_EQ(create->description(), "Create Group");
  ASSERT_TRUE(create->perform());
  MVirtualGroupEvent* placement = create->groupEvent();
  ASSERT_NE(placement, nullptr);
  EXPECT_EQ(placement->getParent(), project_);
  // It spans the members: 0 .. max(1920, 960 + 3840 = 4800).
  EXPECT_EQ(placement->getStart(), 0);
  EXPECT_EQ(placement->getLength(), 4800);
  MVirtualGroup* group = create->group();
  EXPECT_EQ(group->getName(), "Hook");
  EXPECT_EQ(group->memberCount(), 2u);
  EXPECT_EQ(group->memberAt(0), verse.get());
  EXPECT_EQ(project_->list().size(), before + 1);

  FRef<MVGroupRemoveCommand> dissolve(new MVGroupRemoveCommand(FRef<MEvent>::share(placement)));
  EXPECT_EQ(dissolve->description(), "Dissolve Group");
  ASSERT_TRUE(dissolve->perform());
  EXPECT_EQ(project_->list().size(), before);
  EXPECT_EQ(verse->getParent(), list().at(0)->getNode());  // members stay
  ASSERT_TRUE(dissolve->undo());
  EXPECT_EQ(placement->getParent(), project_);
  EXPECT_EQ(placement->getGroup()->memberCount(), 2u);

  ASSERT_TRUE(create->undo());  // after the dissolve was undone
  EXPECT_EQ(project_->list().size(), before);
  ASSERT_TRUE(create->redo());
  EXPECT_EQ(create->groupEvent(), placement);
  // Not a group placement; members without IDs; fewer than two members.
  EXPECT_FALSE(MVGroupRemoveCommand(FRef<MEvent>(verse)).perform());
  EXPECT_FALSE(MVGroupCreateCommand(holder, {FRef<MEvent>(verse), cmdtest::makeEvent(0, 1)}, "x").perform());
  EXPECT_FALSE(MVGroupCreateCommand(holder, {FRef<MEvent>(verse)}, "x").perform());
}

}  // namespace
}  // namespace vantor
