#pragma once
// MIDI parts: an MMidiPart holds a part's MIDI events in start order; an
// MMidiPartEvent places it on a MIDI track.
//
// MMidiPartEvent archive form: the MPartEvent form, then the z-order (signed
// 32-bit) and, from version 1, the lane (16-bit).
//
// The lane is the extra per-placement word: the row in which the part is
// drawn when a track shows overlapping parts in lanes (0 is the first row).
// It changes nothing in playback.
//
// Flag kUnchecked (0x2000) marks a part event read from an archive while
// midiPartsTrusted() is 0: its content has not been checked since it was
// loaded, and whatever uses the part first (an editor, the player) is
// expected to check its events (order, lengths) and clear the flag. The
// flag says something about this session only, so it is never written.

#include <cstdint>

#include "model/tree/MPartEvent.h"

namespace vantor {

class MMidiPart : public MPartNode {
  VANTOR_CLASS(MMidiPart)
};

class MMidiPartEvent : public MPartEvent {
  VANTOR_EVENT(MMidiPartEvent)
 public:
  static constexpr uint16_t kUnchecked = 0x2000;

  MMidiPartEvent() = default;

  // A new, empty MMidiPart.
  FRef<MDataNode> createNode() const override;
  uint16_t persistentFlagsMask() const override;

  // Stacking order among overlapping parts of a track; higher lies on top.
  int32_t getZOrder() const { return zOrder_; }
  void setZOrder(int32_t order) { zOrder_ = order; }
  uint16_t getLane() const { return lane_; }
  void setLane(uint16_t lane) { lane_ = lane; }

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // The MEvent attributes, then "Z-Order" always.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  int32_t zOrder_ = 0;
  uint16_t lane_ = 0;
};

// The one-byte switch read when part events are loaded: 1 (the default)
// trusts loaded parts; 0 marks each loaded MMidiPartEvent kUnchecked.
uint8_t midiPartsTrusted();
void setMidiPartsTrusted(uint8_t value);

}  // namespace vantor
