#include "model/tree/MFolderDataEvent.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MFolderDataEvent, MEvent, 0)

bool MFolderDataEvent::writeToArchive(FObjectArchive& archive) const {
  return MEvent::writeToArchive(archive) && archive.stream().writeUInt32(sourceTrackID_);
}

bool MFolderDataEvent::readFromArchive(FObjectArchive& archive) {
  return MEvent::readFromArchive(archive) && archive.stream().readUInt32(&sourceTrackID_);
}

bool MFolderDataEvent::storeAttributes(FAttributes& attributes) const {
  if (!MEvent::storeAttributes(attributes)) return false;
  attributes.setInt("Source Track", sourceTrackID_);
  return true;
}

bool MFolderDataEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MEvent::restoreAttributes(attributes)) return false;
  int64_t id = 0;
  if (attributes.getInt("Source Track", &id)) sourceTrackID_ = static_cast<uint32_t>(id);
  return true;
}

}  // namespace vantor
