#pragma once
// Notes: pitch (data1), velocity (data2), note-off velocity (data3) and a
// length, with the offsets that remember where a moved note began.
//
// The note's initial start is start + initial start offset and its initial
// length is length + initial length offset; both offsets are 0.0 on a note
// that has not been moved or sized. The length is held where MEvent keeps
// it.
//
// Archive form: the MMidiEvent part, always in its newest form (note
// records have versions of their own, which began when that part was
// already at kMidiEventVersion), then length, initial start offset and
// initial length offset (doubles), then from version 1 data3 (one byte).

#include <cstdint>

#include "midi/events/MMidiEvent.h"

namespace vantor {

class MMidiNote : public MMidiEvent {
  VANTOR_EVENT(MMidiNote)
 public:
  static constexpr const char* kDisplayName = "Note";
  MMidiNote() = default;
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0x90; }

  // The note-off velocity.
  uint8_t getData3() const { return data3_; }
  void setData3(uint8_t value) { data3_ = value; }

  double getInitialStartOffset() const { return initialStartOffset_; }
  void setInitialStartOffset(double offset) { initialStartOffset_ = offset; }
  double getInitialLengthOffset() const { return initialLengthOffset_; }
  void setInitialLengthOffset(double offset) { initialLengthOffset_ = offset; }

  // Where the note began before it was moved: start + initial start offset.
  double getInitialStart() const { return getStart() + initialStartOffset_; }
  // The length before it was sized: length + initial length offset.
  double getInitialLength() const { return getLength() + initialLengthOffset_; }
  // Keeps initial so that getInitialStart() answers it after a move.
  void setInitialStart(double initial) { initialStartOffset_ = initial - getStart(); }
  void setInitialLength(double initial) { initialLengthOffset_ = initial - getLength(); }

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // After the MMidiEvent attributes: "Length" always, "Initial Startoffset"
  // and "Initial Lengthoffset" when not 0.0, "Data3" when not 0.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 protected:
  int16_t commonPartVersion(int16_t) const override { return kMidiEventVersion; }

 private:
  uint8_t data3_ = 0;
  double initialStartOffset_ = 0;
  double initialLengthOffset_ = 0;
};

// A note that stands for a chord.
class MChordEvent : public MMidiNote {
  VANTOR_EVENT(MChordEvent)
 public:
  static constexpr const char* kDisplayName = "Chord";
  const char* getDisplayName() const override { return kDisplayName; }
};

}  // namespace vantor
