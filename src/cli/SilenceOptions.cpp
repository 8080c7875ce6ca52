#include "cli/SilenceOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/CliContext.h"

namespace vantor::cli {

namespace {

// The time constant of the smoothed mode: short enough to follow the
// attack of a note, long enough to ride over the zero crossings of any
// audible tone (20 Hz has a period of 50 ms; the smoothed level of a tone
// ripples by a few dB at most).
constexpr double kSmoothingTimeConstantMs = 10.0;
// Files of more frames than this show their progress on a terminal.
constexpr int64_t kProgressFrames = int64_t{48000} * 60;
constexpr int64_t kBlockSamples = int64_t{1} << 16;

float amplitudeForDb(double db) { return static_cast<float>(std::pow(10.0, db / 20.0)); }

// A number from low to high. CLI::Range lets NaN through, which would make
// a threshold that nothing passes.
CLI::Validator within(double low, double high) {
  const std::string range = fmt::format("[{} - {}]", low, high);
  return CLI::Validator(
      [low, high, range](std::string& text) -> std::string {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high) return {};
        return "Value " + text + " not in range " + range;
      },
      range);
}

}  // namespace

std::vector<CLI::Option*> addSilenceOptions(CLI::App& command, SilenceOptions* options) {
  // dBFS: a full-scale sample is 0 dB, amplitude = 10^(dB/20).
  const CLI::Validator decibels = within(-240.0, 24.0);
  // Up to a day, so that a length in frames stays far inside 64 bits.
  const CLI::Validator milliseconds = within(0.0, 86400000.0);
  return {
      command.add_option("--open", options->openDb, "Open threshold in dBFS (default -40)")->check(decibels),
      command.add_option("--close", options->closeDb, "Close threshold in dBFS (default -50)")->check(decibels),
      command.add_option("--min-open", options->minOpenMs, "Minimum region length in ms (default 10)")
          ->check(milliseconds),
      command.add_option("--min-closed", options->minClosedMs, "Gaps shorter than this (ms) are bridged (default 500)")
          ->check(milliseconds),
      command.add_option("--pre-roll", options->preRollMs, "Widen each region by ms before (default 0)")
          ->check(milliseconds),
      command.add_option("--post-roll", options->postRollMs, "Widen each region by ms after (default 0)")
          ->check(milliseconds),
      command.add_option("--mode", options->mode, "Level: raw (largest sample) or smoothed (10 ms)")
          ->check(CLI::IsMember({"raw", "smoothed"})),
  };
}

PSilenceDetector::Parameters silenceParameters(const SilenceOptions& options, double rate) {
  PSilenceDetector::Parameters parameters;
  parameters.openThreshold = amplitudeForDb(options.openDb);
  parameters.closeThreshold = amplitudeForDb(options.closeDb);
  parameters.minOpenFrames = millisecondsToFrames(options.minOpenMs, rate);
  parameters.minClosedFrames = millisecondsToFrames(options.minClosedMs, rate);
  if (options.mode == "smoothed") {
    parameters.mode = PSilenceDetector::Mode::kSmoothed;
    parameters.smoothing = PSilenceDetector::smoothingForTimeConstant(kSmoothingTimeConstantMs, rate);
  }
  return parameters;
}

std::optional<std::vector<SilenceRegion>> detectSilence(AudioFileReader& reader, const SilenceOptions& options,
                                                        std::ostream& err) {
  const AudioFile& file = reader.file();
  const double rate = file.format.sampleRate;
  PSilenceDetector detector(silenceParameters(options, rate), file.format.channels);
  const int64_t blockFrames = std::max<int64_t>(1, kBlockSamples / file.format.channels);
  std::vector<float> block(static_cast<size_t>(blockFrames * file.format.channels));
  const bool showProgress = stderrIsTerminal() && file.lengthFrames >= kProgressFrames;
  int shownPercent = -1;
  for (int64_t got; (got = reader.readFrames(block.data(), blockFrames)) != 0;) {
    if (got < 0) return std::nullopt;
    detector.process(block.data(), got);
    const int percent = static_cast<int>(detector.framesProcessed() * 100 / std::max<int64_t>(1, file.lengthFrames));
    if (showProgress && percent != shownPercent) {
      err << "\rProcessing " << percent << "%" << std::flush;
      shownPercent = percent;
    }
  }
  if (showProgress) err << "\n";
  detector.finish();
  return widenRegions(detector.regions(), millisecondsToFrames(options.preRollMs, rate),
                      millisecondsToFrames(options.postRollMs, rate), detector.framesProcessed());
}

}  // namespace vantor::cli
