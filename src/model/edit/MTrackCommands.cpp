#include "model/edit/MTrackCommands.h"

#include <algorithm>

namespace vantor {

VANTOR_DEFINE_CLASS(MInsertTrackCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MRemoveTrackCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MMoveTrackCommand, MCommand, 0)

namespace {
FRef<MTrackListAccessor> trackAccessorOf(MTrackList* list) {
  FRef<MAccessor> accessor = writeAccessorOf(list);
  auto* tracks = dynamic_cast<MTrackListAccessor*>(accessor.get());
  return tracks != nullptr ? FRef<MTrackListAccessor>::share(tracks) : nullptr;
}
}  // namespace

// ---- MInsertTrackCommand ----------------------------------------------------

MInsertTrackCommand::MInsertTrackCommand(FRef<MTrackList> list, FRef<MTrackEvent> track, size_t index)
    : list_(std::move(list)), track_(std::move(track)), index_(index) {}

bool MInsertTrackCommand::doPerform() {
  FRef<MTrackListAccessor> accessor = trackAccessorOf(list_.get());
  if (!accessor || !track_ || track_->getParent() != nullptr) return false;
  if (!accessor->insertAt(track_, index_)) return false;
  registerEvent(track_.get());
  return true;
}

bool MInsertTrackCommand::doUndo() {
  FRef<MTrackListAccessor> accessor = trackAccessorOf(list_.get());
  const size_t index = accessor ? list_->indexOf(track_.get()) : MTrackList::npos;
  if (index == MTrackList::npos) return false;
  // Redo puts the track back where it was, also when it was added at the end.
  index_ = index;
  return static_cast<bool>(accessor->remove(track_.get()));
}

// ---- MRemoveTrackCommand ----------------------------------------------------

MRemoveTrackCommand::MRemoveTrackCommand(std::vector<FRef<MTrackEvent>> tracks) {
  places_.reserve(tracks.size());
  for (auto& track : tracks) {
    FRef<MDataNode> list = track ? FRef<MDataNode>::share(track->getParent()) : nullptr;
    places_.push_back({FRef<MEvent>(std::move(track)), std::move(list), MTrackList::npos});
  }
}

MRemoveTrackCommand::MRemoveTrackCommand(FRef<MTrackEvent> track)
    : MRemoveTrackCommand(std::vector<FRef<MTrackEvent>>{std::move(track)}) {}

size_t MRemoveTrackCommand::heldBytes() const {
  return MCommand::heldBytes() + places_.capacity() * sizeof(MEventPlace);
}

bool MRemoveTrackCommand::doPerform() {
  if (places_.empty()) return false;
  for (const MEventPlace& place : places_) {
    if (dynamic_cast<MTrackList*>(place.node.get()) == nullptr) return false;
  }
  return takeOutAll(places_);
}

// ---- MMoveTrackCommand ------------------------------------------------------

MMoveTrackCommand::MMoveTrackCommand(FRef<MTrackEvent> track, size_t newIndex)
    : track_(std::move(track)), index_(newIndex) {
  if (track_) list_ = FRef<MTrackList>::share(dynamic_cast<MTrackList*>(track_->getParent()));
}

bool MMoveTrackCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MMoveTrackCommand*>(&next);
  return other != nullptr && other->track_ == track_ && other->list_ == list_;
}

bool MMoveTrackCommand::exchange() {
  FRef<MTrackListAccessor> accessor = trackAccessorOf(list_.get());
  const size_t index = accessor ? list_->indexOf(track_.get()) : MTrackList::npos;
  if (index == MTrackList::npos) return false;
  // Keep the clamped place, so that the exchange back lands exactly.
  const size_t target = std::min(index_, list_->count() - 1);
  if (!accessor->move(track_.get(), target)) return false;
  index_ = index;
  return true;
}

}  // namespace vantor
