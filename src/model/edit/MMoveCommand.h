#pragma once
// Commands that move events in time, within their node or into another one,
// and the command that moves an event's end. Each holds, per event, the node
// and start to give it; performing exchanges them with the event's current
// node and start, so performing again undoes the move. Edit-locked events
// refuse to move, and so does a move that would take an event outside the
// time range (MTimeRange): the command fails and changes nothing. Positions
// are in the unit of the node that holds the event.

#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

// One event to move: the node and the start to give it. index is its place
// in a node ordered by index (a track list): npos appends there, or keeps
// its place when it stays in the same node.
struct MEventMove {
  FRef<MEvent> event;
  FRef<MDataNode> node;
  double start = 0;
  size_t index = static_cast<size_t>(-1);
};

// Moves every event to its node and start, storing each one's former node,
// start and index in its entry. All or nothing: false, with nothing changed,
// when an event is missing, named twice, has no parent, or a node gives no
// write accessor. Starts that are not finite are refused too.
[[nodiscard]] bool exchangeMoves(std::vector<MEventMove>& moves);
// Why the moves cannot be made, in words for the user: an event's controller
// refuses to move it (it is locked), a target node cannot hold it, or the
// event would leave the time range at its new start (MTimeRange::checkPlacement;
// checked before a move, never on undo, which restores whatever was there). ""
// when nothing stands in the way.
std::string moveRefusal(const std::vector<MEventMove>& moves);
// True when both lists move the same events in the same order.
bool sameEvents(const std::vector<MEventMove>& a, const std::vector<MEventMove>& b);

// What the move commands share: a list of moves that the first perform
// checks (moveRefusal) and every step exchanges. Repeated moves of the same
// events by the same command class unite, so a drag or a run of nudges is
// one undo step. Not a class of its own in the registry.
class MEventMoveCommand : public MCommand {
 public:
  std::string description() const override { return "Move"; }
  bool unite(const MCommand& next) override;
  size_t heldBytes() const override;

 protected:
  MEventMoveCommand() = default;
  explicit MEventMoveCommand(std::vector<MEventMove> moves) : moves_(std::move(moves)) {}

  bool doPerform() override;
  bool doUndo() override { return exchangeMoves(moves_); }
  bool doRedo() override { return exchangeMoves(moves_); }

  std::vector<MEventMove> moves_;
};

// Moves one event to a new start in its node (a nudge or a drag). "Move".
class MSimpleMoveCommand : public MEventMoveCommand {
  VANTOR_CLASS(MSimpleMoveCommand)
 public:
  MSimpleMoveCommand() = default;
  MSimpleMoveCommand(FRef<MEvent> event, double newStart);
};

// Moves events by delta within the nodes that hold them. "Move".
class MMoveInsideCommand : public MEventMoveCommand {
  VANTOR_CLASS(MMoveInsideCommand)
 public:
  MMoveInsideCommand() = default;
  MMoveInsideCommand(std::vector<FRef<MEvent>> events, double delta);
};

// Moves events by delta in time and into the node target (another part or
// track). "Move".
class MMoveCommand : public MEventMoveCommand {
  VANTOR_CLASS(MMoveCommand)
 public:
  MMoveCommand() = default;
  MMoveCommand(std::vector<FRef<MEvent>> events, FRef<MDataNode> target, double delta);
  // Moves each event to the node and start of its entry (index npos).
  explicit MMoveCommand(std::vector<MEventMove> moves);
};

// Moves an event's end with its content: the length becomes newEnd - start
// and the offset changes by the opposite amount, so the content that played
// at the old end plays at the new end. A length of 0 or below, or an end
// beyond the positions, is refused. "Move
// End". Repeated moves of the same event's end unite.
class MMoveEndCommand : public MExchangeCommand {
  VANTOR_CLASS(MMoveEndCommand)
 public:
  MMoveEndCommand() = default;
  MMoveEndCommand(FRef<MEvent> event, FRef<MDataNode> node, double newEnd);

  double length() const { return length_; }
  double offset() const { return offset_; }

  std::string description() const override { return "Move End"; }
  bool unite(const MCommand& next) override;

 protected:
  bool doPerform() override;
  bool exchange() override;

 private:
  FRef<MEvent> event_;
  FRef<MDataNode> node_;
  double length_ = 0;
  double offset_ = 0;
};

}  // namespace vantor
