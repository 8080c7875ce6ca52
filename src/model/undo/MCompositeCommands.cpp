#include "model/undo/MCompositeCommands.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MSizeCommand.h"
#include "model/tree/MAccessor.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MRemoveOverlapsPostCommand, MMacroCommand, 0)
VANTOR_DEFINE_CLASS(MShuffleMoveCommand, MMacroCommand, 0)
VANTOR_DEFINE_CLASS(MShuffleMoveVCommand, MMacroCommand, 0)

namespace {
using Span = std::pair<double, double>;  // [start, end)

// The node's events, in order, with references (the sub-commands change the
// node only after they are all built).
std::vector<FRef<MEvent>> eventsOf(MDataNode* node) {
  std::vector<FRef<MEvent>> events;
  FRef<MAccessor> reader = node != nullptr ? node->getReadAccessor() : nullptr;
  if (!reader) return events;
  events.reserve(reader->count());
  for (size_t i = 0; i < reader->count(); ++i) events.push_back(FRef<MEvent>::share(reader->at(i)));
  return events;
}

// Sorted spans with overlapping or touching ones joined.
std::vector<Span> mergeSpans(std::vector<Span> spans) {
  std::sort(spans.begin(), spans.end());
  std::vector<Span> merged;
  for (const Span& span : spans) {
    if (!merged.empty() && span.first <= merged.back().second) {
      merged.back().second = std::max(merged.back().second, span.second);
    } else {
      merged.push_back(span);
    }
  }
  return merged;
}

// What is left of [start, end) outside the spans.
std::vector<Span> subtract(double start, double end, const std::vector<Span>& spans) {
  std::vector<Span> pieces;
  double cursor = start;
  for (const Span& span : spans) {
    if (span.second <= cursor || span.first >= end) continue;
    if (span.first > cursor) pieces.emplace_back(cursor, span.first);
    cursor = std::max(cursor, span.second);
  }
  if (cursor < end) pieces.emplace_back(cursor, end);
  return pieces;
}

bool overlapsAny(const MEvent& event, const std::vector<Span>& spans) {
  for (const Span& span : spans) {
    if (span.first < event.getEnd() && span.second > event.getStart()) return true;
  }
  return false;
}

// The command that leaves only the pieces of event (in node).
FRef<MCommand> trimTo(const FRef<MEvent>& event, const FRef<MDataNode>& node, const std::vector<Span>& pieces) {
  if (pieces.empty()) return FRef<MCommand>(new MRemoveCommand(event));
  if (pieces.size() == 1 && pieces[0].first == event->getStart()) {
    return FRef<MCommand>(new MSizeEndCommand(event, node, pieces[0].second));
  }
  if (pieces.size() == 1 && pieces[0].second == event->getEnd()) {
    return FRef<MCommand>(new MSizeStartCommand(event, node, pieces[0].first));
  }
  std::vector<FRef<MEvent>> copies;
  for (const Span& piece : pieces) {
    FRef<MEvent> copy = event->clone();
    copy->setStart(piece.first);
    copy->setLength(piece.second - piece.first);
    copy->setOffset(event->getOffset() + (piece.first - event->getStart()));
    copies.push_back(std::move(copy));
  }
  return FRef<MCommand>(new MReplaceCommand(node, {event}, std::move(copies)));
}

// The moves of a shuffle within one node: the events after the event close
// its gap, those at or after newStart (on the closed time line) make room.
std::vector<FRef<MCommand>> shuffleWithin(const FRef<MEvent>& event, double newStart) {
  std::vector<FRef<MCommand>> moves;
  const double start = event->getStart();
  const double end = event->getEnd();
  const double length = event->getLength();
  for (const FRef<MEvent>& other : eventsOf(event->getParent())) {
    if (other == event) continue;
    double shift = other->getStart() >= end ? -length : 0;
    if (other->getStart() + shift >= newStart) shift += length;
    if (shift != 0) moves.push_back(FRef<MCommand>(new MSimpleMoveCommand(other, other->getStart() + shift)));
  }
  if (newStart != start) moves.push_back(FRef<MCommand>(new MSimpleMoveCommand(event, newStart)));
  return moves;
}
}  // namespace

// ---- MRemoveOverlapsPostCommand ---------------------------------------------

MRemoveOverlapsPostCommand::MRemoveOverlapsPostCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> edited)
    : node_(std::move(node)), edited_(std::move(edited)) {}

bool MRemoveOverlapsPostCommand::prepare() {
  if (!node_) return false;
  std::unordered_set<const MEvent*> edited;
  std::vector<Span> spans;
  for (const auto& event : edited_) {
    if (!event || event->getParent() != node_.get()) return false;
    edited.insert(event.get());
    if (event->getLength() > 0) spans.emplace_back(event->getStart(), event->getEnd());
  }
  spans = mergeSpans(std::move(spans));
  for (const FRef<MEvent>& other : eventsOf(node_.get())) {
    if (edited.count(other.get()) != 0 || other->isLocked() || !overlapsAny(*other, spans)) continue;
    append(trimTo(other, node_, subtract(other->getStart(), other->getEnd(), spans)));
  }
  return true;
}

// ---- MShuffleMoveCommand ----------------------------------------------------

MShuffleMoveCommand::MShuffleMoveCommand(FRef<MEvent> event, double newStart)
    : event_(std::move(event)), newStart_(newStart) {}

bool MShuffleMoveCommand::prepare() {
  if (!event_ || event_->getParent() == nullptr) return false;
  for (auto& move : shuffleWithin(event_, newStart_)) append(std::move(move));
  return true;
}

// ---- MShuffleMoveVCommand ---------------------------------------------------

MShuffleMoveVCommand::MShuffleMoveVCommand(FRef<MEvent> event, FRef<MDataNode> target, double newStart)
    : event_(std::move(event)), target_(std::move(target)), newStart_(newStart) {}

bool MShuffleMoveVCommand::prepare() {
  if (!event_ || !target_ || event_->getParent() == nullptr) return false;
  if (event_->getParent() == target_.get()) {
    for (auto& move : shuffleWithin(event_, newStart_)) append(std::move(move));
    return true;
  }
  const double end = event_->getEnd();
  const double length = event_->getLength();
  // Close the gap in the source node.
  for (const FRef<MEvent>& other : eventsOf(event_->getParent())) {
    if (other != event_ && other->getStart() >= end) {
      append(FRef<MCommand>(new MSimpleMoveCommand(other, other->getStart() - length)));
    }
  }
  // Make room in the target node.
  for (const FRef<MEvent>& other : eventsOf(target_.get())) {
    if (other->getStart() >= newStart_) {
      append(FRef<MCommand>(new MSimpleMoveCommand(other, other->getStart() + length)));
    }
  }
  std::vector<MEventMove> move{{event_, target_, newStart_, static_cast<size_t>(-1)}};
  append(FRef<MCommand>(new MMoveCommand(std::move(move))));
  return true;
}

}  // namespace vantor
