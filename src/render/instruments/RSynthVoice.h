#pragma once
// One voice of the built-in synthesizer: a melodic note of a timbre or a
// drum hit. A voice advances its whole state one sample at a time, so its
// output does not depend on how frames are split into blocks; it reads the
// channel's controllers (pitch bend, level, pan, vibrato depth) afresh at
// every render and moves its level towards them smoothly.

#include <cstdint>

#include "render/instruments/RSynthDsp.h"
#include "render/instruments/RSynthTimbres.h"

namespace vantor::synth {

// What a voice reads from its channel while it renders.
struct ChannelMix {
  float bend = 1.0f;     // frequency factor of the pitch bend
  float left = 1.0f;     // level and pan, per side (unity at the centre)
  float right = 1.0f;
  float modulation = 0;  // mod wheel, 0..1: extra vibrato
};

class RSynthVoice {
 public:
  // Starts a melodic note or a drum hit; `seed` seeds the voice's noise,
  // `stamp` orders voices by age. A voice taken while it sounds (stolen)
  // lets its last output fade within about 1 ms instead of jumping.
  void startNote(const Timbre& timbre, int channel, int note, int velocity, float sampleRate, uint32_t seed,
                 uint64_t stamp, const ChannelMix& mix);
  void startDrum(const DrumSound& drum, int channel, int note, int velocity, float sampleRate, uint32_t seed,
                 uint64_t stamp, const ChannelMix& mix);

  // Key up: a melodic note releases (drums ring on).
  void release();
  // Fades out within about 5 ms (a choked hi-hat).
  void fadeOut();
  // Silent at once.
  void stop() { active_ = false; }

  // Adds frames of output; the voice ends itself when it has faded out.
  void render(float* left, float* right, int frames, const ChannelMix& mix);

  bool active() const { return active_; }
  bool drum() const { return drum_ != nullptr; }
  bool releasing() const;
  int channel() const { return channel_; }
  int note() const { return note_; }
  uint64_t stamp() const { return stamp_; }
  bool isOpenHat() const { return drum_ && drum_->isOpenHat; }
  // Key up came while the sustain pedal was down: the note waits for the
  // pedal to lift.
  bool sustained() const { return sustained_; }
  void setSustained(bool on) { sustained_ = on; }

 private:
  void startCommon(int channel, int note, int velocity, float sampleRate, uint32_t seed, uint64_t stamp,
                   const ChannelMix& mix, float pan);
  float melodicSample(const ChannelMix& mix);
  float drumSample();
  float wave(Wave w, float& phase, float dt, float fmDepth);
  void retuneFilter();

  bool active_ = false;
  bool sustained_ = false;
  int channel_ = 0;
  int note_ = 0;
  uint64_t stamp_ = 0;
  uint32_t age_ = 0;  // samples since the start
  float sampleRate_ = 48000.0f;
  float velocityGain_ = 1.0f;
  float brightness_ = 1.0f;
  float panLeft_ = 1.0f, panRight_ = 1.0f;  // the sound's own pan (drums)
  float gainLeft_ = 0.0f, gainRight_ = 0.0f;
  float lastLeft_ = 0.0f, lastRight_ = 0.0f;          // the last output
  float residualLeft_ = 0.0f, residualRight_ = 0.0f;  // a stolen note's, fading
  float declick_ = 0.0f;
  float smoothing_ = 1.0f;
  Noise noise_;
  Filter filter_;

  // Melodic notes.
  const Timbre* timbre_ = nullptr;
  float dt_ = 0.0f;  // phase increment of the note without bend
  float phase1_ = 0.0f, phase2_ = 0.0f, phaseFm_ = 0.0f, vibratoPhase_ = 0.0f;
  float vibratoStep_ = 0.0f, vibratoRamp_ = 0.0f, vibratoRampStep_ = 1.0f;
  float cutoffBoost_ = 0.0f, cutoffFactor_ = 0.0f;
  float fmDepth_ = 0.0f, fmFactor_ = 0.0f;
  float currentDt_ = 0.0f;
  float strikeLevel_ = 0.0f, strikeFactor_ = 0.0f;
  Envelope envelope_;

  // Drum hits.
  const DrumSound* drum_ = nullptr;
  float toneHz_ = 0.0f, sweepLevel_ = 0.0f, sweepFactor_ = 0.0f;
  float toneLevel_ = 0.0f, toneFactor_ = 0.0f;
  float noiseLevel_ = 0.0f, noiseFactor_ = 0.0f;
  float fade_ = 1.0f, fadeFactor_ = 1.0f;
  float metalPhase_[6] = {};
  float metalDt_[6] = {};
  int burstLength_ = 0;
};

}  // namespace vantor::synth
