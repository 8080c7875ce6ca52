#include "cli/DemoCommand.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PPngWriter.h"
#include "audio/process/PWaveformImage.h"
#include "cli/DemoProject.h"
#include "cli/ProjectInfo.h"
#include "cli/ShellSession.h"
#include "document/PDeviceSetup.h"
#include "document/PDocument.h"
#include "model/time/MPosition.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "render/offline/ROfflineRender.h"

namespace vantor::cli {

namespace {

namespace fs = std::filesystem;

constexpr int kPictureWidth = 1000;
constexpr int kPictureHeight = 200;

struct Options {
  std::string project;
  bool force = false;
  bool json = false;
};

// The files of one run, all beside the project.
struct DemoFiles {
  fs::path project;
  fs::path voice;
  fs::path render;
  fs::path picture;

  explicit DemoFiles(const fs::path& path)
      : project(path),
        voice(path.parent_path() / "Audio" / "Demo Voice.wav"),
        render(fs::path(path).replace_extension(".wav")),
        picture(fs::path(path).replace_extension(".png")) {}
  std::vector<fs::path> all() const { return {project, render, picture, voice}; }
};

// Removes, on a failure, the files (and the voice's folder) this run made
// where there were none.
class MadeFiles {
 public:
  explicit MadeFiles(const DemoFiles& files) {
    // The voice's folder last: it goes only when empty.
    std::vector<fs::path> paths = files.all();
    paths.push_back(files.voice.parent_path());
    for (const fs::path& path : paths) {
      std::error_code ec;
      if (!fs::exists(path, ec)) fresh_.push_back(path);
    }
  }
  ~MadeFiles() {
    if (kept_) return;
    for (const fs::path& path : fresh_) {
      std::error_code ec;
      fs::remove(path, ec);
    }
  }
  void keep() { kept_ = true; }

 private:
  std::vector<fs::path> fresh_;
  bool kept_ = false;
};

bool refuseExisting(CliContext& context, const DemoFiles& files, bool force) {
  if (force) return false;
  for (const fs::path& path : files.all()) {
    std::error_code ec;
    if (!fs::exists(path, ec)) continue;
    context.messages.report(FUserMessages::Severity::kError,
                            "\"" + path.string() + "\" already exists (use --force to replace it)");
    return true;
  }
  return false;
}

// The song from its start to the end of the last bar and the tail, built
// in-process: the built-in synthesizer, no click.
bool renderDemo(CliContext& context, PDocument& document, const fs::path& path, RRenderResult* result) {
  const MProject& project = *document.project();
  const MPosition positions(*project.getSignatureNode(), *project.getTempoNode());
  std::string error;
  const std::optional<double> end = positions.parse(kDemoEnd, &error);
  const int rate = document.devices()->sampleRate();
  RRenderSettings settings;
  settings.to = static_cast<int64_t>(std::llround((project.getTempoNode()->secondsAt(*end) + kDemoTailSeconds) * rate));
  if (!renderProject(document, path, settings, result, &error, percentProgress(context.err, "Rendering"))) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return false;
  }
  return true;
}

bool drawPicture(CliContext& context, const fs::path& render, const fs::path& picture) {
  AudioFileReader reader;
  PRgbImage image;
  std::string error;
  if (!reader.open(render.string()) || !PWaveformImage::render(reader, kPictureWidth, kPictureHeight, {}, &image, {})) {
    error = reader.error().empty() ? "the render could not be read to its end" : reader.error();
  } else if (PPngWriter::write(picture.string(), image, &error)) {
    return true;
  }
  context.messages.report(FUserMessages::Severity::kError, "\"" + picture.string() + "\": " + error);
  return false;
}

std::string level(double value) {
  if (!std::isfinite(value)) return "-inf";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}
nlohmann::json levelJson(double value) { return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json(); }

void printReport(CliContext& context, const PDocument& document, const DemoFiles& files, const DemoSummary& summary,
                 const RRenderResult& render, bool json) {
  const double seconds = static_cast<double>(render.frames) / render.sampleRate;
  if (json) {
    std::ostringstream info;
    writeProjectJson(info, document);
    printJson(context.out, {{"project", files.project.string()},
                            {"render", files.render.string()},
                            {"picture", files.picture.string()},
                            {"voice", files.voice.string()},
                            {"frames", render.frames},
                            {"seconds", seconds},
                            {"sampleRate", render.sampleRate},
                            {"loudnessLufs", levelJson(render.loudnessLufs)},
                            {"peakDb", levelJson(render.peakDb)},
                            {"notes", summary.notes},
                            {"quantized", summary.quantized},
                            {"stretches", summary.stretches},
                            {"info", nlohmann::json::parse(info.str())}});
    return;
  }
  context.out << "Saved a demonstration project to " << files.project.string() << "\n\n";
  printProject(context.out, document);
  char length[64];
  std::snprintf(length, sizeof length, "%.3f s", seconds);
  context.out << "\n"
              << summary.notes << " MIDI notes played in by hand, " << summary.quantized
              << " of them quantized to 1/16; " << summary.stretches << " stretches of sound kept in the voice\n"
              << "Render: " << length << " at " << render.sampleRate << " Hz, loudness " << level(render.loudnessLufs)
              << " LUFS, peak " << level(render.peakDb) << " dBFS\n\nFiles:\n  project  " << files.project.string()
              << "\n  render   " << files.render.string() << "\n  picture  " << files.picture.string()
              << "\n  voice    " << files.voice.string() << "\n";
}

int runDemo(CliContext& context, const Options& options) {
  const DemoFiles files(fs::absolute(options.project));
  if (refuseExisting(context, files, options.force)) return kExitDataError;
  MadeFiles made(files);
  PDocument document(context.messages, context.preferences);
  std::string error;
  if (!writeDemoVoice(files.voice, document.devices()->sampleRate(), &error)) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return kExitDataError;
  }
  DemoSummary summary;
  {
    // The lines' own output (clip lines, marker IDs) is not part of the job's.
    std::ostringstream lineOutput;
    CliContext quiet(lineOutput, context.err);
    ShellSession session(quiet, document, FSystemClock::instance());
    if (!buildDemoProject(session, files.voice, &summary)) return kExitDataError;
  }
  RRenderResult render;
  if (!renderDemo(context, document, files.render, &render)) return kExitDataError;
  if (!drawPicture(context, files.render, files.picture)) return kExitDataError;
  if (!document.save(files.project.string())) return kExitDataError;
  made.keep();
  printReport(context, document, files, summary, render, options.json);
  return kExitOk;
}

}  // namespace

void addDemoCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* demo = app.add_subcommand(
      "demo", "Build a demonstration project from material of its own, render it, draw it, save it and show it");
  auto options = std::make_shared<Options>();
  demo->add_option("FILE", options->project, "Where to save the project (.vpr); the render and picture go beside it")
      ->required();
  demo->add_flag("--force", options->force, "Replace existing files (project, render, picture, voice)");
  demo->add_flag("--json", options->json, "Print one JSON object: the files, the render's loudness and the project");
  demo->callback([&context, exitCode, options] { *exitCode = runDemo(context, *options); });
}

}  // namespace vantor::cli
