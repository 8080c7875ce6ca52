#pragma once
// Commands that change a track list: add a track, remove tracks, move a
// track to another place. Track lists are ordered by index, and each command
// keeps the indexes it changed, so undoing puts every track back exactly
// where it was. A read-only track list refuses: the command fails and
// changes nothing. An added track (and everything below it) gets its event
// IDs in the command's project when it goes in.

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Adds a new track (one without a parent) to a track list at index (at the
// end for npos or any index past the end). "Add Track".
class MInsertTrackCommand : public MCommand {
  VANTOR_CLASS(MInsertTrackCommand)
 public:
  MInsertTrackCommand() = default;
  MInsertTrackCommand(FRef<MTrackList> list, FRef<MTrackEvent> track, size_t index = MTrackList::npos);

  std::string description() const override { return "Add Track"; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override { return doPerform(); }

 private:
  FRef<MTrackList> list_;
  FRef<MTrackEvent> track_;
  size_t index_ = MTrackList::npos;
};

// Removes tracks from the track lists that hold them. "Remove Track".
class MRemoveTrackCommand : public MCommand {
  VANTOR_CLASS(MRemoveTrackCommand)
 public:
  MRemoveTrackCommand() = default;
  explicit MRemoveTrackCommand(std::vector<FRef<MTrackEvent>> tracks);
  explicit MRemoveTrackCommand(FRef<MTrackEvent> track);

  std::string description() const override { return places_.size() > 1 ? "Remove Tracks" : "Remove Track"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;
  bool doUndo() override { return putBackAll(places_); }
  bool doRedo() override { return takeOutAll(places_); }

 private:
  std::vector<MEventPlace> places_;
};

// Moves a track to another index of its track list (clamped to the last
// place). "Move Track". Repeated moves of the same track unite, so a drag
// through the list is one undo step.
class MMoveTrackCommand : public MExchangeCommand {
  VANTOR_CLASS(MMoveTrackCommand)
 public:
  MMoveTrackCommand() = default;
  MMoveTrackCommand(FRef<MTrackEvent> track, size_t newIndex);

  std::string description() const override { return "Move Track"; }
  bool unite(const MCommand& next) override;

 protected:
 private:
  bool exchange() override;

  FRef<MTrackEvent> track_;
  FRef<MTrackList> list_;
  size_t index_ = 0;
};

}  // namespace vantor
