#include "model/undo/GUndoManager.h"

#include <optional>
#include <vector>

#include "foundation/FDependencies.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace vantor {

VANTOR_DEFINE_CLASS(GUndoAction, FShared, 0)
VANTOR_DEFINE_CLASS(GUndoManager, FShared, 0)

namespace {
int gLimit = GUndoManager::kUnlimited;

// Takes the write side of the root's updater while a command of a project
// runs.
void guard(std::optional<MRootUpdater::WriteGuard>& guard, CmObject* target) {
  if (auto* root = dynamic_cast<MRoot*>(target)) guard.emplace(root->getUpdater());
}
}  // namespace

// ---- GUndoAction ------------------------------------------------------------

GUndoAction::GUndoAction(FRef<MCommand> command, CmObject* target, std::string description)
    : command_(std::move(command)), target_(target), description_(std::move(description)) {
  if (target_ != nullptr && target_->isReferenceCounted()) keptTarget_ = FRef<CmObject>::share(target_);
}

// ---- GMaxUndoValue ----------------------------------------------------------

int GMaxUndoValue::limitFor(int controlValue) {
  if (controlValue >= kMaximum) return GUndoManager::kUnlimited;
  return controlValue <= kMinimum ? 0 : controlValue;
}

int GMaxUndoValue::controlValueFor(int limit) {
  if (limit < 0 || limit >= kMaximum) return kMaximum;
  return limit;
}

// ---- GUndoManager -----------------------------------------------------------

GUndoManager::GUndoManager() : clock_(FSystemClock::instance()) {}
GUndoManager::GUndoManager(const FClock& clock) : clock_(clock) {}
GUndoManager::~GUndoManager() = default;

int GUndoManager::limit() { return gLimit; }
void GUndoManager::setLimit(int limit) { gLimit = limit < 0 ? kUnlimited : limit; }
void GUndoManager::applyMaximumUndo(int controlValue) { setLimit(GMaxUndoValue::limitFor(controlValue)); }

int GUndoManager::uniteActions(const GUndoAction& action, GUndoAction& prevAction) {
  if (action.getEdit() != prevAction.getEdit() || !prevAction.isPerformed()) return 0;
  MCommand* previous = prevAction.getCommand();
  MCommand* next = action.getCommand();
  if (previous == nullptr || next == nullptr) return 0;
  return previous->unite(*next) ? 1 : 0;
}

bool GUndoManager::perform(FRef<MCommand> command, CmObject* target, std::string description) {
  if (!command) return false;
  if (description.empty()) description = command->description();
  bool ok = false;
  {
    std::optional<MRootUpdater::WriteGuard> writing;
    guard(writing, target);
    // New events get their IDs in the target project inside the command.
    if (auto* root = dynamic_cast<MRoot*>(target); root != nullptr && root->getProject() != nullptr) {
      command->setProject(FRef<MProject>::share(root->getProject()));
    }
    ok = command->perform();
  }
  if (ok) {
    FRef<GUndoAction> action(new GUndoAction(std::move(command), target, std::move(description)));
    action->setPerformed(true);
    record(std::move(action));
  }
  FDependencies::instance().deliverDeferred();
  return ok;
}

void GUndoManager::record(FRef<GUndoAction> action) {
  const int64_t now = clock_.nowMs();
  // 1. Unite with the previous action when it follows quickly enough.
  if (!undoStack_.empty() && now - stamp_ < kUniteWindowMs && uniteActions(*action, *undoStack_.front()) == 1) {
    stamp_ = now;
    return;  // the new action is released here
  }
  // 2. A newly recorded action discards what could have been redone.
  stamp_ = now;
  redoStack_.clear();
  // 3. Trim to the limit; the oldest action is the last entry.
  if (gLimit != kUnlimited) {
    while (!undoStack_.empty() && undoStack_.size() >= static_cast<size_t>(gLimit)) undoStack_.pop_back();
  }
  // 4. With a limit of 0 nothing is kept.
  if (gLimit != 0) undoStack_.push_front(std::move(action));
  // 5. Tell the dependents (menus, document state).
  changed(kChangedMessage);
}

bool GUndoManager::undo() { return step(undoStack_, redoStack_, false); }
bool GUndoManager::redo() { return step(redoStack_, undoStack_, true); }

bool GUndoManager::step(std::list<FRef<GUndoAction>>& from, std::list<FRef<GUndoAction>>& to, bool redo) {
  if (from.empty()) return false;
  FRef<GUndoAction> action = from.front();
  bool ok = false;
  {
    std::optional<MRootUpdater::WriteGuard> writing;
    guard(writing, action->getEdit());
    ok = redo ? action->getCommand()->redo() : action->getCommand()->undo();
  }
  if (ok) {
    action->setPerformed(redo);
    from.pop_front();
    to.push_front(std::move(action));
    changed(kChangedMessage);
  }
  FDependencies::instance().deliverDeferred();
  return ok;
}

void GUndoManager::clear() {
  if (undoStack_.empty() && redoStack_.empty()) return;
  undoStack_.clear();
  redoStack_.clear();
  changed(kChangedMessage);
}

std::string GUndoManager::undoText() const {
  if (undoStack_.empty()) return "Undo";
  return "Undo " + undoStack_.front()->getActionDescription();
}

std::string GUndoManager::redoText() const {
  if (redoStack_.empty()) return "Redo";
  return "Redo " + redoStack_.front()->getActionDescription();
}

size_t GUndoManager::heldBytes() const {
  size_t bytes = 0;
  for (const auto* stack : {&undoStack_, &redoStack_}) {
    for (const auto& action : *stack) {
      bytes += sizeof(GUndoAction) + action->getActionDescription().capacity();
      if (action->getCommand() != nullptr) bytes += action->getCommand()->heldBytes();
    }
  }
  return bytes;
}

// ---- Irreversible operations ------------------------------------------------

bool confirmIrreversible(FUserMessages& messages, std::string_view text) {
  const std::vector<std::string> choices{"Yes", "No"};
  return messages.ask(text, choices, 1) == 0;
}

}  // namespace vantor
