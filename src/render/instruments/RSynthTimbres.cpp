#include "render/instruments/RSynthTimbres.h"

#include <array>
#include <cstddef>

namespace vantor::synth {

namespace {

// The gains were set by measuring the peak of middle C at velocity 100 with
// the channel's default controllers (about -12 dBFS); see the level test.
Timbre piano() {
  Timbre t;
  t.wave1 = Wave::kTriangle;
  t.wave2 = Wave::kSaw;
  t.ratio2 = 1.0015f;  // a string pair a little out of unison
  t.mix2 = 0.35f;
  t.strike = 0.5f;
  t.attack = 0.002f;
  t.decay = 1.6f;
  t.sustain = 0.0f;
  t.release = 0.1f;
  t.decayFollowsKey = true;
  t.cutoff = 3.0f;
  t.cutoffBoost = 10.0f;
  t.cutoffDecay = 0.35f;
  t.gain = 0.53f;
  return t;
}

Timbre electricPiano() {
  Timbre t;
  t.wave1 = Wave::kFm;
  t.fmRatio = 1.0f;
  t.fmIndex = 0.35f;
  t.fmDecay = 0.4f;
  t.attack = 0.002f;
  t.decay = 1.4f;
  t.sustain = 0.0f;
  t.release = 0.15f;
  t.decayFollowsKey = true;
  t.cutoff = 20.0f;
  t.gain = 0.75f;
  return t;
}

Timbre bell() {
  Timbre t;
  t.wave1 = Wave::kFm;
  t.fmRatio = 3.5f;
  t.fmIndex = 0.6f;
  t.fmDecay = 0.8f;
  t.attack = 0.001f;
  t.decay = 1.2f;
  t.sustain = 0.0f;
  t.release = 0.25f;
  t.cutoff = 30.0f;
  t.gain = 0.7f;
  return t;
}

Timbre organ() {
  Timbre t;
  t.wave1 = Wave::kOrgan;
  t.attack = 0.006f;
  t.sustain = 1.0f;
  t.release = 0.05f;
  t.cutoff = 30.0f;
  t.vibrato = 0.08f;
  t.vibratoDelay = 0.0f;
  t.gain = 0.73f;
  return t;
}

Timbre pluck() {
  Timbre t;
  t.wave1 = Wave::kSaw;
  t.wave2 = Wave::kPulse;
  t.mix2 = 0.5f;
  t.strike = 0.4f;
  t.attack = 0.001f;
  t.decay = 0.9f;
  t.sustain = 0.0f;
  t.release = 0.1f;
  t.decayFollowsKey = true;
  t.cutoff = 2.0f;
  t.cutoffBoost = 14.0f;
  t.cutoffDecay = 0.12f;
  t.gain = 0.8f;
  return t;
}

Timbre bass() {
  Timbre t;
  t.wave1 = Wave::kSaw;
  t.wave2 = Wave::kSquare;
  t.ratio2 = 1.0f;
  t.mix2 = 0.6f;
  t.attack = 0.003f;
  t.decay = 0.5f;
  t.sustain = 0.45f;
  t.release = 0.07f;
  t.cutoff = 2.5f;
  t.cutoffBoost = 8.0f;
  t.cutoffDecay = 0.1f;
  t.resonance = 1.2f;
  t.gain = 0.82f;
  return t;
}

Timbre strings() {
  Timbre t;
  t.wave1 = Wave::kSaw;
  t.wave2 = Wave::kSaw;
  t.ratio2 = 1.004f;  // about 7 cents sharp: the ensemble's beating
  t.mix2 = 1.0f;
  t.attack = 0.12f;
  t.sustain = 1.0f;
  t.release = 0.2f;
  t.cutoff = 5.0f;
  t.vibrato = 0.12f;
  t.vibratoDelay = 0.35f;
  t.gain = 0.37f;
  return t;
}

Timbre pad() {
  Timbre t;
  t.wave1 = Wave::kSaw;
  t.wave2 = Wave::kTriangle;
  t.ratio2 = 2.003f;
  t.mix2 = 0.6f;
  t.attack = 0.4f;
  t.sustain = 1.0f;
  t.release = 0.35f;
  t.cutoff = 3.0f;
  t.vibrato = 0.06f;
  t.vibratoDelay = 0.6f;
  t.gain = 0.55f;
  return t;
}

Timbre brass() {
  Timbre t;
  t.wave1 = Wave::kSaw;
  t.wave2 = Wave::kSaw;
  t.ratio2 = 0.998f;
  t.mix2 = 0.5f;
  t.attack = 0.03f;
  t.decay = 0.3f;
  t.sustain = 0.85f;
  t.release = 0.12f;
  t.cutoff = 3.0f;
  t.cutoffBoost = 6.0f;
  t.cutoffDecay = 0.25f;
  t.vibrato = 0.1f;
  t.vibratoDelay = 0.4f;
  t.gain = 0.5f;
  return t;
}

Timbre lead() {
  Timbre t;
  t.wave1 = Wave::kPulse;
  t.wave2 = Wave::kSaw;
  t.ratio2 = 1.002f;
  t.mix2 = 0.5f;
  t.attack = 0.008f;
  t.decay = 0.4f;
  t.sustain = 0.9f;
  t.release = 0.08f;
  t.cutoff = 6.0f;
  t.vibrato = 0.15f;
  t.vibratoDelay = 0.3f;
  t.gain = 0.45f;
  return t;
}

Timbre flute() {
  Timbre t;
  t.wave1 = Wave::kSine;
  t.wave2 = Wave::kTriangle;
  t.ratio2 = 2.0f;
  t.mix2 = 0.15f;
  t.noise = 0.06f;
  t.attack = 0.05f;
  t.sustain = 1.0f;
  t.release = 0.1f;
  t.cutoff = 4.0f;
  t.vibrato = 0.12f;
  t.vibratoDelay = 0.25f;
  t.gain = 0.58f;
  return t;
}

enum Kind { kPiano, kEPiano, kBell, kOrgan, kPluck, kBass, kStrings, kPad, kBrass, kLead, kFlute, kKinds };

const std::array<Timbre, kKinds>& timbres() {
  static const std::array<Timbre, kKinds> table = {piano(),   electricPiano(), bell(), organ(), pluck(), bass(),
                                                   strings(), pad(),           brass(), lead(), flute()};
  return table;
}

// The General MIDI families of eight programs, with the few programs that
// sound unlike their family picked out.
Kind kindForProgram(int program) {
  switch (program) {
    case 4: case 5: case 6: case 7: return kEPiano;  // electric pianos, harpsichord, clavi
    case 45: case 46: return kPluck;                  // pizzicato strings, harp
    case 47: return kBell;                            // timpani: struck, ringing
    default: break;
  }
  static constexpr Kind kFamilies[16] = {
      kPiano,    // 0 pianos
      kBell,     // 8 chromatic percussion
      kOrgan,    // 16 organs
      kPluck,    // 24 guitars
      kBass,     // 32 basses
      kStrings,  // 40 strings
      kStrings,  // 48 ensembles and choirs
      kBrass,    // 56 brass
      kLead,     // 64 reeds
      kFlute,    // 72 pipes
      kLead,     // 80 synth leads
      kPad,      // 88 synth pads
      kPad,      // 96 synth effects
      kPluck,    // 104 ethnic
      kBell,     // 112 percussive
      kLead,     // 120 sound effects
  };
  return kFamilies[(program & 127) / 8];
}

using Band = DrumSound::Band;

DrumSound tone(float hz, float endHz, float decay, float noiseLevel = 0.0f, float noiseDecay = 0.02f) {
  DrumSound d;
  d.toneHz = hz;
  d.toneEndHz = endHz;
  d.toneDecay = decay;
  d.toneLevel = 1.0f;
  d.noiseLevel = noiseLevel;
  d.noiseDecay = noiseDecay;
  d.band = Band::kBand;
  d.filterHz = hz * 4.0f;
  return d;
}

DrumSound noise(float filterHz, Band band, float decay, float q = 0.7f) {
  DrumSound d;
  d.noiseLevel = 1.0f;
  d.noiseDecay = decay;
  d.filterHz = filterHz;
  d.band = band;
  d.filterQ = q;
  return d;
}

DrumSound cymbal(float filterHz, float decay, float metal, float metalHz = 400.0f) {
  DrumSound d = noise(filterHz, Band::kHigh, decay);
  d.noiseLevel = 0.6f;
  d.metal = metal;
  d.metalHz = metalHz;
  return d;
}

DrumSound kick() {
  DrumSound d = tone(160.0f, 48.0f, 0.22f, 0.25f, 0.006f);
  d.sweep = 0.035f;
  d.filterHz = 3000.0f;
  d.gain = 0.65f;
  return d;
}

DrumSound snare(float toneHz, float filterHz) {
  DrumSound d = tone(toneHz * 1.3f, toneHz, 0.07f, 0.9f, 0.11f);
  d.sweep = 0.015f;
  d.toneLevel = 0.6f;
  d.filterHz = filterHz;
  d.filterQ = 0.6f;
  d.gain = 0.7f;
  return d;
}

DrumSound tomAt(float hz, float pan) {
  DrumSound d = tone(hz * 1.5f, hz, 0.28f, 0.15f, 0.02f);
  d.sweep = 0.06f;
  d.pan = pan;
  d.gain = 0.6f;
  return d;
}

DrumSound hat(float decay, float level, bool open) {
  DrumSound d = cymbal(7000.0f, decay, 0.5f, 420.0f);
  d.pan = 0.3f;
  d.chokesOpenHat = !open;
  d.isOpenHat = open;
  d.gain = level;
  return d;
}

DrumSound clap() {
  DrumSound d = noise(1200.0f, Band::kBand, 0.1f, 1.4f);
  d.bursts = 3;
  d.gain = 1.4f;
  return d;
}

DrumSound withPanGain(DrumSound d, float pan, float gain) {
  d.pan = pan;
  d.gain = gain;
  return d;
}

// General MIDI drum notes 35..81; the rest of the keys are silent.
struct Kit {
  static constexpr int kFirst = 35;
  static constexpr int kLast = 81;
  std::array<DrumSound, kLast - kFirst + 1> sounds;
  DrumSound& at(int note) { return sounds[static_cast<size_t>(note - kFirst)]; }
};

Kit makeKit() {
  Kit k;
  k.at(35) = kick();
  k.at(36) = kick();
  k.at(37) = withPanGain(tone(900.0f, 850.0f, 0.02f, 0.6f, 0.012f), 0.0f, 0.6f);  // side stick
  k.at(38) = snare(185.0f, 3500.0f);
  k.at(39) = clap();
  k.at(40) = snare(210.0f, 5000.0f);
  k.at(41) = tomAt(82.0f, -0.4f);
  k.at(42) = hat(0.035f, 0.55f, false);
  k.at(43) = tomAt(98.0f, -0.3f);
  k.at(44) = hat(0.05f, 0.6f, false);
  k.at(45) = tomAt(117.0f, -0.15f);
  k.at(46) = hat(0.35f, 0.5f, true);
  k.at(47) = tomAt(139.0f, 0.0f);
  k.at(48) = tomAt(165.0f, 0.15f);
  k.at(49) = withPanGain(cymbal(5000.0f, 0.45f, 0.5f), -0.3f, 0.6f);      // crash 1
  k.at(50) = tomAt(196.0f, 0.3f);
  k.at(51) = withPanGain(cymbal(6000.0f, 0.4f, 0.8f, 520.0f), 0.35f, 0.6f);  // ride 1
  k.at(52) = withPanGain(cymbal(3000.0f, 0.4f, 0.6f, 300.0f), -0.4f, 0.55f); // chinese
  k.at(53) = withPanGain(cymbal(4000.0f, 0.4f, 1.2f, 700.0f), 0.35f, 0.45f); // ride bell
  k.at(54) = withPanGain(cymbal(8000.0f, 0.12f, 0.6f, 600.0f), 0.2f, 0.7f);  // tambourine
  k.at(55) = withPanGain(cymbal(6000.0f, 0.4f, 0.5f), 0.4f, 0.55f);          // splash
  {
    DrumSound bell = tone(800.0f, 800.0f, 0.12f);  // cowbell: two detuned squares' worth of metal
    bell.metal = 0.8f;
    bell.metalHz = 540.0f;
    bell.filterHz = 800.0f;
    bell.filterQ = 3.0f;
    k.at(56) = withPanGain(bell, 0.2f, 0.35f);
  }
  k.at(57) = withPanGain(cymbal(5000.0f, 0.45f, 0.5f), 0.3f, 0.6f);            // crash 2
  k.at(58) = withPanGain(noise(2000.0f, Band::kBand, 0.4f, 3.0f), 0.0f, 0.8f);  // vibraslap
  k.at(59) = withPanGain(cymbal(6500.0f, 0.4f, 0.8f, 560.0f), 0.4f, 0.6f);    // ride 2
  k.at(60) = withPanGain(tone(420.0f, 400.0f, 0.1f, 0.1f), 0.3f, 0.7f);       // bongos
  k.at(61) = withPanGain(tone(310.0f, 290.0f, 0.12f, 0.1f), 0.3f, 0.7f);
  k.at(62) = withPanGain(tone(340.0f, 330.0f, 0.05f, 0.2f), -0.3f, 0.7f);     // congas
  k.at(63) = withPanGain(tone(330.0f, 320.0f, 0.16f, 0.1f), -0.3f, 0.7f);
  k.at(64) = withPanGain(tone(220.0f, 210.0f, 0.18f, 0.1f), -0.3f, 0.7f);
  k.at(65) = withPanGain(tone(520.0f, 480.0f, 0.25f, 0.2f, 0.05f), 0.2f, 0.6f);  // timbales
  k.at(66) = withPanGain(tone(380.0f, 350.0f, 0.3f, 0.2f, 0.05f), 0.2f, 0.6f);
  k.at(67) = withPanGain(tone(930.0f, 930.0f, 0.22f), -0.2f, 0.5f);              // agogos
  k.at(68) = withPanGain(tone(700.0f, 700.0f, 0.22f), -0.2f, 0.5f);
  k.at(69) = withPanGain(noise(6000.0f, Band::kHigh, 0.06f), 0.3f, 0.5f);        // cabasa
  k.at(70) = withPanGain(noise(7000.0f, Band::kHigh, 0.04f), 0.3f, 0.5f);        // maracas
  k.at(71) = withPanGain(tone(2400.0f, 2400.0f, 0.12f), 0.0f, 0.6f);             // whistles
  k.at(72) = withPanGain(tone(2300.0f, 2300.0f, 0.45f), 0.0f, 0.6f);
  k.at(73) = withPanGain(noise(2500.0f, Band::kBand, 0.08f, 2.0f), -0.2f, 0.6f);  // guiros
  k.at(74) = withPanGain(noise(2500.0f, Band::kBand, 0.25f, 2.0f), -0.2f, 0.6f);
  k.at(75) = withPanGain(tone(2500.0f, 2500.0f, 0.03f), 0.2f, 0.6f);               // claves
  k.at(76) = withPanGain(tone(1250.0f, 1200.0f, 0.05f, 0.1f), 0.2f, 0.6f);         // wood blocks
  k.at(77) = withPanGain(tone(900.0f, 870.0f, 0.06f, 0.1f), 0.2f, 0.6f);
  k.at(78) = withPanGain(tone(300.0f, 600.0f, 0.2f), -0.1f, 0.6f);                 // cuicas
  k.at(79) = withPanGain(tone(600.0f, 300.0f, 0.2f), -0.1f, 0.6f);
  {
    DrumSound triangle = tone(4500.0f, 4500.0f, 0.15f);
    triangle.metal = 0.2f;
    triangle.metalHz = 4500.0f;
    k.at(80) = withPanGain(triangle, 0.4f, 0.4f);  // mute triangle
    triangle.toneDecay = 0.45f;
    k.at(81) = withPanGain(triangle, 0.4f, 0.4f);  // open triangle
  }
  return k;
}

}  // namespace

const Timbre& timbreForProgram(int program) { return timbres()[kindForProgram(program)]; }

const DrumSound* drumForNote(int note) {
  static Kit kit = makeKit();
  if (note < Kit::kFirst || note > Kit::kLast) return nullptr;
  return &kit.at(note);
}

}  // namespace vantor::synth
