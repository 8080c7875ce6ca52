#include "model/tree/MTrackList.h"

#include <algorithm>

#include "foundation/FObjectArchive.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MTrackList, MDataNode, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MTrackListAccessor, MAccessor, 0)

MTrackList::~MTrackList() {
  for (auto& track : tracks_) {
    if (track->getParent() == this) track->setParent(nullptr);
  }
}

size_t MTrackList::indexOf(const MEvent* track) const {
  for (size_t i = 0; i < tracks_.size(); ++i) {
    if (tracks_[i].get() == track) return i;
  }
  return npos;
}

bool MTrackList::insert(FRef<MTrackEvent> track, size_t index) {
  if (!track || indexOf(track.get()) != npos) return false;
  index = std::min(index, tracks_.size());
  track->setParent(this);
  tracks_.insert(tracks_.begin() + static_cast<std::ptrdiff_t>(index), std::move(track));
  eventsChanged();
  return true;
}

FRef<MTrackEvent> MTrackList::remove(const MEvent* track) {
  const size_t index = indexOf(track);
  if (index == npos) return nullptr;
  FRef<MTrackEvent> taken = std::move(tracks_[index]);
  tracks_.erase(tracks_.begin() + static_cast<std::ptrdiff_t>(index));
  taken->setParent(nullptr);
  eventsChanged();
  return taken;
}

bool MTrackList::move(const MEvent* track, size_t newIndex) {
  const size_t index = indexOf(track);
  if (index == npos) return false;
  newIndex = std::min(newIndex, tracks_.size() - 1);
  auto first = tracks_.begin();
  if (newIndex < index) {
    std::rotate(first + static_cast<std::ptrdiff_t>(newIndex), first + static_cast<std::ptrdiff_t>(index),
                first + static_cast<std::ptrdiff_t>(index) + 1);
  } else if (newIndex > index) {
    std::rotate(first + static_cast<std::ptrdiff_t>(index), first + static_cast<std::ptrdiff_t>(index) + 1,
                first + static_cast<std::ptrdiff_t>(newIndex) + 1);
  }
  eventsChanged();
  return true;
}

FRef<MAccessor> MTrackList::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MTrackListAccessor(FRef<MTrackList>::share(this), true));
}

FRef<MAccessor> MTrackList::getReadAccessor() {
  return FRef<MAccessor>(new MTrackListAccessor(FRef<MTrackList>::share(this), false));
}

bool MTrackList::writeToArchive(FObjectArchive& archive) const {
  if (!MDataNode::writeToArchive(archive)) return false;
  if (!archive.stream().writeUInt32(static_cast<uint32_t>(tracks_.size()))) return false;
  for (const auto& track : tracks_) {
    if (!archive.writeObject(track.get())) return false;
  }
  return true;
}

bool MTrackList::readFromArchive(FObjectArchive& archive) {
  if (!MDataNode::readFromArchive(archive)) return false;
  uint32_t count = 0;
  if (!archive.stream().readUInt32(&count)) return false;
  // Every record takes at least two bytes: a larger count is damage.
  const int64_t left = archive.stream().remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * 2 > left) return false;
  for (uint32_t i = 0; i < count; ++i) {
    FRef<MTrackEvent> track;
    // A track lives in one list: a second appearance (a back reference) is
    // damage, and so is a track whose node encloses it. Appended directly:
    // insert() looks for the track first, which would make reading
    // quadratic in the number of tracks.
    if (!archive.readObjectAs(&track) || archive.lastWasBackReference()) return false;
    if (track && archive.isBeingRead(track->getNode())) return false;
    if (!track) continue;
    track->setParent(this);
    tracks_.push_back(std::move(track));
  }
  eventsChanged();
  return true;
}

MTrackListAccessor::MTrackListAccessor(FRef<MTrackList> list, bool writable)
    : MAccessor(FRef<MDataNode>(std::move(list)), nullptr, writable) {}

size_t MTrackListAccessor::count() const { return list() != nullptr ? list()->count() : 0; }

MEvent* MTrackListAccessor::at(size_t index) const { return list() != nullptr ? list()->at(index) : nullptr; }

size_t MTrackListAccessor::indexOf(const MEvent* event) const {
  const size_t index = list() != nullptr ? list()->indexOf(event) : MTrackList::npos;
  return index == MTrackList::npos ? MEventContainer::npos : index;
}

bool MTrackListAccessor::insert(FRef<MEvent> event) {
  auto* track = dynamic_cast<MTrackEvent*>(event.get());
  if (track == nullptr) return false;
  return insertAt(FRef<MTrackEvent>::share(track), MTrackList::npos);
}

FRef<MEvent> MTrackListAccessor::remove(MEvent* event) {
  if (!isWritable() || list() == nullptr) return nullptr;
  return FRef<MEvent>(list()->remove(event));
}

bool MTrackListAccessor::insertAt(FRef<MTrackEvent> track, size_t index) {
  if (!isWritable() || list() == nullptr) return false;
  return list()->insert(std::move(track), index);
}

bool MTrackListAccessor::move(const MEvent* track, size_t newIndex) {
  if (!isWritable() || list() == nullptr) return false;
  return list()->move(track, newIndex);
}

}  // namespace vantor
