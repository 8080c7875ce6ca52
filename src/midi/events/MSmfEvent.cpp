#include "midi/events/MSmfEvent.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MSmfEvent, MEvent, 0)

const char* MSmfEvent::displayNameOf(uint8_t metaType) {
  switch (metaType) {
    case 0x00:
      return "SMF:Seq.Number";
    case 0x01:
      return "SMF:Text";
    case 0x02:
      return "SMF:Copyright";
    case 0x03:
      return "SMF:Trackname";
    case 0x04:
      return "SMF:Instrument";
    case 0x05:
      return "SMF:Lyric";
    case 0x06:
      return "SMF:Marker";
    case 0x07:
      return "SMF:Cue Point";
    case 0x20:
      return "SMF:MIDI Channel";
    case 0x21:
      return "SMF:MIDI Port";
    case 0x59:
      return "SMF:Key signature";
    case 0x7F:
      return "SMF:Sequencer Specific";
    default:
      return "SMF:Unknown";
  }
}

bool MSmfEvent::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MEvent::writeToArchive(archive) && s.writeRaw(&metaType_, 1) &&
         s.writeUInt32(static_cast<uint32_t>(data_.size())) &&
         s.writeRaw(data_.data(), static_cast<int64_t>(data_.size()));
}

bool MSmfEvent::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  uint8_t type = 0;
  uint32_t count = 0;
  if (!MEvent::readFromArchive(archive) || !s.readRaw(&type, 1) || !s.readUInt32(&count)) return false;
  if (count > s.remaining()) return false;
  std::vector<uint8_t> data(count);
  if (!s.readRaw(data.data(), count)) return false;
  metaType_ = type;
  data_ = std::move(data);
  return true;
}

bool MSmfEvent::storeAttributes(FAttributes& attributes) const {
  if (!MEvent::storeAttributes(attributes)) return false;
  attributes.setInt("Type", metaType_);
  if (!data_.empty()) attributes.setBytes("Data", data_);
  return true;
}

bool MSmfEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MEvent::restoreAttributes(attributes)) return false;
  int64_t type = 0;
  if (attributes.getInt("Type", &type)) metaType_ = static_cast<uint8_t>(type);
  std::vector<uint8_t> data;
  data_ = attributes.getBytes("Data", &data) ? std::move(data) : std::vector<uint8_t>{};
  return true;
}

}  // namespace vantor
