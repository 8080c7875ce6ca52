#include "cli/RenderCommand.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "document/PArrangement.h"
#include "document/PDeviceSetup.h"
#include "document/PDocument.h"
#include "model/markers/MTransport.h"
#include "model/time/MPosition.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "render/offline/ROfflineRender.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string project;
  std::string output;
  std::string from;
  std::string to;
  bool cycle = false;
  int rate = 0;
  std::string bits = "24";
  std::string soundFont;
  bool click = false;
  std::optional<double> normalize;
  bool json = false;
};

// The frame of the project's rate at a position the user typed; nullopt
// after reporting a position that cannot be read.
std::optional<int64_t> frameOf(CliContext& context, const PDocument& document, const std::string& text) {
  const MProject& project = *document.project();
  const MPosition positions(*project.getSignatureNode(), *project.getTempoNode());
  std::string error;
  const std::optional<double> pulses = positions.parse(text, &error);
  if (!pulses) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return std::nullopt;
  }
  const int rate = document.devices() != nullptr ? document.devices()->sampleRate() : PDeviceSetup::kDefaultSampleRate;
  return static_cast<int64_t>(std::llround(project.getTempoNode()->secondsAt(*pulses) * rate));
}

// Fills the range of `settings` from --from/--to or --cycle; false after a
// usage error was reported.
bool setRange(CliContext& context, const PDocument& document, const Options& options, RRenderSettings* settings) {
  if (options.cycle) {
    const MTransport* transport = document.arrangement()->getTransport();
    const MTempoTrackNode& tempo = *document.project()->getTempoNode();
    const int rate = document.devices() != nullptr ? document.devices()->sampleRate() : PDeviceSetup::kDefaultSampleRate;
    if (transport == nullptr) return true;
    settings->from = static_cast<int64_t>(std::llround(tempo.secondsAt(transport->getLeftLocator()) * rate));
    settings->to = static_cast<int64_t>(std::llround(tempo.secondsAt(transport->getRightLocator()) * rate));
    return true;
  }
  if (!options.from.empty()) {
    const auto from = frameOf(context, document, options.from);
    if (!from) return false;
    settings->from = *from;
  }
  if (!options.to.empty()) {
    const auto to = frameOf(context, document, options.to);
    if (!to) return false;
    settings->to = *to;
  }
  return true;
}

// A level as text ("-inf" for silence) and as JSON (null for silence).
std::string levelText(double value) {
  if (!std::isfinite(value)) return "-inf";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}
nlohmann::json levelJson(double value) { return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json(); }

void printResult(CliContext& context, const Options& options, const RRenderResult& r, int bits) {
  const double seconds = static_cast<double>(r.frames) / r.sampleRate;
  const std::string width = bits == 32 ? "32-bit float" : std::to_string(bits) + " bits";
  if (options.json) {
    printJson(context.out, {{"path", options.output},
                            {"frames", r.frames},
                            {"seconds", seconds},
                            {"sampleRate", r.sampleRate},
                            {"bits", options.bits},
                            {"loudnessLufs", levelJson(r.loudnessLufs)},
                            {"peakDb", levelJson(r.peakDb)},
                            {"gainDb", r.gainDb}});
    return;
  }
  char length[32];
  std::snprintf(length, sizeof length, "%d:%06.3f", static_cast<int>(seconds / 60), std::fmod(seconds, 60.0));
  context.out << options.output << ": " << r.frames << " frames, " << length << ", " << r.sampleRate << " Hz, "
              << width << ", loudness " << levelText(r.loudnessLufs) << " LUFS, peak " << levelText(r.peakDb)
              << " dBFS, gain " << levelText(r.gainDb) << " dB\n";
}

int runRender(CliContext& context, const Options& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kRead)) return kExitDataError;
  RRenderSettings settings;
  if (!setRange(context, document, options, &settings)) return kExitUsage;
  settings.click = options.click;
  settings.soundFont = options.soundFont;
  settings.outputRate = options.rate;
  settings.bits = options.bits == "16" ? 16 : options.bits == "32f" ? 32 : 24;
  settings.normalizeLufs = options.normalize;
  RRenderResult result;
  std::string error;
  if (!renderProject(document, options.output, settings, &result, &error, percentProgress(context.err, "Rendering"))) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return kExitDataError;
  }
  printResult(context, options, result, settings.bits);
  return kExitOk;
}

}  // namespace

void addRenderCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* render = app.add_subcommand("render", "Mix the project down to a stereo WAVE or AIFF file");
  auto options = std::make_shared<Options>();
  render->add_option("PROJECT", options->project, "Project file (.vpr)")->required();
  render->add_option("-o,--output", options->output, "Audio file to write (.wav, .aif or .aiff); replaced safely")
      ->required();
  auto* from = render->add_option("--from", options->from, "First position (default: the start)");
  auto* to = render->add_option("--to", options->to, "Position to end at (default: the end of the project)");
  render->add_flag("--cycle", options->cycle, "Render from the left to the right locator")->excludes(from)->excludes(to);
  render->add_option("--rate", options->rate, "Sample rate of the file in Hz (default: the project's)")
      ->check(CLI::Range(8000, 768000));
  render->add_option("--bits", options->bits, "Sample width: 16, 24 (dithered) or 32f (default: 24)")
      ->check(CLI::IsMember({"16", "24", "32f"}));
  render->add_option("--soundfont", options->soundFont,
                     "SoundFont for the MIDI tracks, or 'default' for the installed one (default: the built-in synthesizer)");
  render->add_flag("--click", options->click, "Mix the metronome in");
  render->add_option("--normalize", options->normalize, "Integrated loudness to reach, in LUFS (e.g. -14)")
      ->check(CLI::Range(-70.0, 0.0));
  render->add_flag("--json", options->json, "Print the result as JSON");
  render->callback([&context, exitCode, options] { *exitCode = runRender(context, *options); });
}

}  // namespace vantor::cli
