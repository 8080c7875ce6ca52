#pragma once
// Commands that put events into nodes and take them out: insert, remove,
// replace and split. Every one is all or nothing: when a node refuses (no
// write accessor) or an event is not where it should be, nothing changes.
// Events taken out keep their order key, so putting them back restores
// their rank among events of equal start.

#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Inserts new events (events without a parent) into a node, or into the
// content of a holder event (a track, a part). "Insert".
//
// Into a holder, the command also keeps the rules of the tree's levels:
// - A holder without content gets a new node of its kind first (undone with
//   the insert), so a track read without its part list can take parts.
// - Nesting stops at the events inside a part: a holder that itself lies
//   inside a part's content (an event of a part, a part inside a group) takes
//   no events.
// - Inside a part, positions count from the part's content origin (its start
//   minus its offset on the track), so events move with their part and both
//   halves of a split part show them where they were. A new event must lie
//   within the part's visible span: from its offset to offset + length.
//   Later edits may leave events beyond the edges (sizing a part hides what
//   lies outside it, as its aliases may show other spans of the same
//   content); only what lies within the part plays.
//
// Events outside the time range are refused (MTimeRange::checkPlacement): a
// start or end outside the positions, or a negative length; length 0 is a
// point (a plain marker).
class MInsertCommand : public MCommand {
  VANTOR_CLASS(MInsertCommand)
 public:
  MInsertCommand() = default;
  MInsertCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events);
  MInsertCommand(FRef<MDataNode> node, FRef<MEvent> event);
  MInsertCommand(FRef<MEvent> holder, FRef<MEvent> event);

  std::string description() const override { return "Insert"; }
  size_t heldBytes() const override;

 protected:
  // Perform and redo give the new events (and those below them) IDs in
  // the command's project.
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  // Checks the holder's rules and gives it content where it lacks one.
  bool prepareHolder();

  std::vector<MEventPlace> places_;
  FRef<MEvent> holder_;
  FRef<MDataNode> givenNode_;  // the content given to the holder, if any
};

// Removes events from the nodes that hold them when the command is made.
// The events' controllers decide whether they may be removed; edit-locked
// events may (the lock guards position, size and name). "Delete".
class MRemoveCommand : public MCommand {
  VANTOR_CLASS(MRemoveCommand)
 public:
  MRemoveCommand() = default;
  explicit MRemoveCommand(std::vector<FRef<MEvent>> events);
  explicit MRemoveCommand(FRef<MEvent> event);

  std::string description() const override { return "Delete"; }
  size_t heldBytes() const override;

 protected:
  // The events' controllers may refuse removal. Undo puts them back with
  // their IDs (given again where the table lost them).
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override { return takeOutAll(places_); }

 private:
  std::vector<MEventPlace> places_;
};

// Replaces events of one node by new events (which have no parent yet).
// "Replace".
class MReplaceCommand : public MCommand {
  VANTOR_CLASS(MReplaceCommand)
 public:
  MReplaceCommand() = default;
  MReplaceCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> oldEvents, std::vector<FRef<MEvent>> newEvents);

  const std::vector<MEventPlace>& oldPlaces() const { return old_; }
  const std::vector<MEventPlace>& newPlaces() const { return new_; }

  std::string description() const override { return "Replace"; }
  size_t heldBytes() const override;

 protected:
  // For MSplitCommand, which fills the lists itself.
  void setEvents(FRef<MDataNode> node, std::vector<FRef<MEvent>> oldEvents, std::vector<FRef<MEvent>> newEvents);

  bool doPerform() override { return swap(old_, new_, true); }
  bool doUndo() override { return swap(new_, old_, false); }
  bool doRedo() override { return swap(old_, new_, false); }

 private:
  // Takes out every event of out and puts in every event of in, which get
  // IDs in the command's project; all or nothing. fresh: the events of in
  // were never in the tree.
  bool swap(std::vector<MEventPlace>& out, std::vector<MEventPlace>& in, bool fresh);

  std::vector<MEventPlace> old_;
  std::vector<MEventPlace> new_;
};

// Splits the events of a node that span position (start < position < end)
// into two: each is replaced by a left piece that ends at position and a
// right piece that starts there, its offset advanced so the content plays on
// unchanged. The pieces are copies of the event (sharing its node) and get
// IDs in the command's project. Events that do not span the position are
// left alone; when none does, the controller of one to split refuses to
// resize it (it is locked), or a piece lies outside the time range, the
// command fails. "Split".
class MSplitCommand : public MReplaceCommand {
  VANTOR_CLASS(MSplitCommand)
 public:
  MSplitCommand() = default;
  // position in the node's unit (pulses or seconds).
  MSplitCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events, double position);

  std::string description() const override { return "Split"; }

 protected:
  bool doPerform() override;
};

}  // namespace vantor
