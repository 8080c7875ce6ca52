#include "midi/MMidiInit.h"

namespace vantor {

// The MIDI event and part classes register here as they are added.
void registerMidiEventClasses() {}

}  // namespace vantor
