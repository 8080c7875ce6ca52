#include "document/PDocumentInit.h"

#include "audio/AudioInit.h"
#include "document/PAppVersion.h"
#include "document/PArrangement.h"
#include "document/PDeviceSetup.h"
#include "document/PMidiPreferences.h"
#include "document/PWindowLayouts.h"
#include "foundation/FInitializer.h"
#include "midi/MMidiInit.h"

namespace vantor {

void registerDocumentClasses() {
  PArrangement::classDescriptor();
  PAppVersion::classDescriptor();
  PDeviceSetup::classDescriptor();
  PWindowLayouts::classDescriptor();
}

void initializeDocument() {
  initializeMidi();
  initializeAudio();
  FInitializer::add("document", FInitializer::kDocument, [] {
    registerDocumentClasses();
    declareMidiPreferences();
  });
  FInitializer::runAll();
}

}  // namespace vantor
