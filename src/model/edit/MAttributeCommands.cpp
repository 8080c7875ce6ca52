#include "model/edit/MAttributeCommands.h"

#include <unordered_map>
#include <unordered_set>

#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MEventController.h"
#include "model/tree/MName.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MPriorityCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MVerticalCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MMuteCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MEditLockCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MRenameCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MColorCommand, MCommand, 0)

namespace {
constexpr size_t npos = MEventContainer::npos;

std::vector<MEventValue> valuesFor(std::vector<FRef<MEvent>> events, int32_t value) {
  std::vector<MEventValue> values;
  values.reserve(events.size());
  for (auto& event : events) values.push_back({std::move(event), value});
  return values;
}

size_t valuesBytes(const std::vector<MEventValue>& values) { return values.capacity() * sizeof(MEventValue); }

// The write accessors of the events' nodes, for an attribute change. False
// when an event is missing or named twice, or its node refuses changes or
// does not hold it. Events without a node need no accessor (nullptr).
bool accessorsFor(const std::vector<MEvent*>& events, std::vector<FRef<MAccessor>>* out) {
  std::unordered_map<MDataNode*, FRef<MAccessor>> byNode;
  std::unordered_set<const MEvent*> seen;
  out->clear();
  out->reserve(events.size());
  for (MEvent* event : events) {
    if (event == nullptr || !seen.insert(event).second) return false;
    MDataNode* node = event->getParent();
    if (node == nullptr) {
      out->push_back(nullptr);
      continue;
    }
    auto it = byNode.find(node);
    if (it == byNode.end()) it = byNode.emplace(node, node->getWriteAccessor()).first;
    if (!it->second || it->second->indexOf(event) == npos) return false;
    out->push_back(it->second);
  }
  return true;
}

// Runs change on every event between the node's announcements.
bool changeEvents(const std::vector<MEvent*>& events, const std::function<void(size_t)>& change) {
  std::vector<FRef<MAccessor>> accessors;
  if (!accessorsFor(events, &accessors)) return false;
  for (size_t i = 0; i < events.size(); ++i) {
    if (accessors[i]) accessors[i]->extentWillChange(events[i]);
    change(i);
    if (accessors[i]) accessors[i]->extentChanged(events[i]);
  }
  return true;
}

template <class Change>
bool exchangeEach(std::vector<MEventValue>& values, Change change) {
  std::vector<MEvent*> events;
  events.reserve(values.size());
  for (const MEventValue& entry : values) events.push_back(entry.event.get());
  return changeEvents(events, [&](size_t i) { change(values[i]); });
}
}  // namespace

bool exchangeFlag(std::vector<MEventValue>& values, uint16_t bit) {
  return exchangeEach(values, [bit](MEventValue& entry) {
    const bool was = entry.event->hasFlag(bit);
    entry.event->setFlag(bit, entry.value != 0);
    entry.value = was ? 1 : 0;
  });
}

bool exchangeTrackAttribute(std::vector<MEventValue>& values, uint32_t code) {
  for (const MEventValue& entry : values) {
    if (dynamic_cast<const MTrackEvent*>(entry.event.get()) == nullptr) return false;
  }
  return exchangeEach(values, [code](MEventValue& entry) {
    auto* track = static_cast<MTrackEvent*>(entry.event.get());
    const int32_t old = track->getAttribute(code);
    track->setAttribute(code, entry.value);
    entry.value = old;
  });
}

bool changeEach(const std::vector<FRef<MEvent>>& events, const std::function<void(size_t)>& change) {
  std::vector<MEvent*> plain;
  plain.reserve(events.size());
  for (const FRef<MEvent>& event : events) plain.push_back(event.get());
  return changeEvents(plain, change);
}

// ---- MPriorityCommand -------------------------------------------------------

MPriorityCommand::MPriorityCommand(FRef<MEvent> event, bool toFront)
    : event_(std::move(event)), node_(parentOf(event_.get())), toFront_(toFront) {}

size_t MPriorityCommand::heldBytes() const { return MCommand::heldBytes() + ranks_.capacity() * sizeof(Rank); }

bool MPriorityCommand::doPerform() {
  FRef<MAccessor> accessor = writeAccessorOf(node_.get());
  const size_t index = accessor ? accessor->indexOf(event_.get()) : npos;
  if (index == npos) return false;
  ranks_.clear();
  if (toFront_) {
    ranks_.push_back({event_, MEventContainer::nextOrderKey()});
  } else {
    // The events of the same start lie next to each other in start order.
    const double start = event_->getStart();
    size_t first = index;
    while (first > 0 && accessor->at(first - 1)->getStart() == start) --first;
    for (size_t i = first; i < accessor->count() && accessor->at(i)->getStart() == start; ++i) {
      if (i != index) ranks_.push_back({FRef<MEvent>::share(accessor->at(i)), MEventContainer::nextOrderKey()});
    }
  }
  return exchange();
}

bool MPriorityCommand::exchange() {
  FRef<MAccessor> accessor = writeAccessorOf(node_.get());
  if (!accessor) return false;
  for (const Rank& rank : ranks_) {
    if (accessor->indexOf(rank.event.get()) == npos) return false;
  }
  // Each event goes out and back in under its new key, which places it.
  for (Rank& rank : ranks_) {
    const size_t index = accessor->indexOf(rank.event.get());
    FRef<MEvent> taken = accessor->remove(rank.event.get());
    const uint64_t old = taken->orderKey();
    taken->setOrderKey(rank.key);
    rank.key = old;
    if (!putInto(*accessor, std::move(taken), index)) return false;  // a write accessor takes it back
  }
  return true;
}

// ---- MVerticalCommand -------------------------------------------------------

MVerticalCommand::MVerticalCommand(std::vector<FRef<MEvent>> events, FRef<MDataNode> target) {
  moves_.reserve(events.size());
  for (auto& event : events) {
    const double start = event ? event->getStart() : 0;
    moves_.push_back({std::move(event), target, start, npos});
  }
}

// ---- MMuteCommand, MEditLockCommand -----------------------------------------

MMuteCommand::MMuteCommand(std::vector<FRef<MEvent>> events, bool mute)
    : values_(valuesFor(std::move(events), mute ? 1 : 0)), mute_(mute) {}

size_t MMuteCommand::heldBytes() const { return MCommand::heldBytes() + valuesBytes(values_); }

MEditLockCommand::MEditLockCommand(std::vector<FRef<MEvent>> events, bool lock)
    : values_(valuesFor(std::move(events), lock ? 1 : 0)), lock_(lock) {}

size_t MEditLockCommand::heldBytes() const { return MCommand::heldBytes() + valuesBytes(values_); }

// ---- MRenameCommand ---------------------------------------------------------

MRenameCommand::MRenameCommand(FRef<MEvent> event, std::string name)
    : event_(std::move(event)), name_(std::move(name)) {}

std::string MRenameCommand::description() const {
  if (event_ && event_->isKindOf("MTrackEvent")) return "Rename Track";
  return event_ && event_->isKindOf("MMarkerEvent") ? "Rename Marker" : "Rename Part";
}

bool MRenameCommand::doPerform() {
  if (!event_) return false;
  std::string refusal = MEventController::refusalFor(*event_, MEventEdit::kRename);
  if (refusal.empty()) (void)isValidName(name_, &refusal);
  if (!refusal.empty()) return refuse(std::move(refusal));
  return exchange();
}

bool MRenameCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MRenameCommand*>(&next);
  return other != nullptr && other->event_ == event_;
}

size_t MRenameCommand::heldBytes() const { return MCommand::heldBytes() + name_.capacity(); }

bool MRenameCommand::exchange() {
  MDataNode* node = event_->getNode();
  if (node != nullptr && node->isReadOnly()) return refuse("the content is read-only");
  FRef<MEventController> controller = MEventController::forEvent(*event_);
  std::string old = controller->getName(*event_);
  if (!controller->setName(*event_, name_)) return refuse(controller->refusal(*event_, MEventEdit::kRename));
  name_ = std::move(old);
  return true;
}

// ---- MColorCommand ----------------------------------------------------------

MColorCommand::MColorCommand(std::vector<FRef<MEvent>> events, int32_t color)
    : values_(valuesFor(std::move(events), color)) {}

size_t MColorCommand::heldBytes() const { return MCommand::heldBytes() + valuesBytes(values_); }

bool MColorCommand::exchange() {
  for (const MEventValue& entry : values_) {
    if (dynamic_cast<const MTrackEvent*>(entry.event.get()) == nullptr &&
        dynamic_cast<const MPartEvent*>(entry.event.get()) == nullptr) {
      return false;
    }
  }
  return exchangeEach(values_, [](MEventValue& entry) {
    if (auto* track = dynamic_cast<MTrackEvent*>(entry.event.get())) {
      const int32_t old = track->getAttribute(MTrackAttribute::kColor);
      track->setAttribute(MTrackAttribute::kColor, entry.value);
      entry.value = old;
    } else {
      auto* part = static_cast<MPartEvent*>(entry.event.get());
      const int32_t old = part->getColor();
      part->setColor(entry.value);
      entry.value = old;
    }
  });
}

}  // namespace vantor
