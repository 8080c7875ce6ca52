#include "midi/events/MMidiMessage.h"

#include "midi/events/MMidiNote.h"

namespace vantor {

FRef<MMidiEvent> makeMidiEvent(uint8_t status, uint8_t data1, uint8_t data2) {
  FRef<MMidiEvent> event;
  bool twoDataBytes = true;
  switch (status & 0xF0) {
    case 0x80:
    case 0x90:
      event = makeRef<MMidiNote>();
      break;
    case 0xA0:
      event = makeRef<MMidiPolyPressure>();
      break;
    case 0xB0:
      event = makeRef<MMidiController>();
      break;
    case 0xC0:
      event = makeRef<MMidiProgramChange>();
      twoDataBytes = false;
      break;
    case 0xD0:
      event = makeRef<MMidiAfterTouch>();
      twoDataBytes = false;
      break;
    case 0xE0:
      event = makeRef<MMidiPitchBend>();
      break;
    default:
      return nullptr;
  }
  event->setChannel(status & 0x0F);
  event->setData1(data1);
  event->setData2(twoDataBytes ? data2 : 0);
  return event;
}

std::optional<MMidiMessage> midiMessageOf(const MMidiEvent& event) {
  const uint8_t type = event.getStatusType();
  if (type < 0x80 || type >= 0xF0) return std::nullopt;
  MMidiMessage message;
  message.status = static_cast<uint8_t>(type | (event.getChannel() & 0x0F));
  message.data1 = event.getData1() & 0x7F;
  const bool twoDataBytes = type != 0xC0 && type != 0xD0;
  message.data2 = twoDataBytes ? (event.getData2() & 0x7F) : 0;
  message.size = twoDataBytes ? 3 : 2;
  return message;
}

MMidiMessage noteOffMessageOf(const MMidiNote& note) {
  return {static_cast<uint8_t>(0x80 | (note.getChannel() & 0x0F)), static_cast<uint8_t>(note.getData1() & 0x7F),
          static_cast<uint8_t>(note.getData3() & 0x7F), 3};
}

}  // namespace vantor
