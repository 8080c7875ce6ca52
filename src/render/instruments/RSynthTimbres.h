#pragma once
// The sounds of the built-in synthesizer: a handful of timbres that the 128
// General MIDI programs map onto, and the drum kit of channel 10 on the
// General MIDI drum note numbers. Each is a small set of numbers for the
// voice (RSynthVoice) to play; nothing here renders.

#include <cstdint>

namespace vantor::synth {

enum class Wave : uint8_t {
  kSine,
  kTriangle,
  kSaw,
  kSquare,
  kPulse,  // a square of 30 % width
  kOrgan,  // the first four harmonics, drawbar-like
  kFm,     // a sine phase-modulated by a sine at fmRatio, its depth decaying
};

// A melodic timbre: two oscillators (the second at ratio2 of the pitch,
// mixed at mix2), breath noise or the noise of a strike at the start, an
// ADSR on the level and a low-pass filter
// whose cutoff follows the pitch and falls from a brighter start.
struct Timbre {
  Wave wave1 = Wave::kSaw;
  Wave wave2 = Wave::kSaw;
  float ratio2 = 1.0f;  // the second oscillator's frequency / the note's
  float mix2 = 0.0f;
  float noise = 0.0f;  // breath noise level
  float strike = 0.0f; // a noise burst at the start (hammer, pick), its level
  // Level envelope, seconds; decay is the time constant towards sustain.
  float attack = 0.002f;
  float decay = 1.0f;
  float sustain = 1.0f;
  float release = 0.08f;
  bool decayFollowsKey = false;  // decay halves two octaves up (a piano's)
  // Filter cutoff as multiples of the note's frequency: cutoff, plus
  // cutoffBoost at the start falling with time constant cutoffDecay.
  float cutoff = 8.0f;
  float cutoffBoost = 0.0f;
  float cutoffDecay = 0.2f;
  float resonance = 0.7f;  // the filter's q
  // Phase modulation for kFm: depth in cycles at the start, time constant.
  float fmRatio = 1.0f;
  float fmIndex = 0.0f;
  float fmDecay = 1.0f;
  // Vibrato depth in semitones, reached after vibratoDelay seconds.
  float vibrato = 0.0f;
  float vibratoDelay = 0.3f;
  float gain = 1.0f;  // brings a forte note near -12 dBFS
};

// A drum sound: a sine whose pitch falls from toneHz to toneEndHz, noise
// (and for cymbals six inharmonic squares) through a filter, each part with
// its own exponential decay.
struct DrumSound {
  enum class Band : uint8_t { kLow, kBand, kHigh };
  float toneHz = 0.0f;
  float toneEndHz = 0.0f;
  float sweep = 0.03f;  // time constant of the pitch fall, seconds
  float toneDecay = 0.1f;
  float toneLevel = 0.0f;
  float noiseLevel = 0.0f;
  float noiseDecay = 0.1f;
  float filterHz = 5000.0f;
  float filterQ = 0.7f;
  Band band = Band::kHigh;
  float metal = 0.0f;     // level of the inharmonic squares (cymbals, bells)
  float metalHz = 400.0f; // the lowest of them
  int bursts = 1;         // hand claps: repeated noise bursts 10 ms apart
  float pan = 0.0f;       // -1 left .. 1 right, added to the channel's pan
  bool chokesOpenHat = false;
  bool isOpenHat = false;
  float gain = 1.0f;
};

// The timbre of a program (0..127).
const Timbre& timbreForProgram(int program);
// The drum sound of a note on the drum channel, or nullptr for a note the
// kit does not have.
const DrumSound* drumForNote(int note);

}  // namespace vantor::synth
