// The instruments of MIDI tracks: making eight tracks that play one
// SoundFont (each loading it into its own FluidSynth synthesizer, the peer,
// against one shared load), and rendering a second of 64 sounding voices
// with the built-in synthesizer and, as the peer, with FluidSynth.

#include <benchmark/benchmark.h>
#include <fluidsynth.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "render/RInstrumentFactory.h"
#include "render/instruments/RBuiltinSynth.h"

namespace vantor {
namespace {

constexpr const char* kSoundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";
constexpr int kRate = 48000;
constexpr int kTracks = 8;
constexpr int kBlock = 256;

bool haveSoundFont(benchmark::State& state) {
  if (std::filesystem::exists(kSoundFont)) return true;
  state.SkipWithError("the SoundFont is not installed");
  return false;
}

void BM_EightTracksShareOneLoad(benchmark::State& state) {
  if (!haveSoundFont(state)) return;
  const RStandardInstrumentFactory factory;
  for (auto _ : state) {
    std::vector<std::unique_ptr<RInstrument>> tracks;
    for (int i = 0; i < kTracks; ++i) {
      tracks.push_back(factory.create({RInstrumentChoice::Kind::kSoundFont, kSoundFont}, kRate, nullptr));
    }
    benchmark::DoNotOptimize(tracks.data());
  }
}
BENCHMARK(BM_EightTracksShareOneLoad)->Unit(benchmark::kMillisecond);

void BM_EightTracksEachLoadingThePeer(benchmark::State& state) {
  if (!haveSoundFont(state)) return;
  for (int level = FLUID_PANIC; level <= FLUID_DBG; ++level) fluid_set_log_function(level, nullptr, nullptr);
  for (auto _ : state) {
    std::vector<std::pair<fluid_settings_t*, fluid_synth_t*>> tracks;
    for (int i = 0; i < kTracks; ++i) {
      fluid_settings_t* settings = new_fluid_settings();
      fluid_settings_setnum(settings, "synth.sample-rate", kRate);
      fluid_synth_t* synth = new_fluid_synth(settings);
      fluid_synth_sfload(synth, kSoundFont, 1);
      tracks.emplace_back(settings, synth);
    }
    for (auto& [settings, synth] : tracks) {
      delete_fluid_synth(synth);
      delete_fluid_settings(settings);
    }
  }
}
BENCHMARK(BM_EightTracksEachLoadingThePeer)->Unit(benchmark::kMillisecond);

// Renders one second in blocks with 64 notes held (organ-like timbres hold).
void renderSecond(benchmark::State& state, RInstrument& instrument) {
  std::vector<float> left(kBlock), right(kBlock);
  for (auto _ : state) {
    instrument.reset();
    instrument.midi(0xc0, 19, 0);
    for (int n = 0; n < 64; ++n) instrument.midi(0x90, static_cast<uint8_t>(30 + n), 100);
    for (int done = 0; done < kRate; done += kBlock) instrument.render(left.data(), right.data(), kBlock);
    benchmark::DoNotOptimize(left.data());
  }
  state.counters["x real time"] = benchmark::Counter(1.0, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_BuiltinSynth64Voices(benchmark::State& state) {
  RBuiltinSynth synth(kRate);
  renderSecond(state, synth);
}
BENCHMARK(BM_BuiltinSynth64Voices)->Unit(benchmark::kMillisecond);

void BM_FluidSynth64VoicesThePeer(benchmark::State& state) {
  if (!haveSoundFont(state)) return;
  std::unique_ptr<RInstrument> synth =
      RStandardInstrumentFactory().create({RInstrumentChoice::Kind::kSoundFont, kSoundFont}, kRate, nullptr);
  renderSecond(state, *synth);
}
BENCHMARK(BM_FluidSynth64VoicesThePeer)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantor

BENCHMARK_MAIN();
