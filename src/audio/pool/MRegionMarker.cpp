#include "audio/pool/MRegionMarker.h"

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MRegionMarker, FShared, 1)

bool MRegionMarker::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeString(name_) && s.writeInt64(start_) && s.writeInt64(length_) && s.writeDouble(origin_);
}

bool MRegionMarker::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  std::string name;
  int64_t start = 0, length = 0;
  double origin = 0;
  if (!s.readString(&name)) return false;
  if (archive.currentClassVersion() >= 1) {
    if (!s.readInt64(&start) || !s.readInt64(&length) || !s.readDouble(&origin)) return false;
  } else {
    int32_t start32 = 0, length32 = 0;
    if (!s.readInt32(&start32) || !s.readInt32(&length32)) return false;
    start = start32;
    length = length32;
  }
  if (start < 0 || length < 0) return false;
  name_ = std::move(name);
  start_ = start;
  length_ = length;
  origin_ = origin;
  return true;
}

bool MRegionMarker::storeAttributes(FAttributes& attributes) const {
  attributes.setString("Name", name_);
  attributes.setInt("Start", start_);
  attributes.setInt("Length", length_);
  attributes.setFloat("Origin", origin_);
  return true;
}

bool MRegionMarker::restoreAttributes(const FAttributes& attributes) {
  int64_t start = 0, length = 0;
  double origin = 0;
  std::string name;
  if (!attributes.getInt("Start", &start) || !attributes.getInt("Length", &length) || start < 0 || length < 0) {
    return false;
  }
  (void)attributes.getString("Name", &name);
  (void)attributes.getFloat("Origin", &origin);
  name_ = std::move(name);
  start_ = start;
  length_ = length;
  origin_ = origin;
  return true;
}

}  // namespace vantor
