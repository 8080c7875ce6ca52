#include "model/undo/MCommand.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/CommandTestSupport.h"

namespace vantor {
namespace {

using cmdtest::LogCommand;
using Log = std::vector<std::string>;

class CommandMacro : public cmdtest::UndoLimitTest {
 protected:
  FRef<LogCommand> sub(const std::string& name) { return FRef<LogCommand>(new LogCommand(&log_, name)); }
  std::vector<uint16_t> states(const MMacroCommand& macro) {
    std::vector<uint16_t> out;
    for (const auto& command : macro.commands()) out.push_back(command->state());
    return out;
  }

  Log log_;
};

TEST_F(CommandMacro, PerformsFirstToLastAndUndoesLastToFirst) {
  FRef<MMacroCommand> macro = makeRef<MMacroCommand>();
  for (const char* name : {"1", "2", "3"}) ASSERT_TRUE(macro->add(sub(name)));
  // Without a description of its own the macro takes its first command's.
  EXPECT_EQ(macro->description(), "1");
  ASSERT_TRUE(macro->perform());
  EXPECT_EQ(states(*macro), (std::vector<uint16_t>{1, 1, 1}));
  ASSERT_TRUE(macro->undo());
  EXPECT_EQ(states(*macro), (std::vector<uint16_t>{2, 2, 2}));
  ASSERT_TRUE(macro->redo());
  EXPECT_EQ(states(*macro), (std::vector<uint16_t>{1, 1, 1}));
  EXPECT_EQ(log_,
            (Log{"perform 1", "perform 2", "perform 3", "undo 3", "undo 2", "undo 1", "redo 1", "redo 2", "redo 3"}));
}

TEST_F(CommandMacro, EmptyMacroDoesNothing) {
  FRef<MMacroCommand> macro = makeRef<MMacroCommand>();
  EXPECT_TRUE(macro->empty());
  ASSERT_TRUE(macro->perform());
  ASSERT_TRUE(macro->undo());
  ASSERT_TRUE(macro->redo());
  EXPECT_TRUE(log_.empty());
  EXPECT_EQ(macro->description(), "Macro");
}

TEST_F(CommandMacro, AFailingSubCommandTakesBackThoseBefore) {
  FRef<MMacroCommand> macro = makeRef<MMacroCommand>("Edit");
  FRef<LogCommand> bad = sub("2");
  bad->failPerform = true;
  ASSERT_TRUE(macro->add(sub("1")));
  ASSERT_TRUE(macro->add(bad));
  ASSERT_TRUE(macro->add(sub("3")));
  EXPECT_FALSE(macro->perform());
  EXPECT_EQ(macro->state(), MCommand::kStateNew);
  EXPECT_EQ(log_, (Log{"perform 1", "undo 1"}));
  // Once the obstacle is gone the same macro performs (the first sub-command
  // redoes, the others perform).
  bad->failPerform = false;
  log_.clear();
  ASSERT_TRUE(macro->perform());
  EXPECT_EQ(log_, (Log{"redo 1", "perform 2", "perform 3"}));
  EXPECT_EQ(states(*macro), (std::vector<uint16_t>{1, 1, 1}));
}

TEST_F(CommandMacro, AFailingUndoRedoesThoseAlreadyUndone) {
  FRef<MMacroCommand> macro = makeRef<MMacroCommand>("Edit");
  FRef<LogCommand> stubborn = sub("1");
  ASSERT_TRUE(macro->add(stubborn));
  ASSERT_TRUE(macro->add(sub("2")));
  ASSERT_TRUE(macro->add(sub("3")));
  ASSERT_TRUE(macro->perform());
  stubborn->failUndo = true;
  log_.clear();
  EXPECT_FALSE(macro->undo());
  EXPECT_EQ(log_, (Log{"undo 3", "undo 2", "redo 2", "redo 3"}));
  EXPECT_EQ(macro->state(), MCommand::kStatePerformed);
  EXPECT_EQ(states(*macro), (std::vector<uint16_t>{1, 1, 1}));
}

TEST_F(CommandMacro, StateWordGuardsTheOrderOfSteps) {
  FRef<LogCommand> command = sub("x");
  EXPECT_FALSE(command->undo());
  EXPECT_FALSE(command->redo());
  ASSERT_TRUE(command->perform());
  EXPECT_FALSE(command->perform());
  EXPECT_FALSE(command->redo());
  ASSERT_TRUE(command->undo());
  EXPECT_FALSE(command->undo());
  ASSERT_TRUE(command->redo());
  EXPECT_EQ(log_, (Log{"perform x", "undo x", "redo x"}));
}

TEST_F(CommandMacro, AddIsRefusedAfterPerformAndForPerformedCommands) {
  FRef<MMacroCommand> macro = makeRef<MMacroCommand>("Edit");
  FRef<LogCommand> done = sub("done");
  ASSERT_TRUE(done->perform());
  EXPECT_FALSE(macro->add(done));
  EXPECT_FALSE(macro->add(nullptr));
  ASSERT_TRUE(macro->perform());
  EXPECT_FALSE(macro->add(sub("late")));
}

}  // namespace
}  // namespace vantor
