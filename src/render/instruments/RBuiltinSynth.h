#pragma once
// The built-in synthesizer: 64 voices, General MIDI-like. Each channel's
// program picks one of a handful of timbres made of oscillators, envelopes
// and a filter; channel 10 (status channel 9) is a drum kit synthesized
// from noise and sines on the General MIDI drum notes.
//
// It follows velocity, CC1 modulation (vibrato), CC7 volume, CC10 pan,
// CC11 expression, CC64 sustain, pitch bend (2 semitones either way, or the
// range set through RPN 0), program change, CC120 (all sound off), CC121
// (reset controllers) and CC123 (all notes off). When all voices sound, a
// new note takes the oldest voice, preferring one already releasing.
//
// Every voice runs sample by sample and reads its channel only between
// renders, so output does not depend on block splits; noise is seeded from
// the note and a counter that reset() rewinds, so a render is repeatable.
// Nothing allocates or locks after construction.

#include <array>
#include <cstdint>

#include "render/RInstrument.h"
#include "render/instruments/RSynthVoice.h"

namespace vantor {

class RBuiltinSynth final : public RInstrument {
 public:
  static constexpr int kVoices = 64;
  static constexpr int kDrumChannel = 9;

  explicit RBuiltinSynth(int sampleRate);

  void midi(uint8_t status, uint8_t data1, uint8_t data2) noexcept override;
  void render(float* left, float* right, int frames) noexcept override;
  void reset() noexcept override;

  // Voices sounding now (for tests and meters).
  int activeVoices() const noexcept;

 private:
  struct Channel {
    int program = 0;
    int volume = 100;
    int pan = 64;
    int expression = 127;
    int modulation = 0;
    bool sustain = false;
    int bend = 8192;           // 14 bits, 8192 = centre
    float bendRange = 2.0f;    // semitones
    int rpn = 0x3fff;          // the selected registered parameter (none)
    synth::ChannelMix mix;
  };

  void noteOn(int channel, int note, int velocity);
  void noteOff(int channel, int note);
  void controlChange(int channel, int controller, int value);
  void resetControllers(Channel& c);
  void updateMix(Channel& c);
  synth::RSynthVoice& takeVoice();

  float sampleRate_;
  std::array<Channel, 16> channels_;
  std::array<synth::RSynthVoice, kVoices> voices_;
  uint64_t stamp_ = 0;
  uint32_t noteCounter_ = 0;
};

}  // namespace vantor
