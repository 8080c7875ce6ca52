#include "midi/MMidiInit.h"

#include "foundation/FInitializer.h"
#include "model/MModelInit.h"

namespace vantor {

void initializeMidi() {
  initializeModel();
  FInitializer::add("midi", FInitializer::kMidi, [] {
    registerMidiEventClasses();
    registerQuantizeClasses();
    registerSmfImportClasses();
  });
  FInitializer::runAll();
}

}  // namespace vantor
