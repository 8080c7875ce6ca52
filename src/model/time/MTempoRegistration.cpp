#include "model/MModelInit.h"

#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoCommands.h"
#include "model/time/MTempoEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeSignatureEvent.h"

namespace vantor {

void registerTempoClasses() {
  MTempoEvent::classDescriptor();
  MTempoTrackNode::classDescriptor();
  MTempoTrackAccessor::classDescriptor();
  MTimeSignatureEvent::classDescriptor();
  MSignatureTrackNode::classDescriptor();
  MSignatureTrackAccessor::classDescriptor();
  // Commands on the two tracks.
  MSetTempoCommand::classDescriptor();
  MTempoTypeCommand::classDescriptor();
  MTimeSignatureCommand::classDescriptor();
}

}  // namespace vantor
