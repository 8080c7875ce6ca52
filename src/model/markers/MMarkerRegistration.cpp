#include "model/MModelInit.h"

#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
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
  // Markers edit through their own controller; this replaces the plain one
  // the tree registered under the same key (markers register after it).
  MCategoryRegistry::instance().add(MCategoryRegistry::kEventController,
                                    {"MMarkerEvent", "MMarkerEvent", MCategoryRegistry::kDefaultPriority,
                                     []() -> FRef<CmObject> { return makeRef<MMarkerEventController>(); }});
}

}  // namespace vantor
