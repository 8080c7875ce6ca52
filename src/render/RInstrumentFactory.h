#pragma once
// The instruments Vantor ships: the built-in synthesizer (a handful of
// General MIDI-like timbres and a drum kit on channel 10, needing nothing
// installed) and FluidSynth playing a SoundFont.

#include <memory>
#include <string>

#include "render/RInstrument.h"

namespace vantor {

class RStandardInstrumentFactory : public RInstrumentFactory {
 public:
  std::unique_ptr<RInstrument> create(const RInstrumentChoice& choice, int sampleRate,
                                      std::string* error) const override;
};

// The General MIDI SoundFont installed on this system (Debian's
// /usr/share/sounds/sf2/default-GM.sf2 and the usual names beside it), or
// "" when none is.
std::string installedSoundFont();

}  // namespace vantor
