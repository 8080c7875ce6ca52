#pragma once
// An instrument that turns MIDI channel messages into stereo audio, and the
// factory that makes the instrument a MIDI track plays through.
//
// Threads: create and prepare on any thread but the audio thread; midi(),
// render() and reset() run on the audio thread and never lock, allocate or
// touch files. Rendering is split-invariant: rendering N frames and then M
// gives the same samples as rendering N + M at once, so a render in blocks
// of 256 frames matches one in blocks of 4096 sample for sample.

#include <cstdint>
#include <memory>
#include <string>

namespace vantor {

class RInstrument {
 public:
  virtual ~RInstrument() = default;

  // A channel message (status byte with channel, two data bytes; a
  // two-byte message has data2 = 0). It takes effect from the next frame
  // rendered. System messages are ignored.
  virtual void midi(uint8_t status, uint8_t data1, uint8_t data2) noexcept = 0;
  // Adds `frames` frames of output to `left` and `right`.
  virtual void render(float* left, float* right, int frames) noexcept = 0;
  // Silences every voice at once and resets controllers and programs, as
  // after a locate or a stop.
  virtual void reset() noexcept = 0;
};

// Which instrument a MIDI track plays through.
struct RInstrumentChoice {
  enum class Kind { kBuiltin, kSoundFont };
  Kind kind = Kind::kBuiltin;
  std::string soundFont;  // the SoundFont file, for kSoundFont
  bool operator==(const RInstrumentChoice&) const = default;
};

// Makes instruments for a sample rate. Null with a message in the system's
// words when it cannot (a SoundFont that does not load).
class RInstrumentFactory {
 public:
  virtual ~RInstrumentFactory() = default;
  virtual std::unique_ptr<RInstrument> create(const RInstrumentChoice& choice, int sampleRate,
                                              std::string* error) const = 0;
};

}  // namespace vantor
