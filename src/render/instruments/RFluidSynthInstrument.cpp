#include "render/instruments/RFluidSynthInstrument.h"

#include <fluidsynth.h>

#include <algorithm>

#include "render/instruments/RSharedSoundFont.h"

namespace vantor {

namespace {

// FluidSynth renders this many frames per call into the scratch buffers.
constexpr int kScratchFrames = 1024;

}  // namespace

std::string soundFontLoadError(const std::string& path) { return "Could not load the SoundFont \"" + path + "\"."; }

std::unique_ptr<RFluidSynthInstrument> RFluidSynthInstrument::create(const std::string& soundFont, int sampleRate,
                                                                     std::string* error) {
  std::shared_ptr<RSharedSoundFont> font = RSharedSoundFont::acquire(soundFont);
  fluid_settings_t* settings = font ? new_fluid_settings() : nullptr;
  fluid_synth_t* synth = nullptr;
  if (settings) {
    fluid_settings_setnum(settings, "synth.sample-rate", static_cast<double>(std::max(sampleRate, 1)));
    fluid_settings_setint(settings, "synth.threadsafe-api", 0);
    fluid_settings_setint(settings, "synth.reverb.active", 0);
    fluid_settings_setint(settings, "synth.chorus.active", 0);
    fluid_settings_setint(settings, "synth.cpu-cores", 1);
    // FluidSynth's default gain (0.2) leaves a forte note of a General MIDI
    // SoundFont near -30 dBFS; 0.6 brings it within 10 dB of the built-in
    // synthesizer's -12 dBFS with room for chords.
    fluid_settings_setnum(settings, "synth.gain", 0.6);
    synth = new_fluid_synth(settings);
  }
  if (!synth || !font->addTo(synth)) {
    if (synth) delete_fluid_synth(synth);
    if (settings) delete_fluid_settings(settings);
    if (error) *error = soundFontLoadError(soundFont);
    return nullptr;
  }
  fluid_synth_program_reset(synth);
  return std::unique_ptr<RFluidSynthInstrument>(new RFluidSynthInstrument(std::move(font), settings, synth));
}

RFluidSynthInstrument::RFluidSynthInstrument(std::shared_ptr<RSharedSoundFont> font, fluid_settings_t* settings,
                                             fluid_synth_t* synth)
    : font_(std::move(font)),
      settings_(settings),
      synth_(synth),
      scratchLeft_(kScratchFrames),
      scratchRight_(kScratchFrames) {}

RFluidSynthInstrument::~RFluidSynthInstrument() {
  // The synthesizer goes first: it holds a view of the shared SoundFont.
  delete_fluid_synth(synth_);
  delete_fluid_settings(settings_);
}

void RFluidSynthInstrument::midi(uint8_t status, uint8_t data1, uint8_t data2) noexcept {
  if (status < 0x80 || status >= 0xf0) return;
  const int channel = status & 0x0f;
  const int a = data1 & 0x7f;
  const int b = data2 & 0x7f;
  switch (status & 0xf0) {
    case 0x80: fluid_synth_noteoff(synth_, channel, a); break;
    case 0x90:
      if (b == 0) {
        fluid_synth_noteoff(synth_, channel, a);
      } else {
        fluid_synth_noteon(synth_, channel, a, b);
      }
      break;
    case 0xa0: fluid_synth_key_pressure(synth_, channel, a, b); break;
    case 0xb0: fluid_synth_cc(synth_, channel, a, b); break;
    case 0xc0: fluid_synth_program_change(synth_, channel, a); break;
    case 0xd0: fluid_synth_channel_pressure(synth_, channel, a); break;
    case 0xe0: fluid_synth_pitch_bend(synth_, channel, a | (b << 7)); break;
    default: break;
  }
}

void RFluidSynthInstrument::render(float* left, float* right, int frames) noexcept {
  for (int done = 0; done < frames;) {
    const int n = std::min(frames - done, kScratchFrames);
    fluid_synth_write_float(synth_, n, scratchLeft_.data(), 0, 1, scratchRight_.data(), 0, 1);
    for (int i = 0; i < n; ++i) {
      left[done + i] += scratchLeft_[static_cast<size_t>(i)];
      right[done + i] += scratchRight_[static_cast<size_t>(i)];
    }
    done += n;
  }
}

void RFluidSynthInstrument::reset() noexcept {
  // The system reset restores controllers and programs but leaves sounding
  // voices ringing (FluidSynth 2.3); all-sounds-off then stops them.
  fluid_synth_system_reset(synth_);
  fluid_synth_all_sounds_off(synth_, -1);
}

}  // namespace vantor
