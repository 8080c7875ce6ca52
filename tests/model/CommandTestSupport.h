#pragma once
// Helpers for the command and undo tests: a plain event class, a node that
// counts what it is told, small trees built by hand, and byte snapshots of a
// tree written through the object archive.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/GUndoManager.h"
#include "model/undo/MCommand.h"

namespace vantor::cmdtest {

// An event with a tag that is written to archives, so snapshots tell events
// apart.
class CommandTestEvent : public MEvent {
  VANTOR_EVENT(CommandTestEvent)
 public:
  CommandTestEvent() = default;
  CommandTestEvent(double start, double length, double offset = 0, int32_t tag = 0) : tag_(tag) {
    setStart(start);
    setLength(length);
    setOffset(offset);
  }
  int32_t tag() const { return tag_; }
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  int32_t tag_ = 0;
};

// A list node that counts the calls of its change hooks.
class CountingNode : public MListNode {
  VANTOR_CLASS(CountingNode)
 public:
  void extentWillChange(MEvent* event) override;
  void extentChanged(MEvent* event) override;
  void eventsChanged() override;
  int willChange = 0;
  int changedExtent = 0;
  int changedEvents = 0;
};

// A command that appends its name to a log on every step, and can be told
// to fail its perform, undo or redo.
class LogCommand : public MCommand {
  VANTOR_CLASS(LogCommand)
 public:
  LogCommand() = default;
  LogCommand(std::vector<std::string>* log, std::string name) : log_(log), name_(std::move(name)) {}
  std::string description() const override { return name_; }
  bool failPerform = false;
  bool failUndo = false;

 protected:
  bool doPerform() override { return step("perform ", failPerform); }
  bool doUndo() override { return step("undo ", failUndo); }
  bool doRedo() override { return step("redo ", false); }

 private:
  bool step(const char* what, bool fail) {
    if (fail) return false;
    if (log_ != nullptr) log_->push_back(what + name_);
    return true;
  }
  std::vector<std::string>* log_ = nullptr;
  std::string name_;
};

// initializeModel() and the test classes.
void initializeCommandTests();

// A new event of the test class.
FRef<MEvent> makeEvent(double start, double length, double offset = 0, int32_t tag = 0);
// Inserts event into node through its write accessor; returns it.
MEvent* put(MDataNode& node, FRef<MEvent> event);
// The archive bytes of the tree below root.
std::vector<uint8_t> snapshot(const CmObject* root);
// Equal byte blocks; otherwise the sizes and the first differing offset.
::testing::AssertionResult sameBytes(const std::vector<uint8_t>& actual, const std::vector<uint8_t>& expected);
// The tags of node's events in their order.
std::vector<int32_t> tagsOf(MDataNode& node);

// An object that records the messages it is sent.
class Listener : public CmObject {
 public:
  using CmObject::update;
  void update(CmObject*, int message) override { messages.push_back(message); }
  std::vector<int> messages;
};

// The fixture of every test that records commands in an undo history: the
// model and the test classes initialised. The undo limit is one global value
// ("Maximum Undo"); each test starts with it unlimited and the fixture
// restores the value it found, whatever the test set. Base is
// ::testing::Test or ::testing::TestWithParam<T>.
template <class Base = ::testing::Test>
class UndoLimitFixture : public Base {
 protected:
  void SetUp() override {
    initializeCommandTests();
    saved_ = undoLimit();
    setUndoLimit(-1);
  }
  void TearDown() override { setUndoLimit(saved_); }
  // Sets the global limit for the rest of the test (-1: unlimited).
  static void setUndoLimit(int limit) { GUndoManager::setLimit(limit); }
  static int undoLimit() { return GUndoManager::limit(); }

 private:
  int saved_ = -1;
};

using UndoLimitTest = UndoLimitFixture<>;

// The fixture of the tests that edit one list node of test events: add()
// puts an event (start, length, tag) into node_.
class ListNodeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeCommandTests();
    node_ = makeRef<MListNode>();
  }
  MEvent* add(double start, double length, int32_t tag) { return put(*node_, makeEvent(start, length, 0, tag)); }
  static FRef<MEvent> share(MEvent* event) { return FRef<MEvent>::share(event); }
  FRef<MDataNode> node() { return FRef<MDataNode>(node_); }

  FRef<MListNode> node_;
};

}  // namespace vantor::cmdtest
