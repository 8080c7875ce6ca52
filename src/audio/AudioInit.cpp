#include "audio/AudioInit.h"

#include "audio/files/BroadcastAttributes.h"
#include "audio/files/CodecAttributes.h"
#include "audio/pool/AudioCluster.h"
#include "audio/pool/GTree.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/MAudioFadeCommand.h"
#include "audio/pool/MRegionMarker.h"
#include "audio/pool/PAudioClip.h"
#include "audio/pool/PAudioPool.h"
#include "audio/pool/PClipMaterial.h"
#include "audio/pool/PConvertFilesCommand.h"
#include "audio/pool/PMinimizeCommand.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolMaintenance.h"
#include "audio/pool/PRelinkFilesCommand.h"
#include "audio/process/PProcessRegistration.h"
#include "foundation/FInitializer.h"
#include "model/MModelInit.h"

namespace vantor {

void registerAudioFileClasses() {
  BroadcastAttributes::classDescriptor();
  CodecAttributes::classDescriptor();
}

void registerPoolClasses() {
  AudioCluster::classDescriptor();
  PClipMaterial::classDescriptor();
  MRegionMarker::classDescriptor();
  PAudioClip::classDescriptor();
  MAudioEvent::classDescriptor();
  MAudioFadeCommand::classDescriptor();
  GTreeEntry::classDescriptor();
  GTree::classDescriptor();
  PAudioPool::classDescriptor();
  registerPoolCommandClasses();
  PConvertFilesCommand::classDescriptor();
  PMinimizeCommand::classDescriptor();
  PMoveClipsCommand::classDescriptor();
  PRelinkFilesCommand::classDescriptor();
}

void initializeAudio() {
  initializeModel();
  FInitializer::add("audio", FInitializer::kAudio, [] {
    registerAudioFileClasses();
    registerPoolClasses();
    registerAudioProcessClasses();
  });
  FInitializer::runAll();
}

}  // namespace vantor
