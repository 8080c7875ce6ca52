#include "model/edit/MVGroupCommands.h"

#include <algorithm>
#include <unordered_set>

#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MVGroupCreateCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MVGroupRemoveCommand, MCommand, 0)

// ---- MVGroupCreateCommand ---------------------------------------------------

MVGroupCreateCommand::MVGroupCreateCommand(FRef<MDataNode> holder, std::vector<FRef<MEvent>> members, std::string name)
    : holder_(std::move(holder)), members_(std::move(members)), name_(std::move(name)) {}

size_t MVGroupCreateCommand::heldBytes() const {
  size_t bytes = MCommand::heldBytes() + members_.capacity() * sizeof(FRef<MEvent>) + name_.capacity();
  if (group_) bytes += sizeof(MVirtualGroup) + group_->memberCount() * (sizeof(uint32_t) + sizeof(FRef<MEvent>));
  if (event_) bytes += sizeof(MVirtualGroupEvent);
  return bytes;
}

bool MVGroupCreateCommand::doPerform() {
  if (!holder_ || members_.size() < 2) return false;
  std::unordered_set<const MEvent*> seen;
  double start = 0;
  double end = 0;
  for (size_t i = 0; i < members_.size(); ++i) {
    MEvent* member = members_[i].get();
    // Members that are in the project but never got an ID get one here.
    if (member != nullptr && member->getID() == 0 && member->getParent() != nullptr) registerEvent(member);
    if (member == nullptr || member->getID() == 0 || !seen.insert(member).second) return false;
    start = i == 0 ? member->getStart() : std::min(start, member->getStart());
    end = i == 0 ? member->getEnd() : std::max(end, member->getEnd());
  }
  FRef<MVirtualGroup> group = makeRef<MVirtualGroup>();
  group->setName(name_);
  group->setDomain(holder_->getDomain());
  for (const auto& member : members_) {
    if (!group->addMember(member.get())) return false;  // two members with one ID
  }
  FRef<MVirtualGroupEvent> event = makeRef<MVirtualGroupEvent>();
  event->setStart(start);
  event->setLength(end - start);
  event->setNode(group);
  group_ = std::move(group);
  event_ = std::move(event);
  if (place()) return true;
  group_ = nullptr;
  event_ = nullptr;
  return false;
}

bool MVGroupCreateCommand::place() {
  FRef<MAccessor> accessor = writeAccessorOf(holder_.get());
  if (!accessor || event_->getParent() != nullptr || !canHold(*accessor, *event_)) return false;
  if (!putInto(*accessor, event_, MEventContainer::npos)) return false;
  registerEvent(event_.get());
  return true;
}

bool MVGroupCreateCommand::doUndo() {
  FRef<MAccessor> accessor = writeAccessorOf(holder_.get());
  if (!accessor || accessor->indexOf(event_.get()) == MEventContainer::npos) return false;
  return static_cast<bool>(accessor->remove(event_.get()));
}

// ---- MVGroupRemoveCommand ---------------------------------------------------

MVGroupRemoveCommand::MVGroupRemoveCommand(FRef<MEvent> groupEvent) {
  FRef<MDataNode> holder = parentOf(groupEvent.get());
  places_.push_back({std::move(groupEvent), std::move(holder), MEventContainer::npos});
}

bool MVGroupRemoveCommand::doPerform() {
  if (places_.empty() || dynamic_cast<const MVirtualGroupEvent*>(places_.front().event.get()) == nullptr) {
    return false;
  }
  return takeOutAll(places_);
}

}  // namespace vantor
