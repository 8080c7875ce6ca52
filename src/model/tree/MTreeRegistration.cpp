#include "model/MModelInit.h"

#include "foundation/FClass.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MAutoFadeSetting.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/tree/MEventController.h"
#include "model/tree/MFolderDataEvent.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrack.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor {

namespace {

void registerTreeDescriptors() {
  MEvent::classDescriptor();
  GModel::classDescriptor();
  MDataNode::classDescriptor();
  MArrayNode::classDescriptor();
  MListNode::classDescriptor();
  MAccessor::classDescriptor();
  MArrayAccessor::classDescriptor();
  MListAccessor::classDescriptor();

  MTrack::classDescriptor();
  MAutomationNode::classDescriptor();
  MTrackEvent::classDescriptor();
  MAudioTrackEvent::classDescriptor();
  MMidiTrackEvent::classDescriptor();
  MFolderTrack::classDescriptor();
  MDeviceTrackEvent::classDescriptor();
  MMarkerTrackEvent::classDescriptor();
  MTempoTrackEvent::classDescriptor();
  MSignatureTrackEvent::classDescriptor();
  MFolderDataTrack::classDescriptor();
  MVideoTrackEvent::classDescriptor();
  MPartEvent::classDescriptor();
  MAudioPartEvent::classDescriptor();
  MGroupEvent::classDescriptor();
  MPartNode::classDescriptor();
  MAudioPart::classDescriptor();
  MPartAccessor::classDescriptor();
  MRoot::classDescriptor();
  MProject::classDescriptor();
  MTrackList::classDescriptor();
  MTrackListAccessor::classDescriptor();
  MVirtualGroup::classDescriptor();
  MVirtualGroupEvent::classDescriptor();
  MVNodeAccessor::classDescriptor();
  MFolderDataEvent::classDescriptor();
  MAutoFadeSetting::classDescriptor();
  MEventController::classDescriptor();
  MPartController::classDescriptor();

  // Stored data may name the root by its former name.
  static const FClass rootAlias(MRoot::classDescriptor(), "Root of Engine");
}

template <class Track>
MCategoryRegistry::Factory trackFactory() {
  return []() -> FRef<CmObject> {
    auto track = makeRef<Track>();
    if (!track->ensureContent()) return nullptr;
    return track;
  };
}

MCategoryRegistry::Factory deviceTrackFactory(MDeviceKind kind) {
  return [kind]() -> FRef<CmObject> {
    auto track = makeRef<MDeviceTrackEvent>(kind);
    if (!track->ensureContent()) return nullptr;
    return track;
  };
}

void registerTrackClasses() {
  MCategoryRegistry& registry = MCategoryRegistry::instance();
  const char* category = MCategoryRegistry::kTrackClass;
  const int32_t priority = MCategoryRegistry::kDefaultPriority;
  registry.add(category, {"Audio", "Audio Track", priority, trackFactory<MAudioTrackEvent>()});
  registry.add(category, {"MIDI", "MIDI Track", priority, trackFactory<MMidiTrackEvent>()});
  registry.add(category, {"Marker", "Marker Track", priority, trackFactory<MMarkerTrackEvent>()});
  registry.add(category, {"Folder", "Folder Track", priority, trackFactory<MFolderTrack>()});
  registry.add(category, {"Video", "Video Track", priority, trackFactory<MVideoTrackEvent>()});
  registry.add(category,
               {"Group Channel", "Group Channel Track", priority, deviceTrackFactory(MDeviceKind::kGroupChannel)});
  registry.add(category, {"Master Automation", "Master Automation Track", priority,
                          deviceTrackFactory(MDeviceKind::kMasterAutomation)});
}

// Controllers by event class name. Areas registered later (markers, MIDI,
// audio) replace an entry here with their own controller by adding one of
// the same key.
void registerEventControllers() {
  MCategoryRegistry& registry = MCategoryRegistry::instance();
  const char* category = MCategoryRegistry::kEventController;
  const int32_t priority = MCategoryRegistry::kDefaultPriority;
  const MCategoryRegistry::Factory plain = []() -> FRef<CmObject> { return makeRef<MEventController>(); };
  const MCategoryRegistry::Factory part = []() -> FRef<CmObject> { return makeRef<MPartController>(); };
  for (const char* name : {"MAudioTrackEvent", "MAudioEvent", "MScoreEvent", "MVideoTrackEvent", "MVideoEvent",
                           "MFolderTrack", "MDeviceTrackEvent", "MMidiTrackEvent", "MMidiNote", "MMarkerTrackEvent",
                           "MMarkerEvent", "MAutomationTrackEvent", "MParamEvent"}) {
    registry.add(category, {name, name, priority, plain});
  }
  for (const char* name : {"MMidiPartEvent", "MPartEvent"}) registry.add(category, {name, name, priority, part});
}

}  // namespace

void registerTreeClasses() {
  registerTreeDescriptors();
  registerTrackClasses();
  registerEventControllers();
}

}  // namespace vantor
