#pragma once
// MIDI events: one class per message kind, all derived from MMidiEvent. An
// event holds typed fields (the kind is its class, a channel and up to three
// data bytes); a status byte is formed only when the event is sent or
// written (midi/events/MMidiMessage.h).
//
// Units: start (and a note's length and offsets) in pulses relative to the
// event's part. A new event starts at -1.0 until it is placed.
//
// Channel is stored 0-based (0..15), as it is in the low nibble of a status
// byte; the file reader and writer and the output side use the same value.
//
// Archive form: start (double), channel, data1, data2 (one byte each); from
// version 1 the flag word (16-bit, masked, ORed into the flags); from
// version 2 the ID (32-bit). The archive's class table holds the version of
// the record's own class, and that is the version this part of a record
// branches on. So that writer and reader agree, every kind that adds nothing
// of its own carries MMidiEvent's version (kMidiEventVersion), and a note
// record, whose class has versions of its own, always holds this part in
// its newest form (see MMidiNote).

#include <cstdint>

#include "model/tree/MEvent.h"

namespace vantor {

// The newest archive version of the fields every MIDI event holds.
constexpr int16_t kMidiEventVersion = 2;

class MMidiEvent : public MEvent {
  VANTOR_CLASS(MMidiEvent)
 public:
  // Start -1.0; channel, data1, data2 and the flags 0.
  MMidiEvent();

  // The 0-based MIDI channel.
  uint8_t getChannel() const { return channel_; }
  void setChannel(uint8_t channel) { channel_ = channel; }
  // Pitch for notes and poly pressure, controller number, program number,
  // pressure for aftertouch, least significant seven bits for pitch bend.
  uint8_t getData1() const { return data1_; }
  void setData1(uint8_t value) { data1_ = value; }
  // Velocity for notes, controller value, pressure for poly pressure, most
  // significant seven bits for pitch bend.
  uint8_t getData2() const { return data2_; }
  void setData2(uint8_t value) { data2_ = value; }

  // The kind's name as editors, filters and menus show it.
  virtual const char* getDisplayName() const = 0;
  // The high nibble of the kind's status byte (0x90 for notes, 0xB0 for
  // controllers, ...); 0xF0 for system exclusive.
  virtual uint8_t getStatusType() const = 0;

  // Archive form: see the top of this file.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // "Start" always; "Channel", "Data1", "Data2" and "Flags" (masked) when
  // not 0; then "ID" when the event has one. These replace the attributes
  // MEvent writes. Restoring leaves a missing byte at 0 and ORs "Flags" into
  // the flags already set.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 protected:
  // The version the common part of a record was written at, given the
  // stored version of the record's class.
  virtual int16_t commonPartVersion(int16_t storedVersion) const { return storedVersion; }

 private:
  uint8_t channel_ = 0;
  uint8_t data1_ = 0;
  uint8_t data2_ = 0;
};

// Polyphonic key pressure: data1 the pitch, data2 the pressure.
class MMidiPolyPressure : public MMidiEvent {
  VANTOR_EVENT(MMidiPolyPressure)
 public:
  static constexpr const char* kDisplayName = "Poly Pressure";
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0xA0; }
};

// Channel pressure: data1 the pressure.
class MMidiAfterTouch : public MMidiEvent {
  VANTOR_EVENT(MMidiAfterTouch)
 public:
  static constexpr const char* kDisplayName = "Aftertouch";
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0xD0; }
};

// Program change: data1 the program number.
class MMidiProgramChange : public MMidiEvent {
  VANTOR_EVENT(MMidiProgramChange)
 public:
  static constexpr const char* kDisplayName = "Program Change";
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0xC0; }
};

// Control change: data1 the controller number, data2 its value.
class MMidiController : public MMidiEvent {
  VANTOR_EVENT(MMidiController)
 public:
  static constexpr const char* kDisplayName = "Controller";
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0xB0; }
};

// Pitch bend: a 14-bit value, least significant seven bits in data1 and
// most significant seven in data2 (the order of the MIDI message).
class MMidiPitchBend : public MMidiEvent {
  VANTOR_EVENT(MMidiPitchBend)
 public:
  static constexpr const char* kDisplayName = "Pitchbend";
  // The value of a wheel at rest.
  static constexpr uint16_t kCenter = 0x2000;
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0xE0; }

  // 0..0x3FFF; 0x2000 is the centre.
  uint16_t getValue() const { return static_cast<uint16_t>((getData2() & 0x7F) << 7 | (getData1() & 0x7F)); }
  // Bits above the fourteenth are dropped.
  void setValue(uint16_t value) {
    setData1(static_cast<uint8_t>(value & 0x7F));
    setData2(static_cast<uint8_t>((value >> 7) & 0x7F));
  }
};

}  // namespace vantor
