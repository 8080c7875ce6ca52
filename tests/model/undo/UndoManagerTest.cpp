#include "model/undo/GUndoManager.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "foundation/FClock.h"
#include "foundation/FUserMessages.h"
#include "model/CommandTestSupport.h"
#include "model/edit/MMoveCommand.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace vantor {
namespace {

using cmdtest::LogCommand;

using cmdtest::Listener;

class UndoManagerFixture : public cmdtest::UndoLimitTest {
 protected:
  FRef<MCommand> log(const std::string& name) { return FRef<MCommand>(new LogCommand(&log_, name)); }
  // A nudge of event to start (a command that unites with nudges of the
  // same event).
  static FRef<MCommand> nudge(MEvent* event, double start) {
    return FRef<MCommand>(new MSimpleMoveCommand(FRef<MEvent>::share(event), start));
  }
  static std::vector<std::string> descriptions(const std::list<FRef<GUndoAction>>& stack) {
    std::vector<std::string> out;
    for (const auto& action : stack) out.push_back(action->getActionDescription());
    return out;
  }

  FManualClock clock_;
  std::vector<std::string> log_;
};

TEST_F(UndoManagerFixture, NudgesUniteWhileEachFollowsTheLastMergeWithin800Ms) {
  FRef<MListNode> node = makeRef<MListNode>();
  MEvent* event = cmdtest::put(*node, cmdtest::makeEvent(0, 480));
  GUndoManager manager(clock_);
  // Nudges 700 ms apart: each is within 800 ms of the previous merge, so a
  // long run of them stays one entry although it lasts 2.1 s.
  for (int i = 1; i <= 4; ++i) {
    ASSERT_TRUE(manager.perform(nudge(event, 10.0 * i)));
    clock_.advance(700);
  }
  EXPECT_EQ(manager.undoCount(), 1u);
  // 799 ms still unites; 800 ms does not ("fewer than 800 ms").
  clock_.advance(99);
  ASSERT_TRUE(manager.perform(nudge(event, 50)));
  EXPECT_EQ(manager.undoCount(), 1u);
  clock_.advance(800);
  ASSERT_TRUE(manager.perform(nudge(event, 60)));
  EXPECT_EQ(manager.undoCount(), 2u);

  // One undo takes back the late nudge; the next all united ones.
  ASSERT_TRUE(manager.undo());
  EXPECT_EQ(event->getStart(), 50);
  ASSERT_TRUE(manager.undo());
  EXPECT_EQ(event->getStart(), 0);
  EXPECT_FALSE(manager.undo());
  // Redo runs the united entry to its last value.
  ASSERT_TRUE(manager.redo());
  EXPECT_EQ(event->getStart(), 50);
}

TEST_F(UndoManagerFixture, CommandsThatDoNotUniteStayApartInsideTheWindow) {
  FRef<MListNode> node = makeRef<MListNode>();
  MEvent* a = cmdtest::put(*node, cmdtest::makeEvent(0, 480));
  MEvent* b = cmdtest::put(*node, cmdtest::makeEvent(960, 480));
  GUndoManager manager(clock_);
  ASSERT_TRUE(manager.perform(nudge(a, 10)));
  ASSERT_TRUE(manager.perform(nudge(b, 970)));  // another event
  ASSERT_TRUE(manager.perform(log("one")));     // LogCommand never unites
  ASSERT_TRUE(manager.perform(log("two")));
  EXPECT_EQ(manager.undoCount(), 4u);
  // Nudges of one event with different targets do not unite either.
  FRef<MListNode> target = makeRef<MListNode>();
  ASSERT_TRUE(manager.perform(nudge(b, 980), target.get()));
  ASSERT_TRUE(manager.perform(nudge(b, 990), nullptr));
  EXPECT_EQ(manager.undoCount(), 6u);
}

TEST_F(UndoManagerFixture, TheLimitDropsTheOldestButEveryActionRuns) {
  struct Row {
    int limit;
    std::vector<std::string> kept;
  };
  const Row rows[] = {{3, {"d", "c", "b"}}, {1, {"d"}}, {0, {}}};
  for (const Row& row : rows) {
    setUndoLimit(row.limit);
    log_.clear();
    GUndoManager manager(clock_);
    for (const char* name : {"a", "b", "c", "d"}) {
      ASSERT_TRUE(manager.perform(log(name)));
      clock_.advance(1000);
    }
    EXPECT_EQ(descriptions(manager.undoStack()), row.kept) << row.limit;
    EXPECT_EQ(log_, (std::vector<std::string>{"perform a", "perform b", "perform c", "perform d"})) << row.limit;
  }
}

TEST_F(UndoManagerFixture, ALowerLimitTrimsAtTheNextRecording) {
  GUndoManager manager(clock_);
  for (const char* name : {"a", "b", "c", "d", "e"}) ASSERT_TRUE(manager.perform(log(name)));
  EXPECT_EQ(manager.undoCount(), 5u);
  setUndoLimit(2);
  EXPECT_EQ(manager.undoCount(), 5u);
  ASSERT_TRUE(manager.perform(log("f")));
  EXPECT_EQ(descriptions(manager.undoStack()), (std::vector<std::string>{"f", "e"}));
}

TEST_F(UndoManagerFixture, AMergedActionLeavesTheRedoList) {
  FRef<MListNode> node = makeRef<MListNode>();
  MEvent* event = cmdtest::put(*node, cmdtest::makeEvent(0, 480));
  GUndoManager manager(clock_);
  ASSERT_TRUE(manager.perform(nudge(event, 10)));  // t = 0
  clock_.advance(100);
  ASSERT_TRUE(manager.perform(log("x")));  // t = 100
  clock_.advance(100);
  ASSERT_TRUE(manager.undo());  // "x" goes to the redo list; the stamp stays 100
  ASSERT_EQ(manager.redoCount(), 1u);
  clock_.advance(100);
  // t = 300: within 800 ms of the last recording, and the undo list's newest
  // is the nudge of the same event: it unites, and the redo list stays.
  ASSERT_TRUE(manager.perform(nudge(event, 20)));
  EXPECT_EQ(manager.undoCount(), 1u);
  EXPECT_EQ(descriptions(manager.redoStack()), (std::vector<std::string>{"x"}));
  ASSERT_TRUE(manager.undo());
  EXPECT_EQ(event->getStart(), 0);
}

TEST_F(UndoManagerFixture, AFailedCommandIsNotRecordedAndChangesNothing) {
  GUndoManager manager(clock_);
  ASSERT_TRUE(manager.perform(log("a")));
  ASSERT_TRUE(manager.perform(log("b")));
  ASSERT_TRUE(manager.undo());
  FRef<LogCommand> failing(new LogCommand(&log_, "f"));
  failing->failPerform = true;
  EXPECT_FALSE(manager.perform(failing));
  EXPECT_EQ(failing->state(), MCommand::kStateNew);
  EXPECT_EQ(descriptions(manager.undoStack()), (std::vector<std::string>{"a"}));
  EXPECT_EQ(descriptions(manager.redoStack()), (std::vector<std::string>{"b"}));
  EXPECT_FALSE(manager.perform(nullptr));
  manager.clear();
  EXPECT_FALSE(manager.canUndo());
  EXPECT_FALSE(manager.canRedo());
}

TEST_F(UndoManagerFixture, AnUndoThatFailsKeepsTheAction) {
  GUndoManager manager(clock_);
  FRef<LogCommand> command(new LogCommand(&log_, "a"));
  ASSERT_TRUE(manager.perform(command));
  command->failUndo = true;
  EXPECT_FALSE(manager.undo());
  EXPECT_EQ(manager.undoCount(), 1u);
  EXPECT_EQ(manager.redoCount(), 0u);
  EXPECT_TRUE(manager.undoStack().front()->isPerformed());
  command->failUndo = false;
  ASSERT_TRUE(manager.undo());
  EXPECT_FALSE(manager.redoStack().front()->isPerformed());
}

TEST_F(UndoManagerFixture, MenuTextsNameTheNewestActions) {
  GUndoManager manager(clock_);
  EXPECT_EQ(manager.undoText(), "Undo");
  EXPECT_EQ(manager.redoText(), "Redo");
  ASSERT_TRUE(manager.perform(log("Quantize")));
  ASSERT_TRUE(manager.perform(log("Split"), nullptr, "Split Parts"));
  EXPECT_EQ(manager.undoText(), "Undo Split Parts");
  ASSERT_TRUE(manager.undo());
  EXPECT_EQ(manager.undoText(), "Undo Quantize");
  EXPECT_EQ(manager.redoText(), "Redo Split Parts");
  EXPECT_EQ(manager.redoStack().front()->getActionDescription(), "Split Parts");
}

TEST_F(UndoManagerFixture, DependentsHearOfRecordingsButNotOfMerges) {
  FRef<MListNode> node = makeRef<MListNode>();
  MEvent* event = cmdtest::put(*node, cmdtest::makeEvent(0, 480));
  GUndoManager manager(clock_);
  Listener listener;
  ASSERT_TRUE(manager.addDependent(&listener));
  ASSERT_TRUE(manager.perform(nudge(event, 10)));
  ASSERT_TRUE(manager.perform(nudge(event, 20)));  // merged: no message
  EXPECT_EQ(listener.messages, (std::vector<int>{1000}));
  ASSERT_TRUE(manager.undo());
  ASSERT_TRUE(manager.redo());
  EXPECT_EQ(listener.messages, (std::vector<int>{1000, 1000, 1000}));
  manager.removeDependent(&listener);
}

// Runs a hook on each of its steps.
class HookCommand : public MCommand {
 public:
  explicit HookCommand(std::function<void()> hook) : hook_(std::move(hook)) {}
  std::string description() const override { return "Hook"; }

 protected:
  bool doPerform() override { return run(); }
  bool doUndo() override { return run(); }
  bool doRedo() override { return run(); }

 private:
  bool run() {
    hook_();
    return true;
  }
  std::function<void()> hook_;
};

TEST_F(UndoManagerFixture, DeferredNotificationsAreDeliveredAfterEachStep) {
  GUndoManager manager(clock_);
  FRef<MListNode> subject = makeRef<MListNode>();
  Listener listener;
  ASSERT_TRUE(subject->addDependent(&listener));
  ASSERT_TRUE(manager.perform(FRef<MCommand>(new HookCommand([&] { subject->deferChanged(77); }))));
  EXPECT_EQ(listener.messages, (std::vector<int>{77}));
  ASSERT_TRUE(manager.undo());
  ASSERT_TRUE(manager.redo());
  EXPECT_EQ(listener.messages, (std::vector<int>{77, 77, 77}));
  subject->removeDependent(&listener);
}

TEST_F(UndoManagerFixture, CommandsOfAProjectRunUnderTheWriteSide) {
  FRef<MRoot> root = MProject::createNew();
  ASSERT_TRUE(root);
  GUndoManager manager(clock_);
  std::vector<int> depths;
  // Notes the root updater's write depth on each step.
  const auto noteDepth = [&] {
    return FRef<MCommand>(new HookCommand([&] { depths.push_back(root->getUpdater().writeDepth()); }));
  };
  ASSERT_TRUE(manager.perform(noteDepth(), root.get()));
  ASSERT_TRUE(manager.undo());
  ASSERT_TRUE(manager.redo());
  // Without the root as target nothing is locked.
  ASSERT_TRUE(manager.perform(noteDepth()));
  EXPECT_EQ(depths, (std::vector<int>{1, 1, 1, 0}));
  EXPECT_EQ(root->getUpdater().writeDepth(), 0);
  // The action holds its target.
  EXPECT_EQ(manager.redoCount(), 0u);
  EXPECT_EQ(manager.undoStack().back()->getEdit(), root.get());
}

TEST_F(UndoManagerFixture, MaximumUndoControlPositionsMapToLimits) {
  // The control runs 0..1000; its top means unlimited (-1).
  struct Row {
    int control;
    int limit;
  };
  const Row rows[] = {{0, 0}, {1, 1}, {3, 3}, {999, 999}, {1000, -1}, {5000, -1}, {-7, 0}};
  for (const Row& row : rows) EXPECT_EQ(GMaxUndoValue::limitFor(row.control), row.limit) << row.control;
  EXPECT_EQ(GMaxUndoValue::controlValueFor(-1), 1000);
  EXPECT_EQ(GMaxUndoValue::controlValueFor(20), 20);
  EXPECT_EQ(GMaxUndoValue::controlValueFor(1000), 1000);

  GUndoManager::applyMaximumUndo(GMaxUndoValue::kDefault);
  EXPECT_EQ(GUndoManager::limit(), GUndoManager::kUnlimited);
  GUndoManager::applyMaximumUndo(25);
  EXPECT_EQ(GUndoManager::limit(), 25);
}

TEST(GUndoManagerWarnings, TextsAndQuestion) {
  FCapturedMessages messages;
  // Without an answer the default is "No": the operation does not run.
  EXPECT_FALSE(confirmIrreversible(messages));
  messages.queueAnswer(0);
  EXPECT_TRUE(confirmIrreversible(messages, kCannotUndoOperationWarning));
  messages.queueAnswer(1);
  EXPECT_FALSE(confirmIrreversible(messages, kCannotUndoWarning));
  EXPECT_EQ(messages.questions(),
            (std::vector<std::string>{"Are you sure? You can not undo this!",
                                      "Warning: You can not undo this operation!", "Warning: You can not undo this!"}));
}

}  // namespace
}  // namespace vantor
