#include "midi/quantize/MNoteQuantizeCommand.h"

#include <cmath>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "model/tree/MAccessor.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEventController.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MNoteQuantizeCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MNoteFreezeCommand, MCommand, 0)

MNoteValues currentValues(MMidiNote& note) {
  return {FRef<MMidiNote>::share(&note), note.getStart(), note.getLength(), note.getInitialStartOffset(),
          note.getInitialLengthOffset()};
}

size_t MNoteValuesCommand::heldBytes() const { return MCommand::heldBytes() + notes_.capacity() * sizeof(MNoteValues); }

bool MNoteValuesCommand::doPerform() {
  std::unordered_set<const MMidiNote*> seen;
  seen.reserve(notes_.size());
  for (const MNoteValues& values : notes_) {
    if (!values.note || values.note->getParent() == nullptr || !seen.insert(values.note.get()).second) return false;
    if (!std::isfinite(values.start) || !std::isfinite(values.length)) return false;
    const MMidiNote& note = *values.note;
    const MEventEdit edit = values.start != note.getStart() ? MEventEdit::kMove : MEventEdit::kResize;
    std::string refusal = MEventController::refusalFor(note, edit);
    if (!refusal.empty()) return refuse(std::move(refusal));
  }
  return exchange();
}

bool MNoteValuesCommand::exchange() {
  // Accessors first, so that a part that refuses changes stops the whole
  // action before any note has changed.
  std::unordered_map<MDataNode*, FRef<MAccessor>> accessors;
  for (const MNoteValues& values : notes_) {
    MDataNode* part = values.note->getParent();
    if (accessors.count(part) != 0) continue;
    FRef<MAccessor> accessor = part != nullptr ? part->getWriteAccessor() : nullptr;
    if (!accessor) return false;
    accessors.emplace(part, std::move(accessor));
  }
  for (MNoteValues& values : notes_) {
    MMidiNote& note = *values.note;
    MNoteValues former = currentValues(note);
    note.setStart(values.start);
    note.setLength(values.length);
    note.setInitialStartOffset(values.initialStartOffset);
    note.setInitialLengthOffset(values.initialLengthOffset);
    former.note = std::move(values.note);
    values = std::move(former);
  }
  // Every part hears of the change; those whose order changed are sorted.
  for (auto& [part, accessor] : accessors) (void)accessor->reorder();
  return true;
}

}  // namespace vantor
