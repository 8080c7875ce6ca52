#include "render/RInstrumentFactory.h"

#include <filesystem>

#include "render/instruments/RBuiltinSynth.h"
#include "render/instruments/RFluidSynthInstrument.h"

namespace vantor {

std::unique_ptr<RInstrument> RStandardInstrumentFactory::create(const RInstrumentChoice& choice, int sampleRate,
                                                                std::string* error) const {
  switch (choice.kind) {
    case RInstrumentChoice::Kind::kBuiltin: return std::make_unique<RBuiltinSynth>(sampleRate);
    case RInstrumentChoice::Kind::kSoundFont: return RFluidSynthInstrument::create(choice.soundFont, sampleRate, error);
  }
  return std::make_unique<RBuiltinSynth>(sampleRate);
}

std::string installedSoundFont() {
  // Debian's alternative for the General MIDI SoundFont first, then the
  // files the usual packages install beside it.
  static constexpr const char* kCandidates[] = {
      "/usr/share/sounds/sf2/default-GM.sf2",
      "/usr/share/sounds/sf2/TimGM6mb.sf2",
      "/usr/share/sounds/sf2/FluidR3_GM.sf2",
      "/usr/share/soundfonts/default.sf2",
      "/usr/share/soundfonts/FluidR3_GM.sf2",
  };
  for (const char* path : kCandidates) {
    std::error_code ec;
    if (std::filesystem::is_regular_file(path, ec)) return path;
  }
  return "";
}

}  // namespace vantor
