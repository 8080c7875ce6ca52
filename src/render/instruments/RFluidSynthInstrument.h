#pragma once
// A SoundFont played by FluidSynth: one synthesizer per instrument at the
// render's sample rate, playing the SoundFont loaded when it is made (once
// per process for every instrument that plays it, RSharedSoundFont). Reverb
// and chorus are off (a track's sound stays dry, as the built-in
// synthesizer's does), and FluidSynth's own locking is off: the instrument
// is used from one thread at a time, as every instrument is.
//
// Timing: FluidSynth renders in steps of 64 frames and applies a message at
// the start of its next step, so a message takes effect up to 63 frames
// after the frame it was given at. The steps count from the instrument's
// creation, so the same messages at the same frames give the same samples
// however the frames are split into blocks. After reset() a note's first 64
// frames may differ slightly from a new instrument's: FluidSynth reuses its
// voices and starts their filters from the previous note's setting.

#include <memory>
#include <string>
#include <vector>

#include "render/RInstrument.h"

// FluidSynth's types, kept out of the header.
typedef struct _fluid_hashtable_t fluid_settings_t;
typedef struct _fluid_synth_t fluid_synth_t;

namespace vantor {

class RSharedSoundFont;

class RFluidSynthInstrument final : public RInstrument {
 public:
  // FluidSynth's timing resolution, in frames.
  static constexpr int kStepFrames = 64;

  // The instrument playing `soundFont`, or null with the message in
  // `error` when the file does not load as a SoundFont.
  static std::unique_ptr<RFluidSynthInstrument> create(const std::string& soundFont, int sampleRate,
                                                       std::string* error);
  ~RFluidSynthInstrument() override;
  RFluidSynthInstrument(const RFluidSynthInstrument&) = delete;
  RFluidSynthInstrument& operator=(const RFluidSynthInstrument&) = delete;

  void midi(uint8_t status, uint8_t data1, uint8_t data2) noexcept override;
  void render(float* left, float* right, int frames) noexcept override;
  void reset() noexcept override;

 private:
  RFluidSynthInstrument(std::shared_ptr<RSharedSoundFont> font, fluid_settings_t* settings, fluid_synth_t* synth);

  std::shared_ptr<RSharedSoundFont> font_;
  fluid_settings_t* settings_;
  fluid_synth_t* synth_;
  // FluidSynth writes over its output; it renders here and is added in.
  std::vector<float> scratchLeft_;
  std::vector<float> scratchRight_;
};

// The message for a SoundFont that does not load.
std::string soundFontLoadError(const std::string& path);

}  // namespace vantor
