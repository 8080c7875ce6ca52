#include "cli/WaveformCommand.h"

#include <fmt/format.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PPngWriter.h"
#include "audio/process/PSilenceDetectorMessages.h"
#include "audio/process/PWaveformImage.h"
#include "cli/SilenceOptions.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string input;
  std::string output;
  int width = 1000;
  int height = 200;
  bool regions = false;
  SilenceOptions silence;
  bool json = false;
};

// Files of more frames than this show the drawing's progress on a terminal.
constexpr int64_t kProgressFrames = int64_t{48000} * 60;

PWaveformImage::Progress progressFor(const AudioFile& file, std::ostream& err) {
  if (!stderrIsTerminal() || file.lengthFrames < kProgressFrames) return {};
  auto shown = std::make_shared<int>(-1);
  return [&err, shown, length = file.lengthFrames](int64_t frames) {
    const int percent = static_cast<int>(frames * 100 / length);
    if (percent == *shown) return;
    *shown = percent;
    err << "\rDrawing " << percent << "%" << (frames == length ? "\n" : "") << std::flush;
  };
}

void printResult(CliContext& context, const Options& options, const AudioFile& file,
                 const std::optional<std::vector<SilenceRegion>>& regions) {
  if (options.json) {
    nlohmann::json result = {{"output", options.output},
                             {"width", options.width},
                             {"height", options.height},
                             {"channels", file.format.channels},
                             {"frames", file.lengthFrames}};
    if (regions) {
      nlohmann::json list = nlohmann::json::array();
      for (const SilenceRegion& region : *regions) list.push_back({{"start", region.start}, {"end", region.end}});
      result["regions"] = list;
    }
    printJson(context.out, result);
    return;
  }
  context.out << fmt::format("{}: {} x {} pixels, {} channels, {} frames\n", options.output, options.width,
                             options.height, file.format.channels, file.lengthFrames);
  if (regions) context.out << regionsDetectedText(static_cast<int>(regions->size())) << "\n";
}

int runWaveform(CliContext& context, const Options& options) {
  AudioFileReader reader;
  if (!reader.open(options.input)) {
    context.err << "\"" << options.input << "\": " << reader.error() << "\n";
    return kExitDataError;
  }
  const AudioFile& file = reader.file();
  if (!PWaveformImage::fits(options.width, options.height, file.format.channels)) {
    context.err << fmt::format("\"{}\": {} channels need a picture at least {} pixels high\n", options.input,
                               file.format.channels, file.format.channels);
    return kExitDataError;
  }
  std::optional<std::vector<SilenceRegion>> regions;
  if (options.regions) {
    regions = detectSilence(reader, options.silence, context.err);
    if (!regions) {
      context.err << "\"" << options.input << "\": the file could not be read to its end\n";
      return kExitDataError;
    }
  }
  PRgbImage image;
  if (!PWaveformImage::render(reader, options.width, options.height, regions.value_or(std::vector<SilenceRegion>{}),
                              &image, progressFor(file, context.err))) {
    context.err << "\"" << options.input << "\": the file could not be read to its end\n";
    return kExitDataError;
  }
  std::string error;
  if (!PPngWriter::write(options.output, image, &error)) {
    context.err << "\"" << options.output << "\": " << error << "\n";
    return kExitDataError;
  }
  printResult(context, options, file, regions);
  return kExitOk;
}

}  // namespace

void addWaveformCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("waveform", "Draw the waveform of an audio file as a PNG picture");
  auto options = std::make_shared<Options>();
  command->add_option("IN", options->input, "Audio file to read (WAVE, AIFF, AIFC)")->required();
  command->add_option("-o,--output", options->output, "PNG file to write")->required();
  command->add_option("--width", options->width, "Width in pixels, one column per equal share of frames (default 1000)")
      ->check(CLI::Range(1, PWaveformImage::kMaxWidth));
  command->add_option("--height", options->height, "Height in pixels, shared by the channels (default 200)")
      ->check(CLI::Range(1, PWaveformImage::kMaxHeight));
  CLI::Option* regions =
      command->add_flag("--regions", options->regions, "Tint the regions found as by detect-silence (same options)");
  for (CLI::Option* option : addSilenceOptions(*command, &options->silence)) option->needs(regions);
  command->add_flag("--json", options->json,
                    "Print {\"output\", \"width\", \"height\", \"channels\", \"frames\", \"regions\"} as JSON");
  command->callback([&context, exitCode, options] { *exitCode = runWaveform(context, *options); });
}

}  // namespace vantor::cli
