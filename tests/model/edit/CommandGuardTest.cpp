// The rules that commands keep by themselves, so every front end gets them:
// the controller of an event's class refuses edits (a locked part), a track
// takes only what its kind holds, events inside a part lie within it and
// hold nothing, and new events get their IDs inside the command.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "model/CommandTestSupport.h"
#include "model/TreeTestSupport.h"
#include "model/edit/MAttributeCommands.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MSizeCommand.h"
#include "model/edit/MTrackCommands.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
namespace {

class CommandGuard : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdtest::initializeCommandTests();
    treetest::initializeTreeTests();
    root_ = MProject::createNew();
    ASSERT_TRUE(root_);
    midi_ = MProject::createTrack("MIDI", "Keys");
    audio_ = MProject::createTrack("Audio", "Voice");
    ASSERT_TRUE(project().addTrack(midi_) && project().addTrack(audio_));
    part_ = treetest::makePart("Verse", 1920, 4);
    part_->setLength(3840);
    ASSERT_TRUE(project().addPart(midi_.get(), part_));
  }
  MProject& project() { return *root_->getProject(); }
  // Performs through the undo history on the project's root, as every front
  // end does.
  bool perform(FRef<MCommand> command) { return history_.perform(std::move(command), root_.get()); }
  std::vector<uint8_t> bytes() { return cmdtest::snapshot(root_.get()); }

  FManualClock clock_;
  GUndoManager history_{clock_};
  FRef<MRoot> root_;
  FRef<MTrackEvent> midi_;
  FRef<MTrackEvent> audio_;
  FRef<MPartEvent> part_;
};

TEST_F(CommandGuard, ALockedPartRefusesMovesResizesAndRenamesWithItsReason) {
  FRef<MEvent> part(part_);
  FRef<MDataNode> track = FRef<MDataNode>::share(midi_->getNode());
  using Make = std::function<FRef<MCommand>()>;
  const std::vector<std::pair<const char*, Make>> edits = {
      {"rename", [&] { return FRef<MCommand>(new MRenameCommand(part, "Chorus")); }},
      {"move", [&] { return FRef<MCommand>(new MSimpleMoveCommand(part, 0)); }},
      {"nudge", [&] { return FRef<MCommand>(new MMoveInsideCommand({part}, 480)); }},
      {"move onto a track", [&] { return FRef<MCommand>(new MMoveCommand({part}, track, 480)); }},
      {"size start", [&] { return FRef<MCommand>(new MSizeStartCommand(part, track, 2400)); }},
      {"size end", [&] { return FRef<MCommand>(new MSizeEndCommand(part, track, 7680)); }},
      {"length", [&] { return FRef<MCommand>(new MLengthCommand(part, track, 960)); }},
      {"move end", [&] { return FRef<MCommand>(new MMoveEndCommand(part, track, 7680)); }},
      {"split", [&] { return FRef<MCommand>(new MSplitCommand(track, {part}, 2880)); }},
  };
  ASSERT_TRUE(perform(makeRef<MEditLockCommand>(std::vector<FRef<MEvent>>{part}, true)));
  const std::vector<uint8_t> locked = bytes();
  for (const auto& [what, make] : edits) {
    FRef<MCommand> command = make();
    EXPECT_FALSE(perform(command)) << what;
    EXPECT_EQ(command->failure(), "part \"Verse\" is locked; unlock it first") << what;
    EXPECT_EQ(bytes(), locked) << what;
  }
  EXPECT_EQ(history_.undoCount(), 1u);
  // Unlocked, each edit goes through and undoes to the same bytes.
  ASSERT_TRUE(history_.undo());
  const std::vector<uint8_t> unlocked = bytes();
  for (const auto& [what, make] : edits) {
    clock_.advance(1000);
    EXPECT_TRUE(perform(make())) << what;
    ASSERT_TRUE(history_.undo()) << what;
    EXPECT_EQ(bytes(), unlocked) << what;
  }
}

TEST_F(CommandGuard, TracksTakeOnlyWhatTheirKindHolds) {
  struct Case {
    const char* kind;
    bool audioPart;
    const char* refusal;  // nullptr: taken
  };
  const Case cases[] = {
      {"MIDI", false, nullptr},
      {"MIDI", true, "\"T\" holds only MIDI parts"},
      {"Audio", true, nullptr},
      {"Audio", false, "\"T\" holds only audio parts"},
      {"Marker", false, "\"T\" holds only markers"},
      {"Video", false, "\"T\" holds only video events"},
      {"Group Channel", false, "\"T\" holds only automation"},
      {"Master Automation", true, "\"T\" holds only automation"},
  };
  for (const Case& c : cases) {
    FRef<MTrackEvent> track = MProject::createTrack(c.kind, "T");
    ASSERT_TRUE(perform(makeRef<MInsertTrackCommand>(FRef<MTrackList>::share(project().getTrackList()), track)));
    FRef<MPartEvent> part = c.audioPart ? FRef<MPartEvent>(makeRef<MAudioPartEvent>()) : makeRef<MPartEvent>();
    part->setLength(480);
    auto insert = makeRef<MInsertCommand>(FRef<MEvent>(track), FRef<MEvent>(part));
    EXPECT_EQ(perform(insert), c.refusal == nullptr) << c.kind;
    EXPECT_EQ(insert->failure(), c.refusal != nullptr ? c.refusal : "") << c.kind;
    // Moving the MIDI part of the fixture there follows the same rule.
    auto move = makeRef<MMoveCommand>(std::vector<FRef<MEvent>>{part_}, FRef<MDataNode>::share(track->getNode()), 0);
    const bool takesMidi = std::string(c.kind) == "MIDI";
    EXPECT_EQ(perform(move), takesMidi) << c.kind;
    if (takesMidi) {
      ASSERT_TRUE(history_.undo());
    }
    EXPECT_EQ(part_->getParent(), midi_->getNode()) << c.kind;
  }
}

TEST_F(CommandGuard, EventsInsideAPartLieWithinItAndHoldNothing) {
  // The part lies at 1920 with offset 0 and length 3840: inside it,
  // positions count from its content origin 1920 - 0, so 0 to 3840 fits.
  struct Case {
    double start, length;
    bool fits;
  };
  for (const Case& c : {Case{0, 480, true}, Case{3360, 480, true}, Case{-1, 480, false}, Case{3600, 480, false}}) {
    auto event = makeRef<MPartEvent>();
    event->setStart(c.start);
    event->setLength(c.length);
    auto insert = makeRef<MInsertCommand>(FRef<MEvent>(part_), FRef<MEvent>(event));
    EXPECT_EQ(perform(insert), c.fits) << c.start;
    if (!c.fits) {
      EXPECT_EQ(insert->failure(), "an event must lie inside part \"Verse\"");
      continue;
    }
    // One level down nothing more goes in: no reference reaches it.
    auto deeper = makeRef<MInsertCommand>(FRef<MEvent>(event), cmdtest::makeEvent(0, 10));
    EXPECT_FALSE(perform(deeper));
    EXPECT_NE(deeper->failure().find("lies inside a part and holds no events"), std::string::npos);
    ASSERT_TRUE(history_.undo());
  }
}

TEST_F(CommandGuard, NewEventsGetTheirIDsInsideTheCommand) {
  // A part with notes, inserted onto a track that has lost its content:
  // the command gives the track a node, and the part and every note an ID.
  auto bare = makeRef<MMidiTrackEvent>();
  ASSERT_TRUE(perform(makeRef<MInsertTrackCommand>(FRef<MTrackList>::share(project().getTrackList()), bare)));
  EXPECT_NE(bare->getID(), 0u);
  ASSERT_EQ(bare->getNode(), nullptr);
  FRef<MPartEvent> part = treetest::makePart("New", 0, 3);
  ASSERT_TRUE(perform(makeRef<MInsertCommand>(FRef<MEvent>(bare), FRef<MEvent>(part))));
  ASSERT_NE(bare->getNode(), nullptr);
  const auto allRegistered = [&] {
    bool all = project().findEvent(part->getID()) == part.get();
    for (const auto& note : *part->getNode()->events()) all = all && project().findEvent(note->getID()) == note.get();
    return all;
  };
  EXPECT_TRUE(allRegistered());
  const uint32_t id = part->getID();
  ASSERT_TRUE(history_.undo());
  EXPECT_EQ(bare->getNode(), nullptr);  // the content given goes with the undo
  ASSERT_TRUE(history_.redo());
  EXPECT_EQ(part->getID(), id);
  EXPECT_TRUE(allRegistered());
  // The pieces of a split are new events too.
  auto split = makeRef<MSplitCommand>(FRef<MDataNode>::share(bare->getNode()), std::vector<FRef<MEvent>>{part}, 120);
  ASSERT_TRUE(perform(split));
  for (const auto& piece : split->newPlaces()) {
    EXPECT_NE(piece.event->getID(), 0u);
    EXPECT_EQ(project().findEvent(piece.event->getID()), piece.event.get());
  }
}

}  // namespace
}  // namespace vantor
