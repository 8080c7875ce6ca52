#include "midi/events/MMidiSysex.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MMidiSysex, MMidiEvent, kMidiEventVersion)

void MMidiSysex::dump(std::ostream& out) const {
  static constexpr char kHex[] = "0123456789ABCDEF";
  out << "Data ";
  for (uint8_t byte : bytes_) out << kHex[byte >> 4] << kHex[byte & 0x0F] << ' ';
  out << '\n';
}

bool MMidiSysex::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MMidiEvent::writeToArchive(archive) && s.writeUInt32(static_cast<uint32_t>(bytes_.size())) &&
         s.writeRaw(bytes_.data(), static_cast<int64_t>(bytes_.size()));
}

bool MMidiSysex::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  uint32_t count = 0;
  if (!MMidiEvent::readFromArchive(archive) || !s.readUInt32(&count)) return false;
  if (count > s.remaining()) return false;
  std::vector<uint8_t> bytes(count);
  if (!s.readRaw(bytes.data(), count)) return false;
  bytes_ = std::move(bytes);
  return true;
}

bool MMidiSysex::storeAttributes(FAttributes& attributes) const {
  if (!MMidiEvent::storeAttributes(attributes)) return false;
  if (!bytes_.empty()) attributes.setBytes("Data", bytes_);
  return true;
}

bool MMidiSysex::restoreAttributes(const FAttributes& attributes) {
  if (!MMidiEvent::restoreAttributes(attributes)) return false;
  std::vector<uint8_t> bytes;
  bytes_ = attributes.getBytes("Data", &bytes) ? std::move(bytes) : std::vector<uint8_t>{};
  return true;
}

}  // namespace vantor
