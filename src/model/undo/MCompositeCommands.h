#pragma once
// Composite edits: macro commands that build their sub-commands (sizes,
// moves, removals, replacements) from the tree as it is when they are first
// performed, and then perform, undo and redo them as one. When a
// sub-command fails (an edit-locked event in the way, a read-only node) the
// whole edit fails and changes nothing.

#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Run after an edit: trims or removes the other events of node that overlap
// the edited events, so the edited ones are heard alone where they lie. An
// event covered entirely is removed; one that overlaps at one edge is sized
// (start or end) back to the edge; one that reaches past both edges of an
// edited event is replaced by its pieces outside the edited events (copies
// sharing its node, offsets advanced). Edit-locked events are left as they
// are. With nothing to trim the command performs and does nothing. "Remove
// Overlaps".
class MRemoveOverlapsPostCommand : public MMacroCommand {
  VANTOR_CLASS(MRemoveOverlapsPostCommand)
 public:
  MRemoveOverlapsPostCommand() = default;
  MRemoveOverlapsPostCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> edited);
  std::string description() const override { return "Remove Overlaps"; }

 protected:
  bool prepare() override;

 private:
  FRef<MDataNode> node_;
  std::vector<FRef<MEvent>> edited_;
};

// Moves an event in shuffle mode, in its node: the events after it close the
// gap it leaves, and the events at or after its new place make room for it,
// so the events stay in a row without gaps or overlaps. newStart counts on
// the time line without the event (after the gap was closed). "Shuffle
// Move".
class MShuffleMoveCommand : public MMacroCommand {
  VANTOR_CLASS(MShuffleMoveCommand)
 public:
  MShuffleMoveCommand() = default;
  MShuffleMoveCommand(FRef<MEvent> event, double newStart);
  std::string description() const override { return "Shuffle Move"; }

 protected:
  bool prepare() override;

 private:
  FRef<MEvent> event_;
  double newStart_ = 0;
};

// Moves an event in shuffle mode into another node (a track above or
// below): the events after it in its node close the gap, the events of the
// target node at or after newStart make room. Within the same node it is a
// horizontal shuffle move. "Shuffle Move".
class MShuffleMoveVCommand : public MMacroCommand {
  VANTOR_CLASS(MShuffleMoveVCommand)
 public:
  MShuffleMoveVCommand() = default;
  MShuffleMoveVCommand(FRef<MEvent> event, FRef<MDataNode> target, double newStart);
  std::string description() const override { return "Shuffle Move"; }

 protected:
  bool prepare() override;

 private:
  FRef<MEvent> event_;
  FRef<MDataNode> target_;
  double newStart_ = 0;
};

}  // namespace vantor
