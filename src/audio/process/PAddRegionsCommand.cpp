#include "audio/process/PAddRegionsCommand.h"

#include "audio/process/PProcessMessages.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PAddRegionsCommand, MCommand, 0)

std::string PAddRegionsCommand::description() const { return kRegionsFromDetectSilence; }

std::vector<FRef<MRegionMarker>> PAddRegionsCommand::regionsFor(const PEvtdetection& detection,
                                                                const std::vector<SilenceRegion>& found,
                                                                int64_t offset) {
  std::vector<FRef<MRegionMarker>> regions;
  for (size_t i = 0; i < found.size(); ++i) {
    regions.push_back(makeRef<MRegionMarker>(detection.regionName(static_cast<int>(i)), offset + found[i].start,
                                             found[i].end - found[i].start));
  }
  return regions;
}

bool PAddRegionsCommand::doPerform() {
  if (!clip_) return refuse("No clip selected.");
  std::vector<FRef<MRegionMarker>> after = clip_->regions();
  after.insert(after.end(), regions_.begin(), regions_.end());
  regions_ = std::move(after);
  return exchange();
}

bool PAddRegionsCommand::exchange() {
  std::vector<FRef<MRegionMarker>> other = clip_->regions();
  clip_->setRegions(std::move(regions_));
  regions_ = std::move(other);
  return true;
}

}  // namespace vantor
