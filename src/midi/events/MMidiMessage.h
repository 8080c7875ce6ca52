#pragma once
// Between MIDI events and channel messages (status byte and data bytes), for
// the MIDI file reader and writer and the player.
//
// The mapping by the status byte's high nibble: 0x8 and 0x9 make a note,
// 0xA poly pressure, 0xB a controller, 0xC a program change, 0xD
// aftertouch, 0xE a pitch bend. Whether a note-on of velocity 0 ends a note
// is for the caller to decide.

#include <cstdint>
#include <optional>

#include "foundation/FRef.h"
#include "midi/events/MMidiEvent.h"

namespace vantor {

class MMidiNote;

// A channel message as sent or written; size counts the status byte (2 or
// 3), and data2 is 0 when size is 2.
struct MMidiMessage {
  uint8_t status = 0;
  uint8_t data1 = 0;
  uint8_t data2 = 0;
  uint8_t size = 0;
};

// A new event of the class the status byte names, with its channel (the low
// nibble) and data bytes; for one-data-byte kinds data2 is ignored and left
// 0. nullptr for a byte that is no channel status (below 0x80, or 0xF0 and
// up).
FRef<MMidiEvent> makeMidiEvent(uint8_t status, uint8_t data1, uint8_t data2);

// The message that sends event (a note gives its note-on); data bytes are
// limited to seven bits and the channel to four. nullopt for system
// exclusive, which is sent as its bytes.
std::optional<MMidiMessage> midiMessageOf(const MMidiEvent& event);

// The note-off of note: status 0x80, pitch, note-off velocity (data3).
MMidiMessage noteOffMessageOf(const MMidiNote& note);

}  // namespace vantor
