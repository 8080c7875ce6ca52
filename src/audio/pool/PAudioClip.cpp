#include "audio/pool/PAudioClip.h"

#include <algorithm>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PAudioClip, FShared, 3)

namespace {
// The smallest record of a region: a no-object tag.
constexpr int64_t kMinRegionBytes = 2;
}  // namespace

PAudioClip::PAudioClip() : cluster_(makeRef<AudioCluster>()), material_(makeRef<PClipMaterial>()) {}

PAudioClip::PAudioClip(std::string name, FRef<AudioCluster> cluster)
    : name_(std::move(name)), cluster_(std::move(cluster)) {
  std::vector<PClipPiece> pieces;
  if (cluster_->lengthFrames() > 0) pieces.push_back(PClipPiece::ofFile(0, 0, cluster_->lengthFrames()));
  material_ = makeRef<PClipMaterial>(std::move(pieces));
}

void PAudioClip::setCluster(FRef<AudioCluster> cluster) {
  cluster_ = cluster ? std::move(cluster) : makeRef<AudioCluster>();
}

void PAudioClip::setMaterial(FRef<PClipMaterial> material) {
  material_ = material ? std::move(material) : makeRef<PClipMaterial>();
}

bool PAudioClip::removeRegion(const MRegionMarker* region) {
  auto found = std::find_if(regions_.begin(), regions_.end(), [&](const auto& r) { return r.get() == region; });
  if (found == regions_.end()) return false;
  regions_.erase(found);
  return true;
}

bool PAudioClip::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  bool ok = s.writeString(name_) && s.writeUInt32(poolId_) && archive.writeObject(cluster_.get()) &&
            archive.writeObject(material_.get()) && s.writeUInt32(static_cast<uint32_t>(regions_.size()));
  for (const auto& region : regions_) ok = ok && archive.writeObject(region.get());
  return ok && archive.writeObject(history_.get());
}

bool PAudioClip::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  const int16_t version = archive.currentClassVersion();
  std::string name;
  uint32_t poolId = 0;
  if (!s.readString(&name) || (version >= 2 && !s.readUInt32(&poolId))) return false;
  // A cluster is shared by the clips of its versions: a back reference when
  // another clip wrote it first.
  FRef<AudioCluster> cluster;
  FRef<PClipMaterial> material;
  if (!archive.readObjectAs(&cluster) || !archive.readObjectAs(&material)) return false;
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) > left / kMinRegionBytes) return false;
  std::vector<FRef<MRegionMarker>> regions;
  regions.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    FRef<MRegionMarker> region;
    if (!archive.readObjectAs(&region)) return false;
    if (region) regions.push_back(std::move(region));
  }
  FRef<CmObject> history;
  if (version >= 3) {
    history = archive.readObject();
    if (archive.failed()) return false;
  }
  name_ = std::move(name);
  poolId_ = poolId;
  setCluster(std::move(cluster));
  setMaterial(std::move(material));
  regions_ = std::move(regions);
  history_ = std::move(history);
  return true;
}

}  // namespace vantor
