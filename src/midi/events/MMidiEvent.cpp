#include "midi/events/MMidiEvent.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(MMidiEvent, MEvent, kMidiEventVersion)
VANTOR_DEFINE_CLASS(MMidiPolyPressure, MMidiEvent, kMidiEventVersion)
VANTOR_DEFINE_CLASS(MMidiAfterTouch, MMidiEvent, kMidiEventVersion)
VANTOR_DEFINE_CLASS(MMidiProgramChange, MMidiEvent, kMidiEventVersion)
VANTOR_DEFINE_CLASS(MMidiController, MMidiEvent, kMidiEventVersion)
VANTOR_DEFINE_CLASS(MMidiPitchBend, MMidiEvent, kMidiEventVersion)

namespace {

bool writeByte(FStream& s, uint8_t value) { return s.writeRaw(&value, 1); }
bool readByte(FStream& s, uint8_t* out) { return s.readRaw(out, 1); }

}  // namespace

MMidiEvent::MMidiEvent() { setStart(-1.0); }

bool MMidiEvent::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeDouble(getStart()) && writeByte(s, channel_) && writeByte(s, data1_) && writeByte(s, data2_) &&
         s.writeUInt16(getFlags() & persistentFlagsMask()) && s.writeUInt32(getID());
}

bool MMidiEvent::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  const int16_t version = commonPartVersion(archive.currentClassVersion());
  double start = 0;
  uint8_t bytes[3] = {};
  if (!s.readDouble(&start) || !readByte(s, &bytes[0]) || !readByte(s, &bytes[1]) || !readByte(s, &bytes[2])) {
    return false;
  }
  uint16_t flags = 0;
  uint32_t id = 0;
  if (version >= 1 && !s.readUInt16(&flags)) return false;
  if (version >= 2 && !s.readUInt32(&id)) return false;
  setStart(start);
  channel_ = bytes[0];
  data1_ = bytes[1];
  data2_ = bytes[2];
  setFlags(getFlags() | flags);
  if (version >= 2) setID(id);
  return true;
}

bool MMidiEvent::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  attributes.setFloat("Start", getStart());
  if (channel_ != 0) attributes.setInt("Channel", channel_);
  if (data1_ != 0) attributes.setInt("Data1", data1_);
  if (data2_ != 0) attributes.setInt("Data2", data2_);
  const uint16_t flags = getFlags() & persistentFlagsMask();
  if (flags != 0) attributes.setInt("Flags", flags);
  if (getID() != 0) attributes.setInt("ID", getID());
  return true;
}

bool MMidiEvent::restoreAttributes(const FAttributes& attributes) {
  double start = 0;
  if (attributes.getFloat("Start", &start)) setStart(start);
  const auto byteOf = [&attributes](const char* key) {
    int64_t value = 0;
    return attributes.getInt(key, &value) ? static_cast<uint8_t>(value) : uint8_t{0};
  };
  channel_ = byteOf("Channel");
  data1_ = byteOf("Data1");
  data2_ = byteOf("Data2");
  int64_t value = 0;
  if (attributes.getInt("Flags", &value)) setFlags(getFlags() | static_cast<uint16_t>(value));
  if (attributes.getInt("ID", &value)) setID(static_cast<uint32_t>(value));
  return true;
}

}  // namespace vantor
