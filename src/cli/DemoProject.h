#pragma once
// The demonstration project of `vantor demo`, built from material it makes
// itself: three MIDI tracks (drums on channel 10, bass, chords) playing a
// few bars of a simple progression with humanized timing, then quantized;
// an audio track holding a synthesized voice whose silent gaps are found
// and stripped, its pieces faded; a tempo ramp, a signature change,
// markers, the cycle, volumes, pans and automatic fades. Every edit goes
// through the session's commands, so the project's history is what a user
// typing the same steps would have made.

#include <cstddef>
#include <filesystem>
#include <string>

namespace vantor::cli {

class ShellSession;

// Where the song ends (the start of bar 11: 8 bars of 4/4 and 2 of 3/4);
// the render goes on for kDemoTailSeconds after it so that the last notes
// ring out.
inline constexpr const char* kDemoEnd = "11.1.1.0";
inline constexpr double kDemoTailSeconds = 1.0;

// What the build did, for the report.
struct DemoSummary {
  size_t notes = 0;      // MIDI notes placed
  size_t quantized = 0;  // notes the quantize moved
  size_t stretches = 0;  // stretches of sound found in the voice
};

// Writes the voice: four sung-like tones of 1.2 s, one every 2 s, with
// silence between them, mono 24-bit WAVE at rate (Hz), through the audio
// layer's writer (a temporary beside path, renamed over it). False with
// *error in words.
[[nodiscard]] bool writeDemoVoice(const std::filesystem::path& path, int rate, std::string* error);

// Builds the project in the session's document, with the voice at
// voicePath entering the pool. False when a step failed; its error was
// printed by the session.
[[nodiscard]] bool buildDemoProject(ShellSession& session, const std::filesystem::path& voicePath,
                                    DemoSummary* summary);

}  // namespace vantor::cli
