#pragma once
// Puts the regions found by Detect Silence into a clip ("Add Region",
// shown as "Regions from Detect Silence"); undo takes exactly those out
// again. The regions are named from the detection's "Region Name",
// numbered from its "Auto Number Start".

#include <vector>

#include "audio/pool/MRegionMarker.h"
#include "audio/pool/PAudioClip.h"
#include "audio/process/PEvtdetection.h"
#include "model/undo/MCommand.h"

namespace vantor {

class PAddRegionsCommand : public MCommand {
  VANTOR_CLASS(PAddRegionsCommand)
 public:
  PAddRegionsCommand() = default;
  PAddRegionsCommand(FRef<PAudioClip> clip, std::vector<FRef<MRegionMarker>> regions)
      : clip_(std::move(clip)), regions_(std::move(regions)) {}
  std::string description() const override;

  // Regions of the clip for found (frames of a range starting at offset in
  // the clip), named by detection.
  static std::vector<FRef<MRegionMarker>> regionsFor(const PEvtdetection& detection,
                                                     const std::vector<SilenceRegion>& found, int64_t offset);

 protected:
  bool doPerform() override;
  bool doUndo() override { return exchange(); }
  bool doRedo() override { return exchange(); }

 private:
  bool exchange();

  FRef<PAudioClip> clip_;
  // Before perform: the regions to add; then the clip's other list (its
  // regions before or after), which the next exchange puts in.
  std::vector<FRef<MRegionMarker>> regions_;
};

}  // namespace vantor
