#include "cli/DetectSilenceCommand.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PSilenceDetector.h"
#include "audio/process/PSilenceDetectorMessages.h"
#include "cli/SilenceOptions.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string input;
  SilenceOptions silence;
  bool json = false;
};

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
  const auto regions = detectSilence(reader, options.silence, context.err);
  if (!regions) {
    context.err << "\"" << options.input << "\": the file could not be read to its end\n";
    return kExitDataError;
  }
  context.messages.report(FUserMessages::Severity::kInfo,
                          numberOfRegionsDetectedText(static_cast<int>(regions->size())));
  printRegions(context, *regions, reader.file().format.sampleRate, options.json);
  return kExitOk;
}

}  // namespace

void addDetectSilenceCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("detect-silence", "Find the loud stretches of an audio file as regions");
  auto options = std::make_shared<Options>();
  command->add_option("IN", options->input, "Audio file to read (WAVE, AIFF, AIFC)")->required();
  addSilenceOptions(*command, &options->silence);
  command->add_flag("--json", options->json, "Print the regions as JSON: {\"regions\": [{\"start\", \"end\"}]}");
  command->callback([&context, exitCode, options] { *exitCode = runDetectSilence(context, *options); });
}

}  // namespace vantor::cli
