#pragma once
// Start-up of the MIDI layer: registers the MIDI event, part, quantize and
// MIDI-file classes through FInitializer, after the model's, and the
// "MIDI Quantize" key commands.

namespace vantor {

// Calls the model's initialiser first; idempotent.
void initializeMidi();

// Registration of each area of the MIDI layer; run by initializeMidi().
void registerMidiEventClasses();
void registerQuantizeClasses();
void registerSmfImportClasses();

}  // namespace vantor
