#include "model/edit/MMoveCommand.h"

#include <cmath>
#include <unordered_map>
#include <unordered_set>

#include "model/time/MTimeRange.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MEventController.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MSimpleMoveCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MMoveInsideCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MMoveCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MMoveEndCommand, MCommand, 0)

namespace {
constexpr size_t npos = MEventContainer::npos;

MAccessor* accessorFor(std::unordered_map<MDataNode*, FRef<MAccessor>>& cache, MDataNode* node) {
  auto it = cache.find(node);
  if (it == cache.end()) {
    it = cache.emplace(node, node != nullptr ? node->getWriteAccessor() : nullptr).first;
  }
  return it->second.get();
}

std::vector<MEventMove> movesBy(std::vector<FRef<MEvent>> events, const FRef<MDataNode>* target, double delta) {
  std::vector<MEventMove> moves;
  moves.reserve(events.size());
  for (auto& event : events) {
    if (!event) {
      moves.push_back({});
      continue;
    }
    FRef<MDataNode> node = target != nullptr ? *target : FRef<MDataNode>::share(event->getParent());
    const double start = event->getStart() + delta;
    moves.push_back({std::move(event), std::move(node), start, npos});
  }
  return moves;
}

size_t movesBytes(const std::vector<MEventMove>& moves) { return moves.capacity() * sizeof(MEventMove); }
}  // namespace

bool exchangeMoves(std::vector<MEventMove>& moves) {
  std::unordered_map<MDataNode*, FRef<MAccessor>> accessors;
  std::unordered_set<const MEvent*> seen;
  for (const MEventMove& move : moves) {
    if (!move.event || !seen.insert(move.event.get()).second || !std::isfinite(move.start)) return false;
    MAccessor* from = accessorFor(accessors, move.event->getParent());
    MAccessor* to = accessorFor(accessors, move.node.get());
    if (from == nullptr || to == nullptr || from->indexOf(move.event.get()) == npos || !canHold(*to, *move.event)) {
      return false;
    }
  }
  // Take all out first (so events moving between nodes never meet twice),
  // noting where each came from; put them in last to first, which restores
  // the indexes of a track list on the way back.
  struct Former {
    FRef<MDataNode> node;
    size_t index;
  };
  std::vector<Former> former;
  former.reserve(moves.size());
  for (MEventMove& move : moves) {
    FRef<MDataNode> node = FRef<MDataNode>::share(move.event->getParent());
    MAccessor* from = accessorFor(accessors, node.get());
    const size_t index = from->indexOf(move.event.get());
    from->remove(move.event.get());
    former.push_back({std::move(node), index});
  }
  bool ok = true;
  for (size_t i = moves.size(); i-- > 0;) {
    MEventMove& move = moves[i];
    const double oldStart = move.event->getStart();
    move.event->setStart(move.start);
    // An event that stays in its node keeps its place in a track list.
    const size_t index = move.index == npos && move.node == former[i].node ? former[i].index : move.index;
    ok = putInto(*accessorFor(accessors, move.node.get()), move.event, index) && ok;
    move.start = oldStart;
    move.node = std::move(former[i].node);
    move.index = former[i].index;
  }
  return ok;
}

std::string moveRefusal(const std::vector<MEventMove>& moves) {
  for (const MEventMove& move : moves) {
    if (!move.event) continue;
    std::string refusal = MEventController::refusalFor(*move.event, MEventEdit::kMove);
    if (!refusal.empty()) return refusal;
    const double length = move.event->getLength();
    if (!MTimeRange::checkPlacement(move.start, length, length == 0, &refusal)) return refusal;
    if (move.node && move.node.get() != move.event->getParent()) {
      refusal = move.node->holdRefusal(*move.event);
      if (!refusal.empty()) return refusal;
    }
  }
  return {};
}

bool sameEvents(const std::vector<MEventMove>& a, const std::vector<MEventMove>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].event != b[i].event) return false;
  }
  return true;
}

// ---- MEventMoveCommand ------------------------------------------------------

bool MEventMoveCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MEventMoveCommand*>(&next);
  return other != nullptr && &other->getClass() == &getClass() && sameEvents(moves_, other->moves_);
}

size_t MEventMoveCommand::heldBytes() const { return MCommand::heldBytes() + movesBytes(moves_); }

bool MEventMoveCommand::doPerform() {
  if (moves_.empty()) return false;
  std::string refusal = moveRefusal(moves_);
  if (!refusal.empty()) return refuse(std::move(refusal));
  return exchangeMoves(moves_);
}

// ---- The three move commands ------------------------------------------------

MSimpleMoveCommand::MSimpleMoveCommand(FRef<MEvent> event, double newStart)
    : MEventMoveCommand(movesBy({std::move(event)}, nullptr, 0)) {
  if (!moves_.empty()) moves_.front().start = newStart;
}

MMoveInsideCommand::MMoveInsideCommand(std::vector<FRef<MEvent>> events, double delta)
    : MEventMoveCommand(movesBy(std::move(events), nullptr, delta)) {}

MMoveCommand::MMoveCommand(std::vector<FRef<MEvent>> events, FRef<MDataNode> target, double delta)
    : MEventMoveCommand(movesBy(std::move(events), &target, delta)) {}

MMoveCommand::MMoveCommand(std::vector<MEventMove> moves) : MEventMoveCommand(std::move(moves)) {}

// ---- MMoveEndCommand --------------------------------------------------------

MMoveEndCommand::MMoveEndCommand(FRef<MEvent> event, FRef<MDataNode> node, double newEnd)
    : event_(std::move(event)), node_(std::move(node)) {
  if (event_) {
    length_ = newEnd - event_->getStart();
    offset_ = event_->getOffset() + (event_->getLength() - length_);
  }
}

bool MMoveEndCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MMoveEndCommand*>(&next);
  return other != nullptr && other->event_ == event_ && other->node_ == node_;
}

bool MMoveEndCommand::doPerform() {
  if (!event_) return false;
  std::string refusal = MEventController::refusalFor(*event_, MEventEdit::kResize);
  if (refusal.empty()) (void)MTimeRange::checkPlacement(event_->getStart(), length_, false, &refusal);
  if (refusal.empty() && !MTimeRange::isOffset(offset_)) refusal = "the offset lies outside the time range";
  if (!refusal.empty()) return refuse(std::move(refusal));
  return exchange();
}

bool MMoveEndCommand::exchange() {
  FRef<MAccessor> accessor = node_ ? node_->getWriteAccessor() : nullptr;
  if (!accessor || accessor->indexOf(event_.get()) == npos) return false;
  // The start stays, so the event keeps its place; the node hears of the
  // change of its extent.
  accessor->extentWillChange(event_.get());
  const double oldLength = event_->getLength();
  const double oldOffset = event_->getOffset();
  event_->setLength(length_);
  event_->setOffset(offset_);
  length_ = oldLength;
  offset_ = oldOffset;
  accessor->extentChanged(event_.get());
  return true;
}

}  // namespace vantor
