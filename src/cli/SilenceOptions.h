#pragma once
// The options of silence detection, shared by `detect-silence` and
// `waveform --regions`: thresholds in dBFS, lengths in milliseconds, the
// level mode, and the detection of a whole file with them.

#include <CLI/CLI.hpp>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PSilenceDetector.h"

namespace vantor::cli {

// The defaults: open at -40 dBFS and close at -50 dBFS, so that a level
// hovering about one threshold does not cut a region into pieces; a region
// is at least 10 ms long, and gaps under half a second are bridged.
struct SilenceOptions {
  double openDb = -40.0;
  double closeDb = -50.0;
  double minOpenMs = 10.0;
  double minClosedMs = 500.0;
  double preRollMs = 0.0;
  double postRollMs = 0.0;
  std::string mode = "raw";
};

// Adds --open, --close, --min-open, --min-closed, --pre-roll, --post-roll
// and --mode to command, stored into *options (which must outlive it).
// Returns the options added.
std::vector<CLI::Option*> addSilenceOptions(CLI::App& command, SilenceOptions* options);

// The detector's parameters for options at rate (Hz).
PSilenceDetector::Parameters silenceParameters(const SilenceOptions& options, double rate);

// Detects the regions of reader's whole file from its current position,
// widened by the pre- and post-roll; progress goes to err on a terminal for
// long files. Nothing when the file could not be read to its end.
std::optional<std::vector<SilenceRegion>> detectSilence(AudioFileReader& reader, const SilenceOptions& options,
                                                        std::ostream& err);

}  // namespace vantor::cli
