#pragma once
// Commands: every change of the project tree is an object that performs the
// change once and can then undo and redo it. A command keeps whatever it needs
// to restore exactly what it changed. The undo manager (GUndoManager) records
// performed commands; a macro command runs an ordered list of sub-commands as
// one.
//
// Contract of every command:
//  - perform() runs once. When it fails the tree is unchanged and the command
//    stays new (so it is not recorded).
//  - undo() and redo() alternate after a successful perform(). A failure
//    (the tree no longer allows the change, e.g. its node became read-only)
//    leaves the tree and the state word as they were.

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "model/tree/MEventController.h"

namespace vantor {

class MAccessor;
class MDataNode;
class MEvent;
class MProject;

// An event and the node it belongs in. index is its place in a node ordered
// by index (a track list), kept so that putting it back restores the place;
// start-ordered nodes ignore it.
struct MEventPlace {
  FRef<MEvent> event;
  FRef<MDataNode> node;
  size_t index = static_cast<size_t>(-1);
};

class MCommand : public FShared {
  VANTOR_CLASS(MCommand)
 public:
  // Values of the 16-bit state word.
  static constexpr uint16_t kStateNew = 0;
  static constexpr uint16_t kStatePerformed = 1;
  static constexpr uint16_t kStateUndone = 2;

  MCommand();
  MCommand(const MCommand&) = delete;
  MCommand& operator=(const MCommand&) = delete;
  ~MCommand() override;

  // Performs a new command. False when it could not be performed; then
  // nothing changed and the state stays kStateNew.
  [[nodiscard]] bool perform();
  // Undoes a performed command (state kStatePerformed, becomes kStateUndone).
  [[nodiscard]] bool undo();
  // Performs an undone command again (kStateUndone becomes kStatePerformed).
  [[nodiscard]] bool redo();

  uint16_t state() const { return state_; }
  // Why the last perform, undo or redo failed, in words for the user; empty
  // when the command gave no reason (or did not fail).
  const std::string& failure() const { return failure_; }

  // The project whose event-ID table the events this command puts into the
  // tree join (their IDs are given inside perform, undo and redo, under the
  // same write lock as the edit). The undo manager sets it from a project's
  // root target; a command without a project gives no IDs (a project still
  // gives every event one before it is saved).
  virtual void setProject(FRef<MProject> project);
  MProject* project() const { return project_.get(); }

  // The action name shown after "Undo " and "Redo ".
  virtual std::string description() const = 0;
  // Asked of the newest recorded command with the command performed right
  // after it ("UniteActions"): true when this command has absorbed next, so
  // that undoing this one alone returns to the state before both. Both are
  // performed when asked. The default unites nothing.
  virtual bool unite(const MCommand& next);
  // Approximate bytes of memory the command holds (its object and what it
  // owns alone), for the accounting of the undo history.
  virtual size_t heldBytes() const;

 protected:
  // The three steps behind perform, undo and redo. Each returns false only
  // when it changed nothing.
  virtual bool doPerform() = 0;
  virtual bool doUndo() = 0;
  virtual bool doRedo() = 0;

  // Notes reason as the failure and returns false.
  bool refuse(std::string reason);
  // Gives event, and every event below it, an ID in the project (if any).
  void registerEvent(MEvent* event) const;
  void registerPlaces(const std::vector<MEventPlace>& places) const;

 private:
  uint16_t state_ = kStateNew;
  std::string failure_;
  FRef<MProject> project_;
};

// A command whose undo and redo are the same step: performing it exchanges
// the values it holds with the tree's, so the next exchange restores them.
// Subclasses implement exchange(); the first perform may check more first.
// Not a class of its own in the registry: its subclasses name MCommand as
// their base.
class MExchangeCommand : public MCommand {
 protected:
  virtual bool exchange() = 0;
  bool doPerform() override { return exchange(); }
  bool doUndo() override { return exchange(); }
  bool doRedo() override { return exchange(); }
};

// Helpers shared by the edit commands.

// The write accessor of node, or nullptr (no node, or it refuses changes).
FRef<MAccessor> writeAccessorOf(MDataNode* node);
// The node that holds event, with a reference; nullptr when none.
FRef<MDataNode> parentOf(const MEvent* event);
// Whether the accessor's node can hold event at all (a track list holds only
// track events). Checked on every step, also when undo puts an event back.
bool canHold(const MAccessor& accessor, const MEvent& event);
// Why the accessor's node refuses event as a new arrival, or "" when it takes
// it: besides canHold, a track's node takes only what its kind holds
// (MDataNode::getHoldRule). Checked when a command first places an event in
// a node (insert, move to another node), so undo can always put back what an
// older file held.
std::string holdRefusal(const MAccessor& accessor, const MEvent& event);
// The first refusal of edit by the controllers of events, or "" when every
// one allows it. Null events are skipped.
std::string editRefusal(const std::vector<FRef<MEvent>>& events, MEventEdit edit);
// Puts event into the accessor's node at its place: by start (and order key)
// in a start-ordered node, at index in a track list (npos: at the end).
// False for a read accessor or an event the node cannot hold.
[[nodiscard]] bool putInto(MAccessor& accessor, FRef<MEvent> event, size_t index);
// Takes every event out of its node, first to last, noting each one's index.
// All or nothing: false, with nothing changed, when a node gives no write
// accessor, does not hold its event, or an event is named twice.
[[nodiscard]] bool takeOutAll(std::vector<MEventPlace>& places);
// Puts every event back into its node, last to first (the reverse of
// takeOutAll, so indexes are restored). All or nothing: false when a node
// gives no write accessor or cannot hold its event, an event already has a
// parent, or an event is named twice.
[[nodiscard]] bool putBackAll(std::vector<MEventPlace>& places);

// An ordered list of sub-commands performed and undone as one. Performing
// (and redoing) runs them from the first to the last, undoing from the last
// to the first. When one of them fails, those already done are taken back,
// so the macro as a whole either happens or changes nothing. An empty macro
// does nothing (and performs successfully).
class MMacroCommand : public MCommand {
  VANTOR_CLASS(MMacroCommand)
 public:
  MMacroCommand() = default;
  // description: the action name; empty takes the first sub-command's.
  explicit MMacroCommand(std::string description) : description_(std::move(description)) {}

  // Appends a new (not yet performed) sub-command; only before perform().
  // False when the macro was already performed or command is missing.
  [[nodiscard]] bool add(FRef<MCommand> command);
  const std::list<FRef<MCommand>>& commands() const { return commands_; }
  size_t count() const { return commands_.size(); }
  bool empty() const { return commands_.empty(); }

  std::string description() const override;
  size_t heldBytes() const override;
  // Also hands the project to every sub-command.
  void setProject(FRef<MProject> project) override;

 protected:
  // Called once by the first perform before the sub-commands run: composite
  // commands build their sub-commands here from the tree as it is then.
  // False fails the perform.
  virtual bool prepare() { return true; }
  // Appends during prepare() (the macro is not performed yet then).
  void append(FRef<MCommand> command) { commands_.push_back(std::move(command)); }
  void setDescription(std::string description) { description_ = std::move(description); }

  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  bool runForward();

  std::list<FRef<MCommand>> commands_;
  std::string description_;
};

}  // namespace vantor
