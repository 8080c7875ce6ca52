#include "audio/pool/MAudioFadeCommand.h"

#include "model/edit/MAttributeCommands.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MAudioFadeCommand, MCommand, 0)

MAudioFadeCommand::MAudioFadeCommand(std::vector<FRef<MAudioEvent>> events, std::optional<MAudioFade> in,
                                     std::optional<MAudioFade> out)
    : setsIn_(in.has_value()), setsOut_(out.has_value()) {
  entries_.reserve(events.size());
  for (auto& event : events)
    entries_.push_back({std::move(event), in.value_or(MAudioFade{}), out.value_or(MAudioFade{})});
}

std::string MAudioFadeCommand::description() const {
  if (setsIn_ && setsOut_) return "Fades";
  return setsIn_ ? "Fade In" : "Fade Out";
}

size_t MAudioFadeCommand::heldBytes() const { return MCommand::heldBytes() + entries_.capacity() * sizeof(Entry); }

std::string MAudioFadeCommand::refusalFor(const MAudioEvent& event) const {
  const Entry& first = entries_.front();
  const int64_t in = setsIn_ ? first.in.frames : event.getFadeIn();
  const int64_t out = setsOut_ ? first.out.frames : event.getFadeOut();
  if (in < 0 || out < 0) return "a fade cannot be negative";
  const int64_t length = event.getClipLength();
  if (in > length || out > length || in + out > length) {
    return "the fades (" + std::to_string(in) + " and " + std::to_string(out) + " frames) are longer than the event (" +
           std::to_string(length) + " frames)";
  }
  return {};
}

bool MAudioFadeCommand::doPerform() {
  if (entries_.empty() || (!setsIn_ && !setsOut_)) return refuse("no fade was given");
  for (const Entry& entry : entries_) {
    if (!entry.event) return false;
    std::string refusal = refusalFor(*entry.event);
    if (!refusal.empty()) return refuse(std::move(refusal));
  }
  if (!exchange()) return refuse("the event cannot be changed (read-only or named twice)");
  return true;
}

bool MAudioFadeCommand::exchange() {
  std::vector<FRef<MEvent>> events;
  events.reserve(entries_.size());
  for (const Entry& entry : entries_) events.push_back(FRef<MEvent>::share(entry.event.get()));
  return changeEach(events, [this](size_t i) {
    Entry& entry = entries_[i];
    MAudioEvent& event = *entry.event;
    const MAudioFade in{event.getFadeIn(), event.getFadeInCurve()};
    const MAudioFade out{event.getFadeOut(), event.getFadeOutCurve()};
    if (setsIn_) event.setFadeIn(entry.in.frames, entry.in.curve);
    if (setsOut_) event.setFadeOut(entry.out.frames, entry.out.curve);
    entry.in = in;
    entry.out = out;
  });
}

bool MAudioFadeCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MAudioFadeCommand*>(&next);
  if (other == nullptr || other->setsIn_ != setsIn_ || other->setsOut_ != setsOut_ ||
      other->entries_.size() != entries_.size()) {
    return false;
  }
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (other->entries_[i].event != entries_[i].event) return false;
  }
  return true;
}

}  // namespace vantor
