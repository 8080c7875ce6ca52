#include "cli/DetectSilenceCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PSilenceDetector.h"
#include "audio/process/PSilenceDetectorMessages.h"

namespace vantor::cli {

namespace {

// The defaults: open at -40 dBFS and close at -50 dBFS, so that a level
// hovering about one threshold does not cut a region into pieces; a region
// is at least 10 ms long, and gaps under half a second are bridged.
struct Options {
  std::string input;
  double openDb = -40.0;
  double closeDb = -50.0;
  double minOpenMs = 10.0;
  double minClosedMs = 500.0;
  double preRollMs = 0.0;
  double postRollMs = 0.0;
  std::string mode = "raw";
  bool json = false;
};

// The time constant of the smoothed mode: short enough to follow the
// attack of a note, long enough to ride over the zero crossings of any
// audible tone (20 Hz has a period of 50 ms; the smoothed level of a tone
// ripples by a few dB at most).
constexpr double kSmoothingTimeConstantMs = 10.0;
// Files of more frames than this show their progress on a terminal.
constexpr int64_t kProgressFrames = int64_t{48000} * 60;
constexpr int64_t kBlockSamples = int64_t{1} << 16;

float amplitudeForDb(double db) { return static_cast<float>(std::pow(10.0, db / 20.0)); }

PSilenceDetector::Parameters parametersFor(const Options& options, double rate) {
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

// Feeds the whole file to detector; false when it could not be read to its end.
bool detect(AudioFileReader& reader, PSilenceDetector& detector, std::ostream& err) {
  const AudioFile& file = reader.file();
  const int64_t blockFrames = std::max<int64_t>(1, kBlockSamples / file.format.channels);
  std::vector<float> block(static_cast<size_t>(blockFrames * file.format.channels));
  const bool showProgress = stderrIsTerminal() && file.lengthFrames >= kProgressFrames;
  int shownPercent = -1;
  for (int64_t got; (got = reader.readFrames(block.data(), blockFrames)) != 0;) {
    if (got < 0) return false;
    detector.process(block.data(), got);
    const int percent = static_cast<int>(detector.framesProcessed() * 100 / std::max<int64_t>(1, file.lengthFrames));
    if (showProgress && percent != shownPercent) {
      err << "\rProcessing " << percent << "%" << std::flush;
      shownPercent = percent;
    }
  }
  if (showProgress) err << "\n";
  detector.finish();
  return true;
}

void printRegions(CliContext& context, const std::vector<SilenceRegion>& regions, double rate, bool json) {
  if (json) {
    nlohmann::json list = nlohmann::json::array();
    for (const SilenceRegion& region : regions) list.push_back({{"start", region.start}, {"end", region.end}});
    printJson(context.out, {{"regions", list}});
    if (regions.empty()) context.err << kNoRegionDetectedMessage << "\n";
    return;
  }
  if (regions.empty()) {
    context.out << kNoRegionDetectedMessage << "\n";
    return;
  }
  for (size_t i = 0; i < regions.size(); ++i) {
    const SilenceRegion& region = regions[i];
    context.out << fmt::format("{:>4}  start {:>12} ({:.3f} s)  end {:>12} ({:.3f} s)\n", i + 1, region.start,
                               static_cast<double>(region.start) / rate, region.end,
                               static_cast<double>(region.end) / rate);
  }
  context.out << regionsDetectedText(static_cast<int>(regions.size())) << "\n";
}

int runDetectSilence(CliContext& context, const Options& options) {
  AudioFileReader reader;
  if (!reader.open(options.input)) {
    context.err << "\"" << options.input << "\": " << reader.error() << "\n";
    return kExitDataError;
  }
  const double rate = reader.file().format.sampleRate;
  PSilenceDetector detector(parametersFor(options, rate), reader.file().format.channels);
  if (!detect(reader, detector, context.err)) {
    context.err << "\"" << options.input << "\": the file could not be read to its end\n";
    return kExitDataError;
  }
  const std::vector<SilenceRegion> regions =
      widenRegions(detector.regions(), millisecondsToFrames(options.preRollMs, rate),
                   millisecondsToFrames(options.postRollMs, rate), detector.framesProcessed());
  context.messages.report(FUserMessages::Severity::kInfo,
                          numberOfRegionsDetectedText(static_cast<int>(regions.size())));
  printRegions(context, regions, rate, options.json);
  return kExitOk;
}

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

void addDetectSilenceCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("detect-silence", "Find the loud stretches of an audio file as regions");
  auto options = std::make_shared<Options>();
  command->add_option("IN", options->input, "Audio file to read (WAVE, AIFF, AIFC)")->required();
  // dBFS: a full-scale sample is 0 dB, amplitude = 10^(dB/20).
  const CLI::Validator decibels = within(-240.0, 24.0);
  // Up to a day, so that a length in frames stays far inside 64 bits.
  const CLI::Validator milliseconds = within(0.0, 86400000.0);
  command->add_option("--open", options->openDb, "Open threshold in dBFS (default -40)")->check(decibels);
  command->add_option("--close", options->closeDb, "Close threshold in dBFS (default -50)")->check(decibels);
  command->add_option("--min-open", options->minOpenMs, "Minimum region length in ms (default 10)")
      ->check(milliseconds);
  command->add_option("--min-closed", options->minClosedMs, "Gaps shorter than this (ms) are bridged (default 500)")
      ->check(milliseconds);
  command->add_option("--pre-roll", options->preRollMs, "Widen each region by ms before (default 0)")
      ->check(milliseconds);
  command->add_option("--post-roll", options->postRollMs, "Widen each region by ms after (default 0)")
      ->check(milliseconds);
  command->add_option("--mode", options->mode, "Level: raw (largest sample) or smoothed (10 ms)")
      ->check(CLI::IsMember({"raw", "smoothed"}));
  command->add_flag("--json", options->json, "Print the regions as JSON: {\"regions\": [{\"start\", \"end\"}]}");
  command->callback([&context, exitCode, options] { *exitCode = runDetectSilence(context, *options); });
}

}  // namespace vantor::cli
