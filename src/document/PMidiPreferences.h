#pragma once
// The MIDI settings of the preferences that quantize reads, and the plain
// settings struct the MIDI layer takes them in.
//
//   nonQuantize         pulses; a note nearer than this to its quantized
//                       place stays (0 to 1920, default 0: only 1e-05)
//   quantizeSwing       percent; the swing a quantize takes when the user
//                       names none (0 to 100, default 0)
//   Random Quantize     pulses; the random offset after "Quantize" (0 to
//                       480, default 0: off)
//   Iterative Strength  percent of the way "Iterative Quantize" moves a note
//                       (0 to 100, default 60)
//   Auto Quantize       on/off: quantize MIDI parts as they are imported
//                       (default off)
//   Quantize            the name of the preset a session starts with as its
//                       current quantize (default "1/16 Note"; an unknown
//                       name gives the default)

#include "midi/quantize/MQuantizeFunctions.h"
#include "midi/quantize/MQuantizePresetValue.h"

namespace vantor {

class PPreferences;

inline constexpr const char* kNonQuantizeKey = "nonQuantize";
inline constexpr const char* kQuantizeSwingKey = "quantizeSwing";
inline constexpr const char* kRandomQuantizeKey = "Random Quantize";
inline constexpr const char* kIterativeStrengthKey = "Iterative Strength";
inline constexpr const char* kAutoQuantizeKey = "Auto Quantize";
inline constexpr const char* kQuantizeKey = "Quantize";

// Declares the settings above (the document layer's initialiser runs it).
void declareMidiPreferences();

// The quantize settings in effect (overrides included); seed 1.
MQuantizeSettings quantizeSettings(const PPreferences& preferences);
// "quantizeSwing" as a fraction.
double defaultQuantizeSwing(const PPreferences& preferences);
// The current quantize a session starts with: the preset "Quantize" and the
// "Auto Quantize" switch.
MQuantizePresetValue initialQuantize(const PPreferences& preferences);

}  // namespace vantor
