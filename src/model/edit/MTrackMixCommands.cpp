#include "model/edit/MTrackMixCommands.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MTrackVolumeCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MTrackPanCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MSoloCommand, MCommand, 0)

MTrackValueCommand::MTrackValueCommand(std::vector<FRef<MTrackEvent>> tracks, uint32_t code, int32_t value)
    : code_(code), value_(value) {
  values_.reserve(tracks.size());
  for (auto& track : tracks) values_.push_back({FRef<MEvent>(std::move(track)), value});
}

size_t MTrackValueCommand::heldBytes() const {
  return MCommand::heldBytes() + values_.capacity() * sizeof(MEventValue);
}

bool MTrackValueCommand::doPerform() {
  if (values_.empty()) return refuse("no track was given");
  std::string refusal = rangeRefusal(value_);
  if (!refusal.empty()) return refuse(std::move(refusal));
  if (!exchange()) return refuse("the track cannot be changed (read-only or named twice)");
  return true;
}

bool MTrackValueCommand::sameTracks(const MCommand& other) const {
  const auto* next = dynamic_cast<const MTrackValueCommand*>(&other);
  if (next == nullptr || &next->getClass() != &getClass() || next->values_.size() != values_.size()) return false;
  for (size_t i = 0; i < values_.size(); ++i) {
    if (next->values_[i].event != values_[i].event) return false;
  }
  return true;
}

std::string MTrackVolumeCommand::rangeRefusal(int32_t value) const {
  if (value >= MTrackAttribute::kVolumeOff && value <= MTrackAttribute::kVolumeMax) return {};
  return "the volume must lie between -144 dB (off) and +12 dB";
}

std::string MTrackPanCommand::rangeRefusal(int32_t value) const {
  if (value >= -MTrackAttribute::kPanMax && value <= MTrackAttribute::kPanMax) return {};
  return "the pan must lie between -100 (left) and 100 (right)";
}

}  // namespace vantor
