#pragma once
// The document framework's undo history. A command is performed through the
// manager, which wraps it in an action and keeps performed actions on the
// "Undo Stack" (newest first) and undone ones on the "Redo Stack". An action
// performed within 800 ms of the last recording may be united with the
// previous one ("UniteActions"); the undo list is limited by the global
// "Maximum Undo" limit.

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "foundation/FClock.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "model/undo/MCommand.h"

namespace vantor {

class FUserMessages;

// One recorded command: the command, the target it edits ("Edit"), whether
// it is performed ("SetPerformed") and its description.
class GUndoAction : public FShared {
  VANTOR_CLASS(GUndoAction)
 public:
  GUndoAction() = default;
  // target may be null; a reference-counted target is retained, any other
  // target must outlive the action.
  GUndoAction(FRef<MCommand> command, CmObject* target, std::string description);
  GUndoAction(const GUndoAction&) = delete;
  GUndoAction& operator=(const GUndoAction&) = delete;

  MCommand* getCommand() const { return command_.get(); }
  CmObject* getEdit() const { return target_; }
  bool isPerformed() const { return performed_; }
  void setPerformed(bool performed) { performed_ = performed; }
  // "Get Action Description": the text after "Undo " and "Redo ".
  const std::string& getActionDescription() const { return description_; }

 private:
  FRef<MCommand> command_;
  CmObject* target_ = nullptr;
  FRef<CmObject> keptTarget_;  // holds a reference-counted target alive
  bool performed_ = false;
  std::string description_;
};

// The "Maximum Undo" preference. Its control runs from 0 to 1000 actions;
// the top position means unlimited, and it starts there, so a new setup
// keeps every action (the global limit starts unlimited as well).
class GMaxUndoValue {
 public:
  static constexpr const char* kName = "Maximum Undo";
  static constexpr int kMinimum = 0;
  static constexpr int kMaximum = 1000;
  static constexpr int kDefault = kMaximum;
  // The undo limit for a control position: -1 (unlimited) at the maximum or
  // above, 0 at or below the minimum, otherwise the position.
  static int limitFor(int controlValue);
  // The control position that shows limit (-1 and limits beyond the range
  // show the maximum).
  static int controlValueFor(int limit);
};

class GUndoManager : public FShared {
  VANTOR_CLASS(GUndoManager)
 public:
  // Actions recorded within this many milliseconds of the last recording
  // may unite with the previous action.
  static constexpr int64_t kUniteWindowMs = 800;
  // The message announced to the dependents when an action was recorded,
  // undone or redone.
  static constexpr int kChangedMessage = 1000;
  static constexpr int kUnlimited = -1;

  // clock must outlive the manager; the default is the system clock.
  GUndoManager();
  explicit GUndoManager(const FClock& clock);
  ~GUndoManager() override;

  // The global undo limit: -1 unlimited (initially), 0 keeps nothing, n
  // keeps the n newest actions. A lower limit takes effect at the next
  // recording (the lists are trimmed only when an action is recorded).
  static int limit();
  static void setLimit(int limit);
  // Sets the limit from a "Maximum Undo" control position.
  static void applyMaximumUndo(int controlValue);

  // Performs command on target ("Command", "Edit") and records it. False when
  // the command failed: nothing changed and nothing was recorded.
  // description empty takes the command's own. When the target is a
  // project's root event (MRoot), perform, undo and redo run under the write
  // side of its updater, and the command gets the project (setProject) so
  // that the events it adds get their IDs.
  [[nodiscard]] bool perform(FRef<MCommand> command, CmObject* target = nullptr, std::string description = {});
  // Undoes the newest action and moves it to the redo list. False when
  // there is none or its command could not be undone (then it stays).
  [[nodiscard]] bool undo();
  // Performs the newest undone action again and moves it back.
  [[nodiscard]] bool redo();
  // Drops both lists (after an operation that cannot be undone).
  void clear();

  bool canUndo() const { return !undoStack_.empty(); }
  bool canRedo() const { return !redoStack_.empty(); }
  size_t undoCount() const { return undoStack_.size(); }
  size_t redoCount() const { return redoStack_.size(); }
  // "Undo Stack" and "Redo Stack", newest first.
  const std::list<FRef<GUndoAction>>& undoStack() const { return undoStack_; }
  const std::list<FRef<GUndoAction>>& redoStack() const { return redoStack_; }
  // Menu texts: "Undo " / "Redo " and the newest action's description; only
  // "Undo" / "Redo" when the list is empty.
  std::string undoText() const;
  std::string redoText() const;
  // Approximate bytes the commands of both lists hold.
  size_t heldBytes() const;

  // "UniteActions": 1 when prevAction has absorbed action, else 0. Actions
  // of different targets never unite.
  static int uniteActions(const GUndoAction& action, GUndoAction& prevAction);

 private:
  void record(FRef<GUndoAction> action);
  // Undoes (redo false) or redoes the newest action of from under its
  // target's write lock and moves it to the front of to.
  bool step(std::list<FRef<GUndoAction>>& from, std::list<FRef<GUndoAction>>& to, bool redo);

  const FClock& clock_;
  std::list<FRef<GUndoAction>> undoStack_;
  std::list<FRef<GUndoAction>> redoStack_;
  // Tick count of the last recording or merge (undo and redo leave it).
  int64_t stamp_ = 0;
};

// Texts of the warning before an operation that cannot be undone.
inline constexpr std::string_view kCannotUndoWarning = "Warning: You can not undo this!";
inline constexpr std::string_view kCannotUndoOperationWarning = "Warning: You can not undo this operation!";
inline constexpr std::string_view kCannotUndoQuestion = "Are you sure? You can not undo this!";

// Asks the user, before an operation that cannot be undone, whether to go
// on ("Yes") or not ("No", the default, so that a session that cannot answer
// never loses work). True when the operation may run.
[[nodiscard]] bool confirmIrreversible(FUserMessages& messages, std::string_view text = kCannotUndoQuestion);

}  // namespace vantor
