#pragma once
// Start-up of the audio layer: registers the audio classes through
// FInitializer, after the model's.

namespace vantor {

// Calls the model's initialiser first; idempotent.
void initializeAudio();

// Registration of the audio file classes; run by initializeAudio().
void registerAudioFileClasses();
// Registration of the pool classes (clips, regions, media tree, pool).
void registerPoolClasses();

}  // namespace vantor
