#include "midi/MMidiInit.h"

#include "foundation/FInitializer.h"
#include "model/MModelInit.h"

namespace vantor {

void initializeMidi() {
  initializeModel();
  FInitializer::add("midi", FInitializer::kMidi, [] {
    registerMidiEventClasses();
    registerQuantizeClasses();
  });
  FInitializer::runAll();
}

}  // namespace vantor
