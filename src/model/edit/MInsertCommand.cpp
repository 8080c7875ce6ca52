#include "model/edit/MInsertCommand.h"

#include "model/time/MTimeRange.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MEventController.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MInsertCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MRemoveCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MReplaceCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MSplitCommand, MReplaceCommand, 0)

namespace {
size_t placesBytes(const std::vector<MEventPlace>& places) { return places.capacity() * sizeof(MEventPlace); }

// Why the events cannot go into their nodes: a node refuses changes or
// cannot hold its event. "" when they can.
std::string insertRefusal(const std::vector<MEventPlace>& places) {
  for (const MEventPlace& place : places) {
    if (!place.event) continue;
    std::string range;
    const double length = place.event->getLength();
    if (!MTimeRange::checkPlacement(place.event->getStart(), length, length == 0, &range)) return range;
    FRef<MAccessor> accessor = writeAccessorOf(place.node.get());
    if (!accessor) return place.node ? "\"" + place.node->getName() + "\" cannot be changed" : std::string();
    std::string refusal = holdRefusal(*accessor, *place.event);
    if (!refusal.empty()) return refusal;
  }
  return {};
}

std::vector<FRef<MEvent>> eventsOf(const std::vector<MEventPlace>& places) {
  std::vector<FRef<MEvent>> events;
  events.reserve(places.size());
  for (const MEventPlace& place : places) events.push_back(place.event);
  return events;
}

std::vector<MEventPlace> placesIn(const FRef<MDataNode>& node, std::vector<FRef<MEvent>> events) {
  std::vector<MEventPlace> places;
  places.reserve(events.size());
  for (auto& event : events) places.push_back({std::move(event), node, MEventContainer::npos});
  return places;
}

std::vector<MEventPlace> placesAtParents(std::vector<FRef<MEvent>> events) {
  std::vector<MEventPlace> places;
  places.reserve(events.size());
  for (auto& event : events) {
    FRef<MDataNode> parent = event ? FRef<MDataNode>::share(event->getParent()) : nullptr;
    places.push_back({std::move(event), std::move(parent), MEventContainer::npos});
  }
  return places;
}
}  // namespace

// ---- MInsertCommand ---------------------------------------------------------

MInsertCommand::MInsertCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events)
    : places_(placesIn(node, std::move(events))) {}

MInsertCommand::MInsertCommand(FRef<MDataNode> node, FRef<MEvent> event)
    : MInsertCommand(std::move(node), std::vector<FRef<MEvent>>{std::move(event)}) {}

MInsertCommand::MInsertCommand(FRef<MEvent> holder, FRef<MEvent> event)
    : MInsertCommand(FRef<MDataNode>::share(holder ? holder->getNode() : nullptr), std::move(event)) {
  holder_ = std::move(holder);
}

size_t MInsertCommand::heldBytes() const { return MCommand::heldBytes() + placesBytes(places_); }

bool MInsertCommand::prepareHolder() {
  if (dynamic_cast<MPartNode*>(holder_->getParent()) != nullptr) {
    return refuse(MEventController::forEvent(*holder_)->describe(*holder_) +
                  " lies inside a part and holds no events of its own");
  }
  if (holder_->getNode() == nullptr) {
    FRef<MDataNode> node;
    if (auto* track = dynamic_cast<MTrackEvent*>(holder_.get())) node = track->createNode();
    if (auto* part = dynamic_cast<MPartEvent*>(holder_.get())) node = part->createNode();
    if (!node) return refuse(MEventController::forEvent(*holder_)->describe(*holder_) + " holds no events");
    givenNode_ = node;
    for (MEventPlace& place : places_) place.node = node;
  }
  if (dynamic_cast<MPartEvent*>(holder_.get()) != nullptr) {
    const double from = holder_->getOffset();
    const double to = from + holder_->getLength();
    for (const MEventPlace& place : places_) {
      if (place.event && (place.event->getStart() < from || place.event->getEnd() > to)) {
        return refuse("an event must lie inside " + MEventController::forEvent(*holder_)->describe(*holder_));
      }
    }
  }
  return true;
}

bool MInsertCommand::doPerform() {
  // New events go in in the order given; an index is not known yet, so
  // events for a track list are appended.
  if (places_.empty()) return false;
  if (holder_ && !prepareHolder()) return false;
  if (givenNode_) holder_->setNode(givenNode_);
  std::string refusal = insertRefusal(places_);
  std::vector<MEventPlace> reversed(places_.rbegin(), places_.rend());
  if (!refusal.empty() || !putBackAll(reversed)) {
    if (givenNode_) holder_->setNode(nullptr);
    return refuse(std::move(refusal));
  }
  places_.assign(reversed.rbegin(), reversed.rend());
  registerPlaces(places_);
  return true;
}

bool MInsertCommand::doUndo() {
  if (!takeOutAll(places_)) return false;
  if (givenNode_) holder_->setNode(nullptr);
  return true;
}

bool MInsertCommand::doRedo() {
  if (givenNode_) holder_->setNode(givenNode_);
  if (!putBackAll(places_)) {
    if (givenNode_) holder_->setNode(nullptr);
    return false;
  }
  registerPlaces(places_);
  return true;
}

// ---- MRemoveCommand ---------------------------------------------------------

MRemoveCommand::MRemoveCommand(std::vector<FRef<MEvent>> events) : places_(placesAtParents(std::move(events))) {}

MRemoveCommand::MRemoveCommand(FRef<MEvent> event) : MRemoveCommand(std::vector<FRef<MEvent>>{std::move(event)}) {}

size_t MRemoveCommand::heldBytes() const { return MCommand::heldBytes() + placesBytes(places_); }

bool MRemoveCommand::doPerform() {
  if (places_.empty()) return false;
  std::string refusal = editRefusal(eventsOf(places_), MEventEdit::kDelete);
  if (!refusal.empty()) return refuse(std::move(refusal));
  return takeOutAll(places_);
}

bool MRemoveCommand::doUndo() {
  if (!putBackAll(places_)) return false;
  registerPlaces(places_);
  return true;
}

// ---- MReplaceCommand --------------------------------------------------------

MReplaceCommand::MReplaceCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> oldEvents,
                                 std::vector<FRef<MEvent>> newEvents) {
  setEvents(std::move(node), std::move(oldEvents), std::move(newEvents));
}

void MReplaceCommand::setEvents(FRef<MDataNode> node, std::vector<FRef<MEvent>> oldEvents,
                                std::vector<FRef<MEvent>> newEvents) {
  old_ = placesIn(node, std::move(oldEvents));
  new_ = placesIn(node, std::move(newEvents));
}

size_t MReplaceCommand::heldBytes() const {
  // The new events are owned by the command while they are out of the tree;
  // count them with the places.
  size_t bytes = MCommand::heldBytes() + placesBytes(old_) + placesBytes(new_);
  for (const auto& place : new_) bytes += place.event ? place.event->getClass().getInstanceSize() : 0;
  return bytes;
}

bool MReplaceCommand::swap(std::vector<MEventPlace>& out, std::vector<MEventPlace>& in, bool fresh) {
  if (out.empty() && in.empty()) return false;
  if (fresh) {
    std::string refusal = insertRefusal(in);
    if (!refusal.empty()) return refuse(std::move(refusal));
  }
  if (!takeOutAll(out)) return false;
  // putBackAll works last to first, which restores events taken out before.
  // Fresh events go in in their given order: hand them over reversed.
  bool ok = false;
  if (fresh) {
    std::vector<MEventPlace> reversed(in.rbegin(), in.rend());
    ok = putBackAll(reversed);
    if (ok) in.assign(reversed.rbegin(), reversed.rend());
  } else {
    ok = putBackAll(in);
  }
  if (ok) {
    registerPlaces(in);
    return true;
  }
  // Put the removed events back so that the command changes nothing.
  const bool restored = putBackAll(out);
  static_cast<void>(restored);
  return false;
}

// ---- MSplitCommand ----------------------------------------------------------

MSplitCommand::MSplitCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events, double position) {
  std::vector<FRef<MEvent>> split;
  std::vector<FRef<MEvent>> pieces;
  for (auto& event : events) {
    if (!event || !(event->getStart() < position && position < event->getEnd())) continue;
    const double start = event->getStart();
    const double end = event->getEnd();
    FRef<MEvent> left = event->clone();
    left->setLength(position - start);
    FRef<MEvent> right = event->clone();
    right->setStart(position);
    right->setLength(end - position);
    right->setOffset(event->getOffset() + (position - start));
    pieces.push_back(std::move(left));
    pieces.push_back(std::move(right));
    split.push_back(std::move(event));
  }
  setEvents(std::move(node), std::move(split), std::move(pieces));
}

bool MSplitCommand::doPerform() {
  if (oldPlaces().empty()) return false;
  std::string refusal = editRefusal(eventsOf(oldPlaces()), MEventEdit::kResize);
  for (const auto& place : newPlaces()) {
    if (!refusal.empty()) break;
    (void)MTimeRange::checkPlacement(place.event->getStart(), place.event->getLength(), false, &refusal);
  }
  if (!refusal.empty()) return refuse(std::move(refusal));
  return MReplaceCommand::doPerform();
}

}  // namespace vantor
