#pragma once
// Sets the own fades of audio events (MAudioEvent::getFadeIn/getFadeOut):
// lengths in frames of the clip, 0 for none of its own. The command holds
// the fades to give and exchanges them with the events', so performing
// again undoes it.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "audio/pool/MAudioEvent.h"
#include "foundation/FRef.h"
#include "model/undo/MCommand.h"

namespace vantor {

// One edge's fade: its length in frames of the clip and its curve.
struct MAudioFade {
  int64_t frames = 0;
  MFadeCurve curve = MFadeCurve::kLinear;
};

// Gives every event the fade-in and the fade-out given (an edge left out
// keeps its fade). Refused, with nothing changed, when a fade is negative or
// longer than an event, when both fades together are longer than an event,
// or when an event lies in a node that gives no write accessor. "Fade In",
// "Fade Out" or "Fades" (both edges). Repeated changes of the same edges of
// the same events unite, so dragging a fade is one undo step.
class MAudioFadeCommand : public MExchangeCommand {
  VANTOR_CLASS(MAudioFadeCommand)
 public:
  MAudioFadeCommand() = default;
  MAudioFadeCommand(std::vector<FRef<MAudioEvent>> events, std::optional<MAudioFade> in, std::optional<MAudioFade> out);

  std::string description() const override;
  bool unite(const MCommand& next) override;
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;
  bool exchange() override;

 private:
  struct Entry {
    FRef<MAudioEvent> event;
    MAudioFade in;
    MAudioFade out;
  };
  std::string refusalFor(const MAudioEvent& event) const;

  std::vector<Entry> entries_;
  bool setsIn_ = false;
  bool setsOut_ = false;
};

}  // namespace vantor
