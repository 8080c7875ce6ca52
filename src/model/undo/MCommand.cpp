#include "model/undo/MCommand.h"

#include <unordered_map>
#include <unordered_set>

#include "model/tree/MAccessor.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackList.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(MCommand, FShared, 0)
VANTOR_DEFINE_CLASS(MMacroCommand, MCommand, 0)

MCommand::MCommand() = default;
MCommand::~MCommand() = default;

bool MCommand::perform() {
  if (state_ != kStateNew) return false;
  failure_.clear();
  if (!doPerform()) return false;
  state_ = kStatePerformed;
  return true;
}

bool MCommand::undo() {
  if (state_ != kStatePerformed) return false;
  failure_.clear();
  if (!doUndo()) return false;
  state_ = kStateUndone;
  return true;
}

bool MCommand::redo() {
  if (state_ != kStateUndone) return false;
  failure_.clear();
  if (!doRedo()) return false;
  state_ = kStatePerformed;
  return true;
}

bool MCommand::refuse(std::string reason) {
  failure_ = std::move(reason);
  return false;
}

void MCommand::setProject(FRef<MProject> project) { project_ = std::move(project); }

void MCommand::registerEvent(MEvent* event) const {
  if (project_ && event != nullptr) project_->registerEvent(event);
}

void MCommand::registerPlaces(const std::vector<MEventPlace>& places) const {
  for (const MEventPlace& place : places) registerEvent(place.event.get());
}

bool MCommand::unite(const MCommand&) { return false; }

size_t MCommand::heldBytes() const { return getClass().getInstanceSize(); }

FRef<MAccessor> writeAccessorOf(MDataNode* node) { return node != nullptr ? node->getWriteAccessor() : nullptr; }

FRef<MDataNode> parentOf(const MEvent* event) {
  return event != nullptr ? FRef<MDataNode>::share(event->getParent()) : nullptr;
}

bool putInto(MAccessor& accessor, FRef<MEvent> event, size_t index) {
  // Track lists are ordered by index, not by start.
  if (auto* tracks = dynamic_cast<MTrackListAccessor*>(&accessor)) {
    auto* track = dynamic_cast<MTrackEvent*>(event.get());
    return track != nullptr && tracks->insertAt(FRef<MTrackEvent>::share(track), index);
  }
  return accessor.insert(std::move(event));
}

bool canHold(const MAccessor& accessor, const MEvent& event) {
  return dynamic_cast<const MTrackListAccessor*>(&accessor) == nullptr ||
         dynamic_cast<const MTrackEvent*>(&event) != nullptr;
}

std::string holdRefusal(const MAccessor& accessor, const MEvent& event) {
  const bool isTrack = dynamic_cast<const MTrackEvent*>(&event) != nullptr;
  if (dynamic_cast<const MTrackListAccessor*>(&accessor) != nullptr) {
    return isTrack ? std::string() : "a track list holds only tracks";
  }
  if (accessor.node() == nullptr) return {};
  return accessor.node()->holdRefusal(event);
}

std::string editRefusal(const std::vector<FRef<MEvent>>& events, MEventEdit edit) {
  for (const auto& event : events) {
    if (!event) continue;
    std::string refusal = MEventController::refusalFor(*event, edit);
    if (!refusal.empty()) return refusal;
  }
  return {};
}

namespace {
// One write accessor per node, asked for once.
class AccessorCache {
 public:
  MAccessor* get(MDataNode* node) {
    auto it = accessors_.find(node);
    if (it == accessors_.end()) {
      FRef<MAccessor> accessor = node != nullptr ? node->getWriteAccessor() : nullptr;
      it = accessors_.emplace(node, std::move(accessor)).first;
    }
    return it->second.get();
  }

 private:
  std::unordered_map<MDataNode*, FRef<MAccessor>> accessors_;
};
}  // namespace

bool takeOutAll(std::vector<MEventPlace>& places) {
  AccessorCache accessors;
  std::unordered_set<const MEvent*> seen;
  for (const MEventPlace& place : places) {
    MAccessor* accessor = accessors.get(place.node.get());
    if (accessor == nullptr || !place.event || !seen.insert(place.event.get()).second ||
        accessor->indexOf(place.event.get()) == MEventContainer::npos) {
      return false;
    }
  }
  for (MEventPlace& place : places) {
    MAccessor* accessor = accessors.get(place.node.get());
    place.index = accessor->indexOf(place.event.get());
    accessor->remove(place.event.get());
  }
  return true;
}

bool putBackAll(std::vector<MEventPlace>& places) {
  AccessorCache accessors;
  std::unordered_set<const MEvent*> seen;
  for (const MEventPlace& place : places) {
    MAccessor* accessor = accessors.get(place.node.get());
    if (accessor == nullptr || !place.event || place.event->getParent() != nullptr ||
        !seen.insert(place.event.get()).second || !canHold(*accessor, *place.event)) {
      return false;
    }
  }
  bool ok = true;
  for (auto it = places.rbegin(); it != places.rend(); ++it) {
    ok = putInto(*accessors.get(it->node.get()), it->event, it->index) && ok;
  }
  return ok;
}

// ---- MMacroCommand ----------------------------------------------------------

bool MMacroCommand::add(FRef<MCommand> command) {
  if (state() != kStateNew || !command || command->state() != kStateNew) return false;
  commands_.push_back(std::move(command));
  return true;
}

std::string MMacroCommand::description() const {
  if (!description_.empty() || commands_.empty()) return description_.empty() ? "Macro" : description_;
  return commands_.front()->description();
}

size_t MMacroCommand::heldBytes() const {
  // Each list entry is a node with two links and the reference.
  size_t bytes = MCommand::heldBytes() + description_.capacity();
  for (const auto& command : commands_) bytes += 3 * sizeof(void*) + command->heldBytes();
  return bytes;
}

void MMacroCommand::setProject(FRef<MProject> project) {
  for (const auto& command : commands_) command->setProject(project);
  MCommand::setProject(std::move(project));
}

bool MMacroCommand::runForward() {
  for (auto it = commands_.begin(); it != commands_.end(); ++it) {
    // New sub-commands perform; those undone (by an undo, or by the roll-back
    // of a failed perform) redo.
    MCommand& command = **it;
    if (command.state() == kStateNew) command.setProject(FRef<MProject>::share(project()));
    const bool ok = command.state() == kStateNew ? command.perform() : command.redo();
    if (ok) continue;
    refuse(command.failure());
    // Take back what already ran, newest first, so the macro changes nothing.
    while (it != commands_.begin()) {
      --it;
      if (!(*it)->undo()) return false;  // cannot happen on an untouched tree
    }
    return false;
  }
  return true;
}

bool MMacroCommand::doPerform() {
  // Sub-commands that prepare() builds are dropped again when the perform
  // fails, so a later perform builds them afresh from the tree as it is then.
  const size_t given = commands_.size();
  if (prepare() && runForward()) return true;
  commands_.resize(given);
  return false;
}

bool MMacroCommand::doUndo() {
  for (auto it = commands_.rbegin(); it != commands_.rend(); ++it) {
    if ((*it)->undo()) continue;
    refuse((*it)->failure());
    // Redo those already undone, oldest of them first, to leave all as it was.
    while (it != commands_.rbegin()) {
      --it;
      if (!(*it)->redo()) return false;
    }
    return false;
  }
  return true;
}

bool MMacroCommand::doRedo() { return runForward(); }

}  // namespace vantor
