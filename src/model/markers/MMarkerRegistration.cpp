#include "model/MModelInit.h"

#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MMarkerEventController.h"
#include "model/markers/MTransport.h"
#include "model/markers/MTransportCommand.h"
#include "model/tree/MEventController.h"

namespace vantor {

void registerMarkerClasses() {
  MMarkerEvent::classDescriptor();
  MRangeMarkerEvent::classDescriptor();
  MCycleEvent::classDescriptor();
  MMarkerEventController::classDescriptor();
  MMarkerIdCommand::classDescriptor();
  MMarkerRenameCommand::classDescriptor();
  MTransport::classDescriptor();
  MTransportCommand::classDescriptor();
  // Markers and the marker track edit through their own controller; this
  // replaces the plain one the tree registered under the same keys (markers
  // register after it).
  for (const char* key : {"MMarkerEvent", "MMarkerTrackEvent"}) {
    MCategoryRegistry::instance().add(MCategoryRegistry::kEventController,
                                      {key, key, MCategoryRegistry::kDefaultPriority,
                                       []() -> FRef<CmObject> { return makeRef<MMarkerEventController>(); }});
  }
}

}  // namespace vantor
