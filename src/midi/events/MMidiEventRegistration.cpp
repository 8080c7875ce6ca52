#include "midi/MMidiInit.h"

#include "midi/events/MMidiEvent.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"

namespace vantor {

void registerMidiEventClasses() {
  MMidiEvent::classDescriptor();
  MMidiNote::classDescriptor();
  MChordEvent::classDescriptor();
  MMidiPolyPressure::classDescriptor();
  MMidiAfterTouch::classDescriptor();
  MMidiProgramChange::classDescriptor();
  MMidiController::classDescriptor();
  MMidiPitchBend::classDescriptor();
  MMidiSysex::classDescriptor();
  MMidiPart::classDescriptor();
  MMidiPartEvent::classDescriptor();
  MSmfEvent::classDescriptor();
  // Controllers need no entries here: the lookup walks the base classes,
  // so chords find the notes' controller and the other kinds the plain one.
}

}  // namespace vantor
