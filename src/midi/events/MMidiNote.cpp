#include "midi/events/MMidiNote.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MMidiNote, MMidiEvent, 1)
VANTOR_DEFINE_CLASS(MChordEvent, MMidiNote, 1)

bool MMidiNote::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MMidiEvent::writeToArchive(archive) && s.writeDouble(getLength()) && s.writeDouble(initialStartOffset_) &&
         s.writeDouble(initialLengthOffset_) && s.writeRaw(&data3_, 1);
}

bool MMidiNote::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  double length = 0;
  double startOffset = 0;
  double lengthOffset = 0;
  if (!MMidiEvent::readFromArchive(archive) || !s.readDouble(&length) || !s.readDouble(&startOffset) ||
      !s.readDouble(&lengthOffset)) {
    return false;
  }
  uint8_t data3 = 0;
  if (archive.currentClassVersion() >= 1 && !s.readRaw(&data3, 1)) return false;
  setLength(length);
  initialStartOffset_ = startOffset;
  initialLengthOffset_ = lengthOffset;
  data3_ = data3;
  return true;
}

bool MMidiNote::storeAttributes(FAttributes& attributes) const {
  if (!MMidiEvent::storeAttributes(attributes)) return false;
  attributes.setFloat("Length", getLength());
  if (initialStartOffset_ != 0.0) attributes.setFloat("Initial Startoffset", initialStartOffset_);
  if (initialLengthOffset_ != 0.0) attributes.setFloat("Initial Lengthoffset", initialLengthOffset_);
  if (data3_ != 0) attributes.setInt("Data3", data3_);
  return true;
}

bool MMidiNote::restoreAttributes(const FAttributes& attributes) {
  if (!MMidiEvent::restoreAttributes(attributes)) return false;
  int64_t data3 = 0;
  data3_ = attributes.getInt("Data3", &data3) ? static_cast<uint8_t>(data3) : uint8_t{0};
  double value = 0;
  if (attributes.getFloat("Length", &value)) setLength(value);
  initialStartOffset_ = attributes.getFloat("Initial Startoffset", &value) ? value : 0.0;
  initialLengthOffset_ = attributes.getFloat("Initial Lengthoffset", &value) ? value : 0.0;
  return true;
}

}  // namespace vantor
