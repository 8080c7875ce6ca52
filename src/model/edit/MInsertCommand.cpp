#include "model/edit/MInsertCommand.h"

#include "model/time/MTimeRange.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MInsertCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MRemoveCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MReplaceCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MSplitCommand, MReplaceCommand, 0)

namespace {
size_t placesBytes(const std::vector<MEventPlace>& places) { return places.capacity() * sizeof(MEventPlace); }

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

size_t MInsertCommand::heldBytes() const { return MCommand::heldBytes() + placesBytes(places_); }

bool MInsertCommand::doPerform() {
  // New events go in in the order given; an index is not known yet, so
  // events for a track list are appended.
  if (places_.empty()) return false;
  for (const MEventPlace& place : places_) {
    if (!place.event) return false;
    const double length = place.event->getLength();
    if (!MTimeRange::checkPlacement(place.event->getStart(), length, length == 0, nullptr)) return false;
  }
  std::vector<MEventPlace> reversed(places_.rbegin(), places_.rend());
  if (!putBackAll(reversed)) return false;
  places_.assign(reversed.rbegin(), reversed.rend());
  return true;
}

// ---- MRemoveCommand ---------------------------------------------------------

MRemoveCommand::MRemoveCommand(std::vector<FRef<MEvent>> events) : places_(placesAtParents(std::move(events))) {}

MRemoveCommand::MRemoveCommand(FRef<MEvent> event) : MRemoveCommand(std::vector<FRef<MEvent>>{std::move(event)}) {}

size_t MRemoveCommand::heldBytes() const { return MCommand::heldBytes() + placesBytes(places_); }

bool MRemoveCommand::doPerform() { return !places_.empty() && takeOutAll(places_); }

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
  if (ok) return true;
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
  for (const auto& place : oldPlaces()) {
    if (place.event->isLocked()) return false;
  }
  for (const auto& place : newPlaces()) {
    if (!MTimeRange::checkPlacement(place.event->getStart(), place.event->getLength(), false, nullptr)) return false;
  }
  return MReplaceCommand::doPerform();
}

}  // namespace vantor
