#include "document/PDocumentInit.h"

#include "audio/AudioInit.h"
#include "audio/pool/PoolMessages.h"
#include "document/PAppVersion.h"
#include "document/PArrangement.h"
#include "document/PDeviceSetup.h"
#include "document/PMidiPreferences.h"
#include "document/PPreferences.h"
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
    // What importing an audio file does: "Do Nothing", "Open Options
    // Dialog", "Copy to Project Folder" or "Copy and Convert".
    PPreferences::declare({kOnImportAudiofilePreference, PPreferences::Kind::kText, kImportDoNothing, 0, 0});
  });
  FInitializer::runAll();
}

}  // namespace vantor
