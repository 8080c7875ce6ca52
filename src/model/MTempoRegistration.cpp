#include "model/MModelInit.h"

#include "model/MSignatureTrack.h"
#include "model/MTempoCommands.h"
#include "model/MTempoEvent.h"
#include "model/MTempoTrack.h"
#include "model/MTimeSignatureEvent.h"

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
