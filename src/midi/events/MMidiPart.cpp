#include "midi/events/MMidiPart.h"

#include <atomic>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MMidiPart, MPartNode, 1)
VANTOR_DEFINE_CLASS(MMidiPartEvent, MPartEvent, 1)

namespace {
std::atomic<uint8_t> trustLoadedParts{1};
}  // namespace

uint8_t midiPartsTrusted() { return trustLoadedParts.load(std::memory_order_relaxed); }
void setMidiPartsTrusted(uint8_t value) { trustLoadedParts.store(value, std::memory_order_relaxed); }

FRef<MDataNode> MMidiPartEvent::createNode() const { return makeRef<MMidiPart>(); }

uint16_t MMidiPartEvent::persistentFlagsMask() const {
  return static_cast<uint16_t>(MPartEvent::persistentFlagsMask() & ~kUnchecked);
}

bool MMidiPartEvent::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MPartEvent::writeToArchive(archive) && s.writeInt32(zOrder_) && s.writeUInt16(lane_);
}

bool MMidiPartEvent::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int32_t order = 0;
  if (!MPartEvent::readFromArchive(archive) || !s.readInt32(&order)) return false;
  uint16_t lane = 0;
  if (archive.currentClassVersion() >= 1 && !s.readUInt16(&lane)) return false;
  zOrder_ = order;
  lane_ = lane;
  if (midiPartsTrusted() == 0) setFlag(kUnchecked, true);
  return true;
}

bool MMidiPartEvent::storeAttributes(FAttributes& attributes) const {
  if (!MPartEvent::storeAttributes(attributes)) return false;
  attributes.setInt("Z-Order", zOrder_);
  return true;
}

bool MMidiPartEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MPartEvent::restoreAttributes(attributes)) return false;
  int64_t order = 0;
  if (attributes.getInt("Z-Order", &order)) zOrder_ = static_cast<int32_t>(order);
  return true;
}

}  // namespace vantor
