#pragma once
// A time signature change on the signature track: beats per bar (numerator),
// the note value of a beat (denominator), up to three subdivisions of the
// numerator for composite signatures, at a whole-pulse position.

#include <cstdint>

#include "model/tree/MEvent.h"

namespace vantor {

class MTimeSignatureEvent : public MEvent {
  VANTOR_EVENT(MTimeSignatureEvent)
 public:
  static constexpr int32_t kWholeNote = 1920;  // pulses
  static constexpr int kSubNumerators = 3;

  // 4/4 at position 0 (and so the first signature: flag 0x8).
  MTimeSignatureEvent();
  MTimeSignatureEvent(int32_t position, uint16_t numerator, uint16_t denominator);
  MTimeSignatureEvent(const MTimeSignatureEvent& other) = default;

  // Start = "Position". Setting it takes the integer part of pulses + 0.5
  // (limited to the 32-bit range; NaN gives 0) and sets flag 0x8 exactly
  // when the position is 0.
  void setStart(double pulses) override;
  double getStart() const override { return static_cast<double>(position_); }
  int32_t getPosition() const { return position_; }
  void setPosition(int32_t position);

  uint16_t getNumerator() const { return numerator_; }
  uint16_t getDenominator() const { return denominator_; }
  void setSignature(uint16_t numerator, uint16_t denominator);
  // index 0..2; 0 means no subdivision. Other indexes read 0 and are ignored.
  uint16_t getSubNumerator(int index) const;
  void setSubNumerator(int index, uint16_t value);

  // Pulses in one bar: (1920 / denominator) * numerator, integer division
  // first. A denominator of 0 gives 1920. A signature whose formula gives
  // no pulses at all (numerator 0, or a denominator above 1920) also gets
  // 1920, so that every bar has a length.
  int32_t barLength() const;
  // Pulses in one beat: 1920 / denominator; a denominator of 0 (which bars
  // read as 4/4) or above 1920 gives a quarter note, 480.
  int32_t beatLength() const;

  // Archive: the event's own members, then "Position" (32-bit), "Numerator",
  // "Denominator", "SubNumerator1".."SubNumerator3", "Flags" (16-bit each).
  // Reading ORs "Flags" into the flags and then sets 0x8 by the position.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  void updateFirstFlag();

  int32_t position_ = 0;
  uint16_t numerator_ = 4;
  uint16_t denominator_ = 4;
  uint16_t subNumerators_[kSubNumerators] = {0, 0, 0};
};

}  // namespace vantor
