#include "render/instruments/RFluidSynthInstrument.h"

#include <fluidsynth.h>

#include <algorithm>
#include <mutex>

namespace vantor {

namespace {

// FluidSynth prints to the terminal by default; the library never does.
void quietLogging() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (int level = FLUID_PANIC; level <= FLUID_DBG; ++level) fluid_set_log_function(level, nullptr, nullptr);
  });
}

// FluidSynth renders this many frames per call into the scratch buffers.
constexpr int kScratchFrames = 1024;

}  // namespace

std::string soundFontLoadError(const std::string& path) { return "Could not load the SoundFont \"" + path + "\"."; }

std::unique_ptr<RFluidSynthInstrument> RFluidSynthInstrument::create(const std::string& soundFont, int sampleRate,
                                                                     std::string* error) {
  quietLogging();
  fluid_settings_t* settings = new_fluid_settings();
  if (!settings) {
    if (error) *error = soundFontLoadError(soundFont);
    return nullptr;
  }
  fluid_settings_setnum(settings, "synth.sample-rate", static_cast<double>(std::max(sampleRate, 1)));
  fluid_settings_setint(settings, "synth.threadsafe-api", 0);
  fluid_settings_setint(settings, "synth.reverb.active", 0);
  fluid_settings_setint(settings, "synth.chorus.active", 0);
  fluid_settings_setint(settings, "synth.cpu-cores", 1);
  fluid_settings_setint(settings, "synth.verbose", 0);
  fluid_synth_t* synth = new_fluid_synth(settings);
  if (!synth || soundFont.empty() || fluid_synth_sfload(synth, soundFont.c_str(), 1) == FLUID_FAILED) {
    if (synth) delete_fluid_synth(synth);
    delete_fluid_settings(settings);
    if (error) *error = soundFontLoadError(soundFont);
    return nullptr;
  }
  return std::unique_ptr<RFluidSynthInstrument>(new RFluidSynthInstrument(settings, synth));
}

RFluidSynthInstrument::RFluidSynthInstrument(fluid_settings_t* settings, fluid_synth_t* synth)
    : settings_(settings), synth_(synth), scratchLeft_(kScratchFrames), scratchRight_(kScratchFrames) {}

RFluidSynthInstrument::~RFluidSynthInstrument() {
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

void RFluidSynthInstrument::reset() noexcept { fluid_synth_system_reset(synth_); }

}  // namespace vantor
