#pragma once
// Commands on the mixer channel of tracks: volume, pan and solo, kept in the
// track event's attribute set ("Volu" in hundredths of a decibel, "Pan " in
// percent, "Solo"; model/tree/MTrackEvent.h). Muting a track is its event's
// muted flag (MMuteCommand). Each command holds the values to set and
// exchanges them with the tracks', so performing again undoes it. A value
// outside its range is refused with a message and nothing changes; so is a
// track whose node gives no write accessor.

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/edit/MAttributeCommands.h"
#include "model/tree/MTrackEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Gives each track the same value of one attribute. Not a class of its own
// in the registry: its subclasses name MCommand as their base.
class MTrackValueCommand : public MExchangeCommand {
 public:
  size_t heldBytes() const override;

 protected:
  MTrackValueCommand() = default;
  MTrackValueCommand(std::vector<FRef<MTrackEvent>> tracks, uint32_t code, int32_t value);

  // Why value may not be set, or "" when it may.
  virtual std::string rangeRefusal(int32_t value) const = 0;
  bool doPerform() override;
  bool exchange() override { return exchangeTrackAttribute(values_, code_); }
  // Whether other changes the same tracks, in the same order, with the same
  // kind of command: then repeated changes unite into one undo step.
  bool sameTracks(const MCommand& other) const;

 private:
  std::vector<MEventValue> values_;
  uint32_t code_ = 0;
  int32_t value_ = 0;
};

// Sets the volume of tracks, in hundredths of a decibel from
// MTrackAttribute::kVolumeOff (silent) to kVolumeMax (+12 dB). "Track
// Volume". Repeated changes of the same tracks unite.
class MTrackVolumeCommand : public MTrackValueCommand {
  VANTOR_CLASS(MTrackVolumeCommand)
 public:
  MTrackVolumeCommand() = default;
  MTrackVolumeCommand(std::vector<FRef<MTrackEvent>> tracks, int32_t centibels)
      : MTrackValueCommand(std::move(tracks), MTrackAttribute::kVolume, centibels) {}

  std::string description() const override { return "Track Volume"; }
  bool unite(const MCommand& next) override { return sameTracks(next); }

 protected:
  std::string rangeRefusal(int32_t value) const override;
};

// Sets the pan of tracks, in percent from -100 (left) to 100 (right).
// "Track Pan". Repeated changes of the same tracks unite.
class MTrackPanCommand : public MTrackValueCommand {
  VANTOR_CLASS(MTrackPanCommand)
 public:
  MTrackPanCommand() = default;
  MTrackPanCommand(std::vector<FRef<MTrackEvent>> tracks, int32_t percent)
      : MTrackValueCommand(std::move(tracks), MTrackAttribute::kPan, percent) {}

  std::string description() const override { return "Track Pan"; }
  bool unite(const MCommand& next) override { return sameTracks(next); }

 protected:
  std::string rangeRefusal(int32_t value) const override;
};

// Solos or unsolos tracks. "Solo" / "Unsolo".
class MSoloCommand : public MTrackValueCommand {
  VANTOR_CLASS(MSoloCommand)
 public:
  MSoloCommand() = default;
  MSoloCommand(std::vector<FRef<MTrackEvent>> tracks, bool solo)
      : MTrackValueCommand(std::move(tracks), MTrackAttribute::kSolo, solo ? 1 : 0), solo_(solo) {}

  std::string description() const override { return solo_ ? "Solo" : "Unsolo"; }

 protected:
  std::string rangeRefusal(int32_t) const override { return {}; }

 private:
  bool solo_ = true;
};

}  // namespace vantor
