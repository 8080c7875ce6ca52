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

// Inserts new events (events without a parent) into a node. "Insert".
// Refuses events outside the time range (MTimeRange::checkPlacement): a
// start or end outside the positions, or a negative length; length 0 is
// a point (a plain marker).
class MInsertCommand : public MCommand {
  VANTOR_CLASS(MInsertCommand)
 public:
  MInsertCommand() = default;
  MInsertCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events);
  MInsertCommand(FRef<MDataNode> node, FRef<MEvent> event);

  std::string description() const override { return "Insert"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;
  bool doUndo() override { return takeOutAll(places_); }
  bool doRedo() override { return putBackAll(places_); }

 private:
  std::vector<MEventPlace> places_;
};

// Removes events from the nodes that hold them when the command is made.
// Edit-locked events may be removed: the lock guards position and size.
// "Delete".
class MRemoveCommand : public MCommand {
  VANTOR_CLASS(MRemoveCommand)
 public:
  MRemoveCommand() = default;
  explicit MRemoveCommand(std::vector<FRef<MEvent>> events);
  explicit MRemoveCommand(FRef<MEvent> event);

  std::string description() const override { return "Delete"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;
  bool doUndo() override { return putBackAll(places_); }
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
  // Takes out every event of out and puts in every event of in; all or
  // nothing. fresh: the events of in were never in the tree.
  static bool swap(std::vector<MEventPlace>& out, std::vector<MEventPlace>& in, bool fresh);

  std::vector<MEventPlace> old_;
  std::vector<MEventPlace> new_;
};

// Splits the events of a node that span position (start < position < end)
// into two: each is replaced by a left piece that ends at position and a
// right piece that starts there, its offset advanced so the content plays on
// unchanged. The pieces are copies of the event (sharing its node). Events
// that do not span the position are left alone; when none does, one of
// those to split is edit-locked, or a piece lies outside the time range,
// the command fails. "Split".
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
