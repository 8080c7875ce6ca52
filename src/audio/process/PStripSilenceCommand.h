#pragma once
// "Strip Silence": keeps only the detected regions of the events that play
// a clip. Every audio event of the project that shows the clip is replaced
// by one event per region that overlaps its clip range, cut to it; an event
// that no region overlaps is removed. All events are replaced as one
// action (undo puts the old ones back).
//
// The new events' positions follow from the frames in proportion to the
// old event's length and clip range: a region starting a quarter into the
// event's frames starts a quarter into its length (exact wherever the
// tempo is constant over the event, which the event's own mapping from
// frames to its length assumes too).

#include <vector>

#include "audio/pool/PAudioClip.h"
#include "audio/process/PSilenceDetector.h"
#include "model/undo/MCommand.h"

namespace vantor {

class PStripSilenceCommand : public MMacroCommand {
  VANTOR_CLASS(PStripSilenceCommand)
 public:
  PStripSilenceCommand() = default;
  // regions: frames of the clip, in order, not overlapping.
  PStripSilenceCommand(FRef<PAudioClip> clip, std::vector<SilenceRegion> regions);

 protected:
  // Finds the clip's events in the command's project (the undo manager
  // gives it) and builds one replacement per node that holds some. False
  // when there is no project or no event plays the clip.
  bool prepare() override;

 private:
  FRef<PAudioClip> clip_;
  std::vector<SilenceRegion> regions_;
};

}  // namespace vantor
