#include "cli/ProcessCommand.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/process/PClipStateCommand.h"
#include "audio/process/PEditHistoryActions.h"
#include "audio/process/PEvtdetection.h"
#include "audio/process/PProcessMessages.h"
#include "audio/process/PStripSilenceCommand.h"
#include "cli/ProcessArguments.h"
#include "document/PDocument.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/undo/GUndoManager.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string path;
  std::string clip;
  std::string process;
  std::vector<std::string> parameters;
  int64_t from = 0;
  int64_t to = -1;  // the clip's end
  bool newVersion = false;
  bool addRegions = false;
  bool stripSilence = false;
  bool json = false;
};

void report(CliContext& context, const std::string& text) {
  context.messages.report(FUserMessages::Severity::kError, text);
}

// Where results go: the project's working directory, or the file's folder.
std::string resultFolder(const PDocument& document) {
  const std::string folder = document.workingDirectory();
  if (!folder.empty() && std::filesystem::is_directory(folder)) return folder;
  return std::filesystem::absolute(document.path()).parent_path().string();
}

// "Create New Version": a new clip of the same cluster and material, named
// "<name> <n>" with the first n that is free.
PAudioClip* newVersion(PAudioPool& pool, PAudioClip& clip) {
  std::string name;
  for (int n = 2; name.empty() || pool.findClip(name) != nullptr; ++n) name = clip.getName() + " " + std::to_string(n);
  auto version = makeRef<PAudioClip>(name, clip.clusterRef());
  version->setMaterial(makeRef<PClipMaterial>(clip.getMaterial()->pieces()));
  PAudioClip* added = version.get();
  return pool.addClip(version) != 0 ? added : nullptr;
}

// Adds the detected regions to the clip and/or strips the silence from its
// events, as one action, and saves.
bool applyDetection(CliContext& context, PDocument& document, PAudioClip& clip,
                    const std::vector<FRef<MRegionMarker>>& regions, const Options& options) {
  auto macro = makeRef<MMacroCommand>(options.addRegions ? kRegionsFromDetectSilence : kStripSilenceAction);
  if (options.addRegions) (void)macro->add(makeRef<PAddRegionsCommand>(FRef<PAudioClip>::share(&clip), regions));
  if (options.stripSilence) {
    std::vector<SilenceRegion> kept;
    for (const auto& region : regions) kept.push_back({region->getStart(), region->getEnd()});
    (void)macro->add(makeRef<PStripSilenceCommand>(FRef<PAudioClip>::share(&clip), std::move(kept)));
  }
  GUndoManager undo;
  if (!undo.perform(macro, document.project()->getRoot())) {
    report(context, macro->failure().empty() ? std::string("the detection could not be applied") : macro->failure());
    return false;
  }
  document.markModified();
  return document.save();
}

int runAnalysis(CliContext& context, PDocument& document, PAudioClip& clip, const PAudioProcess& process,
                const Options& options) {
  std::unique_ptr<PAudioWork> work = process.createWork();
  PClipProcessor processor(clip, resultFolder(document), context.messages);
  processor.setProgress(terminalProgress(context));
  std::string error;
  const int64_t to = options.to < 0 ? clip.lengthFrames() : options.to;
  if (!processor.analyze(*work, options.from, to - options.from, &error)) return report(context, error), kExitDataError;
  const std::string summary = static_cast<const PAudioAnalyze&>(process).summary(*work);
  const auto* detection = dynamic_cast<const PEvtdetection*>(&process);
  std::vector<FRef<MRegionMarker>> regions;
  if (detection != nullptr) {
    regions = detection->regionMarkers(static_cast<PEvtdetectionWork&>(*work).regions(), options.from);
  }
  const bool changes = (options.addRegions || options.stripSilence) && !regions.empty();
  if (changes && !applyDetection(context, document, clip, regions, options)) return kExitDataError;
  if (options.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& region : regions) {
      list.push_back({{"name", region->getName()}, {"start", region->getStart()}, {"end", region->getEnd()}});
    }
    printJson(context.out, {{"process", process.displayName()},
                            {"clip", clip.getName()},
                            {"summary", summary},
                            {"regions", list},
                            {"added", options.addRegions && !regions.empty()},
                            {"stripped", options.stripSilence && !regions.empty()}});
    return kExitOk;
  }
  for (const auto& region : regions) {
    context.out << fmt::format("{}  start {}  end {}\n", region->getName(), region->getStart(), region->getEnd());
  }
  context.out << summary << "\n";
  if (options.addRegions && !regions.empty()) {
    context.out << kRegionsFromDetectSilence << ": " << regions.size() << "\n";
  }
  if (options.stripSilence && !regions.empty()) context.out << kStripSilenceAction << "\n";
  return kExitOk;
}

int runProcess(CliContext& context, const Options& options) {
  std::string error;
  FRef<PAudioProcess> process = findProcess(options.process, &error);
  if (!process || !applyParameters(*process, options.parameters, &error)) return report(context, error), kExitUsage;
  if ((options.addRegions || options.stripSilence) && dynamic_cast<PEvtdetection*>(process.get()) == nullptr) {
    return report(context, "--add-regions and --strip-silence belong to Detect Silence"), kExitUsage;
  }
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.path, OpenPurpose::kEdit)) return kExitDataError;
  PAudioClip* clip = findClip(context, *document.project(), options.clip);
  if (clip == nullptr) return kExitDataError;
  const int64_t to = options.to < 0 ? clip->lengthFrames() : options.to;
  if (options.from < 0 || to <= options.from || to > clip->lengthFrames()) {
    report(context, fmt::format("the range {} to {} does not lie inside \"{}\" (0 to {} frames)", options.from, to,
                                clip->getName(), clip->lengthFrames()));
    return kExitDataError;
  }
  if (!process->changesAudio()) return runAnalysis(context, document, *clip, *process, options);
  if (options.newVersion) clip = newVersion(*PAudioPool::poolOf(*document.project()), *clip);
  if (clip == nullptr) return report(context, "the new version could not be made"), kExitDataError;

  auto command = makeRef<PAudioProcessCommand>(FRef<PAudioClip>::share(clip), process, options.from, to - options.from,
                                               resultFolder(document), &context.messages);
  command->setProgress(terminalProgress(context));
  GUndoManager undo;
  if (!undo.perform(command, document.project()->getRoot())) return report(context, command->failure()), kExitDataError;
  document.markModified();
  if (!document.save()) return kExitDataError;
  const AudioFile& written = clip->getCluster()->files().back();
  const size_t entries = editHistoryOf(*clip)->size();
  if (options.json) {
    printJson(context.out, {{"process", process->displayName()},
                            {"class", process->getClassName()},
                            {"clip", clip->getName()},
                            {"from", options.from},
                            {"to", to},
                            {"file", written.path},
                            {"history", entries}});
  } else {
    context.out << fmt::format("{} on \"{}\", frames {} to {}: {}\n", process->displayName(), clip->getName(),
                               options.from, to, written.path);
  }
  return kExitOk;
}

}  // namespace

void addProcessCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("process", "Run an offline process over a clip of the pool, and save");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->path, "Project file (.vpr)")->required();
  command->add_option("CLIP", options->clip, "The clip, by name or pool ID")->required();
  command
      ->add_option("PROCESS", options->process,
                   "Gain, Silence, Envelope, Fade In, Fade Out, Noise Gate, Compute DC Offset, Remove DC Offset, "
                   "Simple Echo, Acoustic Stamp or Detect Silence (or the class name, e.g. PGain)")
      ->required();
  command->add_option("--param", options->parameters,
                      "A parameter as \"KEY=VALUE\" by its stored name, e.g. \"Gain=6\" (repeatable)");
  command->add_option("--from", options->from, "First frame of the range in the clip (default 0)")
      ->check(CLI::NonNegativeNumber);
  command->add_option("--to", options->to, "Frame after the range (default: the clip's end)")
      ->check(CLI::NonNegativeNumber);
  command->add_flag("--new-version", options->newVersion,
                    "Create New Version: process a new clip of the same audio, keeping this one");
  command->add_flag("--add-regions", options->addRegions, "Detect Silence: add the regions found to the clip");
  command->add_flag("--strip-silence", options->stripSilence,
                    "Detect Silence: keep only the regions found in the events that play the clip");
  command->add_flag("--json", options->json, "Print the result as JSON");
  command->callback([&context, exitCode, options] { *exitCode = runProcess(context, *options); });
}

}  // namespace vantor::cli
