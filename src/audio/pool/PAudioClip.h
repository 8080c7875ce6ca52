#pragma once
// A clip: what the pool shows for one entry. It names its cluster (the
// files and their attribute sets), its material (the pieces of those files
// that make up its audio), its regions and its edit history. The history is
// an object of the offline processes; the clip only keeps and stores it.

#include <cstdint>
#include <string>
#include <vector>

#include "audio/pool/AudioCluster.h"
#include "audio/pool/MRegionMarker.h"
#include "audio/pool/PClipMaterial.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class PAudioClip : public FShared {
  VANTOR_CLASS(PAudioClip)
 public:
  // An empty clip: an empty cluster and empty material.
  PAudioClip();
  // A clip of the whole original material of cluster.
  PAudioClip(std::string name, FRef<AudioCluster> cluster);

  const std::string& getName() const { return name_; }
  void setName(std::string name) { name_ = std::move(name); }
  // The clip's number in its pool (the media tree's "Pool ID"); 0 until the
  // pool enters it.
  uint32_t getPoolID() const { return poolId_; }
  void setPoolID(uint32_t id) { poolId_ = id; }

  AudioCluster* getCluster() const { return cluster_.get(); }
  const FRef<AudioCluster>& clusterRef() const { return cluster_; }
  void setCluster(FRef<AudioCluster> cluster);
  PClipMaterial* getMaterial() const { return material_.get(); }
  const FRef<PClipMaterial>& materialRef() const { return material_; }
  void setMaterial(FRef<PClipMaterial> material);
  // The clip's length in frames (its material's).
  int64_t lengthFrames() const { return material_->length(); }

  const std::vector<FRef<MRegionMarker>>& regions() const { return regions_; }
  void addRegion(FRef<MRegionMarker> region) { regions_.push_back(std::move(region)); }
  // Removes region; false when the clip does not hold it.
  bool removeRegion(const MRegionMarker* region);
  void setRegions(std::vector<FRef<MRegionMarker>> regions) { regions_ = std::move(regions); }

  // The edit history (a PEditHistory of the offline processes), or nullptr.
  CmObject* getHistory() const { return history_.get(); }
  void setHistory(FRef<CmObject> history) { history_ = std::move(history); }

  // Archive, version 3: name (string), pool ID (32-bit), cluster and
  // material (object records), 32-bit region count and the regions (object
  // records), history (object record). Version 2 had no history; versions
  // below 2 had no pool ID either.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  std::string name_;
  uint32_t poolId_ = 0;
  FRef<AudioCluster> cluster_;
  FRef<PClipMaterial> material_;
  std::vector<FRef<MRegionMarker>> regions_;
  FRef<CmObject> history_;
};

}  // namespace vantor
