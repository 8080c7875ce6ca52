#include "model/tree/MVirtualGroup.h"

#include <unordered_set>
#include <algorithm>

#include "foundation/FObjectArchive.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MVirtualGroup, MDataNode, 0)
VANTOR_DEFINE_CLASS(MVirtualGroupEvent, MEvent, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MVNodeAccessor, MAccessor, 0)

size_t MVirtualGroup::indexOfMember(const MEvent* event) const {
  for (size_t i = 0; i < members_.size(); ++i) {
    if (members_[i].get() == event) return i;
  }
  return MEventContainer::npos;
}

bool MVirtualGroup::addMember(MEvent* event) {
  if (event == nullptr || event->getID() == 0 || event->getNode() == this) return false;
  if (std::find(ids_.begin(), ids_.end(), event->getID()) != ids_.end()) return false;
  ids_.push_back(event->getID());
  members_.push_back(FRef<MEvent>::share(event));
  eventsChanged();
  return true;
}

bool MVirtualGroup::removeMember(const MEvent* event) {
  const size_t index = indexOfMember(event);
  if (index == MEventContainer::npos) return false;
  ids_.erase(std::find(ids_.begin(), ids_.end(), event->getID()));
  members_.erase(members_.begin() + static_cast<std::ptrdiff_t>(index));
  eventsChanged();
  return true;
}

size_t MVirtualGroup::resolve(const MProject& project) {
  members_.clear();
  for (uint32_t id : ids_) {
    MEvent* event = project.findEvent(id);
    if (event != nullptr && event->getNode() != this) members_.push_back(FRef<MEvent>::share(event));
  }
  return members_.size();
}

FRef<MAccessor> MVirtualGroup::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MVNodeAccessor(FRef<MVirtualGroup>::share(this), true));
}

FRef<MAccessor> MVirtualGroup::getReadAccessor() {
  return FRef<MAccessor>(new MVNodeAccessor(FRef<MVirtualGroup>::share(this), false));
}

bool MVirtualGroup::writeToArchive(FObjectArchive& archive) const {
  if (!MDataNode::writeToArchive(archive)) return false;
  FStream& s = archive.stream();
  if (!s.writeUInt32(static_cast<uint32_t>(ids_.size()))) return false;
  for (uint32_t id : ids_) {
    if (!s.writeUInt32(id)) return false;
  }
  return true;
}

bool MVirtualGroup::readFromArchive(FObjectArchive& archive) {
  if (!MDataNode::readFromArchive(archive)) return false;
  FStream& s = archive.stream();
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * 4 > left) return false;
  ids_.clear();
  members_.clear();
  ids_.reserve(count);
  // 0 names no event, and a repeated ID adds nothing; a hash set keeps the
  // first of each in one pass, in the order read.
  std::unordered_set<uint32_t> seen;
  seen.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t id = 0;
    if (!s.readUInt32(&id)) return false;
    if (id != 0 && seen.insert(id).second) ids_.push_back(id);
  }
  return true;
}

MVirtualGroup* MVirtualGroupEvent::getGroup() const { return dynamic_cast<MVirtualGroup*>(getNode()); }

MVNodeAccessor::MVNodeAccessor(FRef<MVirtualGroup> group, bool writable)
    : MAccessor(FRef<MDataNode>(std::move(group)), nullptr, writable) {}

size_t MVNodeAccessor::count() const { return group() != nullptr ? group()->memberCount() : 0; }

MEvent* MVNodeAccessor::at(size_t index) const { return group() != nullptr ? group()->memberAt(index) : nullptr; }

size_t MVNodeAccessor::indexOf(const MEvent* event) const {
  return group() != nullptr ? group()->indexOfMember(event) : MEventContainer::npos;
}

bool MVNodeAccessor::insert(FRef<MEvent> event) {
  return isWritable() && group() != nullptr && group()->addMember(event.get());
}

FRef<MEvent> MVNodeAccessor::remove(MEvent* event) {
  if (!isWritable() || group() == nullptr) return nullptr;
  FRef<MEvent> kept = FRef<MEvent>::share(event);
  if (!group()->removeMember(event)) return nullptr;
  return kept;
}

}  // namespace vantor
