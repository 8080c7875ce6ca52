#pragma once
// The offline render ("mixdown"): the project's range played through the
// playback engine in blocks and written to an audio file.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vantor {

class PDocument;
class RInstrumentFactory;

struct RRenderSettings {
  int64_t from = 0;        // first frame, at the project's rate
  int64_t to = -1;         // the frame after the last; -1: the end of the project
  bool click = false;      // mix the metronome in
  std::string soundFont;   // "" the built-in synthesizer; a file; or "default" for installedSoundFont()
  int outputRate = 0;      // 0: the project's rate; otherwise converted with libsoxr
  int bits = 24;           // 16, 24 (integer, dithered) or 32 (float)
  std::optional<double> normalizeLufs;  // integrated loudness to reach, in LUFS
};

struct RRenderResult {
  int64_t frames = 0;        // frames written, at sampleRate
  int sampleRate = 0;        // the file's rate
  double loudnessLufs = 0;   // integrated loudness (EBU R128) of what was written; -inf for silence
  double peakDb = 0;         // sample peak in dBFS of what was written; -inf for silence
  double gainDb = 0;         // gain applied to reach normalizeLufs, 0 without
};

// Renders the project's range into `path`, a WAVE or AIFF file by its
// extension (.wav, .aif, .aiff), stereo, written to a temporary beside the
// target and renamed over it. `progress` gets 0..1 and returns false to
// cancel. False with a message in the system's words on a failure or a
// cancel; the target is then as it was.
[[nodiscard]] bool renderProject(PDocument& document, const std::filesystem::path& path,
                                 const RRenderSettings& settings, RRenderResult* result,
                                 std::string* error,
                                 const std::function<bool(double)>& progress = {});

// The same with instruments from `factory` (RStandardInstrumentFactory
// above); `settings.soundFont` is then a file or "" and is not resolved.
[[nodiscard]] bool renderProject(PDocument& document, const std::filesystem::path& path,
                                 const RRenderSettings& settings, const RInstrumentFactory& factory,
                                 RRenderResult* result, std::string* error,
                                 const std::function<bool(double)>& progress = {});

}  // namespace vantor
