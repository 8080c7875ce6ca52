#include "audio/AudioInit.h"

#include "audio/files/BroadcastAttributes.h"
#include "audio/files/CodecAttributes.h"
#include "audio/process/PProcessRegistration.h"
#include "foundation/FInitializer.h"
#include "model/MModelInit.h"

namespace vantor {

void registerAudioFileClasses() {
  BroadcastAttributes::classDescriptor();
  CodecAttributes::classDescriptor();
}

void initializeAudio() {
  initializeModel();
  FInitializer::add("audio", FInitializer::kAudio, [] {
    registerAudioFileClasses();
    registerAudioProcessClasses();
  });
  FInitializer::runAll();
}

}  // namespace vantor
