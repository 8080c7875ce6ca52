#pragma once
// Commands that change an event's attributes: its rank among events of equal
// start (priority), the node it lies in while keeping its time (vertical
// position), the muted and edit-locked flags, its name and its colour. Each
// holds the values to set and exchanges them with the current ones, so
// performing again undoes it. An event held by a node that gives no write
// accessor (read-only) is not changed: the command fails and changes nothing.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/edit/MMoveCommand.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Brings an event to the front or sends it to the back among the events of
// its node that start at the same time: events of equal start are ordered by
// their order key, and the last one is in front (drawn on top, played last).
// To the front gives the event a fresh, highest key; to the back gives every
// other event of that start a fresh key in their present order, so the event
// comes first. "To Front" / "To Back".
class MPriorityCommand : public MExchangeCommand {
  VANTOR_CLASS(MPriorityCommand)
 public:
  MPriorityCommand() = default;
  MPriorityCommand(FRef<MEvent> event, bool toFront);

  std::string description() const override { return toFront_ ? "To Front" : "To Back"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;

 private:
  struct Rank {
    FRef<MEvent> event;
    uint64_t key;
  };
  bool exchange() override;

  FRef<MEvent> event_;
  FRef<MDataNode> node_;
  bool toFront_ = true;
  std::vector<Rank> ranks_;
};

// Moves events into another node (another track or lane) at the same time.
// Edit-locked events refuse. "Move Vertically". Repeated vertical moves of
// the same events unite.
class MVerticalCommand : public MEventMoveCommand {
  VANTOR_CLASS(MVerticalCommand)
 public:
  MVerticalCommand() = default;
  MVerticalCommand(std::vector<FRef<MEvent>> events, FRef<MDataNode> target);

  std::string description() const override { return "Move Vertically"; }
};

// One event and the value of an attribute to give it.
struct MEventValue {
  FRef<MEvent> event;
  int32_t value = 0;
};

// Exchanges the value of each entry with the event's flag bit (non-zero:
// set). All or nothing: false, with nothing changed, when an event is
// missing or named twice, or its node gives no write accessor.
[[nodiscard]] bool exchangeFlag(std::vector<MEventValue>& values, uint16_t bit);

// Exchanges the value of each entry with the track event's attribute code
// (model/tree/MTrackEvent.h). All or nothing: false, with nothing changed,
// when an entry is not a track event, is missing or named twice, or its
// node gives no write accessor.
[[nodiscard]] bool exchangeTrackAttribute(std::vector<MEventValue>& values, uint32_t code);

// Runs change(i) for each events[i] between the announcements of its node
// (extent will change, extent changed), for edits of an event's own values.
// All or nothing: false, with change never called, when an event is missing
// or named twice, or its node gives no write accessor.
[[nodiscard]] bool changeEach(const std::vector<FRef<MEvent>>& events, const std::function<void(size_t)>& change);

// Mutes or unmutes events. "Mute" / "Unmute".
class MMuteCommand : public MExchangeCommand {
  VANTOR_CLASS(MMuteCommand)
 public:
  MMuteCommand() = default;
  MMuteCommand(std::vector<FRef<MEvent>> events, bool mute);

  std::string description() const override { return mute_ ? "Mute" : "Unmute"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override { return !values_.empty() && exchange(); }
  bool exchange() override { return exchangeFlag(values_, MEventFlag::kMuted); }

 private:
  std::vector<MEventValue> values_;
  bool mute_ = true;
};

// Sets or clears the edit lock of events (locked events refuse moves and
// resizes). "Lock Event" / "Unlock Event".
class MEditLockCommand : public MExchangeCommand {
  VANTOR_CLASS(MEditLockCommand)
 public:
  MEditLockCommand() = default;
  MEditLockCommand(std::vector<FRef<MEvent>> events, bool lock);

  std::string description() const override { return lock_ ? "Lock Event" : "Unlock Event"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override { return !values_.empty() && exchange(); }
  bool exchange() override { return exchangeFlag(values_, MEventFlag::kLocked); }

 private:
  std::vector<MEventValue> values_;
  bool lock_ = true;
};

// Renames an event through the controller of its class (a part's or a
// track's name is its node's name, a marker's its own). The controller may
// refuse (a locked part, a locator marker): the command fails with its
// reason. It fails too when the event's node is read-only or the name is
// refused by isValidName (model/tree/MName.h). "Rename Part"
// ("Rename Track", "Rename Marker"). Repeated renames of the same event
// unite, so typing a name is one undo step.
class MRenameCommand : public MExchangeCommand {
  VANTOR_CLASS(MRenameCommand)
 public:
  MRenameCommand() = default;
  MRenameCommand(FRef<MEvent> event, std::string name);

  std::string description() const override;
  bool unite(const MCommand& next) override;
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;
  bool exchange() override;

 private:
  FRef<MEvent> event_;
  std::string name_;
};

// Sets the colour of track events (their "Colr" attribute; 0 is the kind's
// default colour) and of parts (0 is the track's colour). Other events carry
// no colour: a command naming one fails. "Color".
class MColorCommand : public MExchangeCommand {
  VANTOR_CLASS(MColorCommand)
 public:
  MColorCommand() = default;
  MColorCommand(std::vector<FRef<MEvent>> events, int32_t color);

  std::string description() const override { return "Color"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override { return !values_.empty() && exchange(); }

 private:
  bool exchange() override;

  std::vector<MEventValue> values_;
};

}  // namespace vantor
