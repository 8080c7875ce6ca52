#pragma once
// The list of tracks: track events in the order the user arranged them (by
// index, not by start). The project's track list and each folder track's
// node are track lists.

#include <cstddef>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {

class MTrackList : public MDataNode {
  VANTOR_CLASS(MTrackList)
 public:
  static constexpr size_t npos = static_cast<size_t>(-1);

  MTrackList() = default;
  MTrackList(const MTrackList&) = delete;
  MTrackList& operator=(const MTrackList&) = delete;
  ~MTrackList() override;

  size_t count() const { return tracks_.size(); }
  // The track at index, or nullptr past the end.
  MTrackEvent* at(size_t index) const { return index < tracks_.size() ? tracks_[index].get() : nullptr; }
  // Index of a track, or npos.
  size_t indexOf(const MEvent* track) const;

  // Puts track at index (at the end when index is count or more) and makes
  // this list its parent. False for a null track or one already here.
  [[nodiscard]] bool insert(FRef<MTrackEvent> track, size_t index = npos);
  // Takes track out and returns it; nullptr when it is not here.
  FRef<MTrackEvent> remove(const MEvent* track);
  // Moves track to newIndex (clamped to the last place); false when the
  // track is not here.
  [[nodiscard]] bool move(const MEvent* track, size_t newIndex);

  // Accessors over the tracks (MTrackListAccessor); the write accessor is
  // nullptr while the list is read-only.
  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;

  // Archive: the node members, then "Tracks": a 32-bit count and each track
  // event as an object record. Records of unknown classes are dropped; a
  // record of a class that is not a track event fails the read.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  std::vector<FRef<MTrackEvent>> tracks_;
};

// Accessor over a track list. insert() appends; insertAt() and move() place
// by index.
class MTrackListAccessor : public MAccessor {
  VANTOR_CLASS(MTrackListAccessor)
 public:
  MTrackListAccessor() = default;
  MTrackListAccessor(FRef<MTrackList> list, bool writable);

  size_t count() const override;
  MEvent* at(size_t index) const override;
  size_t indexOf(const MEvent* event) const override;
  // Appends a track event; false for other events or a read accessor.
  [[nodiscard]] bool insert(FRef<MEvent> event) override;
  FRef<MEvent> remove(MEvent* event) override;
  [[nodiscard]] bool insertAt(FRef<MTrackEvent> track, size_t index);
  [[nodiscard]] bool move(const MEvent* track, size_t newIndex);

 private:
  MTrackList* list() const { return static_cast<MTrackList*>(node()); }
};

}  // namespace vantor
