#include "cli/ProcessCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/process/PClipStateCommand.h"
#include "audio/process/PEditHistoryActions.h"
#include "audio/process/PEvtdetection.h"
#include "audio/process/PProcessMessages.h"
#include "audio/process/PStripSilenceCommand.h"
#include "cli/ProcessArguments.h"
#include "cli/ShellSession.h"
#include "document/PDocument.h"
#include "foundation/FClock.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"
#include "model/undo/GUndoManager.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string path;
  std::string clip;
  std::string process;
  std::vector<std::string> parameters;
  int64_t from = 0;
  int64_t to = -1;                   // the clip's end
  std::vector<std::string> regions;  // --region NAME: the clip's regions instead of --from/--to
  bool newVersion = false;
  bool replace = false;
  bool addRegions = false;
  bool stripSilence = false;
  std::string eventsTrack;  // --add-events TRACK
  bool json = false;
};

void report(CliContext& context, const std::string& text) {
  context.messages.report(FUserMessages::Severity::kError, text);
}

// "Create New Version": the pool's "New Version" of clip (a new clip of the
// same files, named "<name> 2" or the next free number); nullptr when it
// could not be made.
PAudioClip* newVersion(PDocument& document, PAudioClip& clip) {
  PAudioPool* pool = PAudioPool::poolOf(*document.project());
  FRef<MCommand> command = makeNewVersionCommand(*pool, clip);
  GUndoManager undo;
  if (!command || !undo.perform(command, document.project()->getRoot())) return nullptr;
  return pool->clips().back().get();
}

// Where a region of clip plays when placed at its origin: the clip's origin
// time (0 without one) plus the region's start in frames, through the tempo
// map. Pulses.
double regionPosition(const MProject& project, const PAudioClip& clip, const MRegionMarker& region) {
  const double origin = clip.getCluster()->originTime().value_or(0.0);
  const double seconds = static_cast<double>(region.getStart()) / clip.getCluster()->sampleRate();
  const MTempoTrackNode* tempo = project.getTempoNode();
  if (tempo == nullptr) return origin + seconds * 960.0;  // 120 BPM without a tempo map
  return tempo->pulsesAt(tempo->secondsAt(origin) + seconds);
}

// "Add Event": each region as an event on track, in a part of its own at
// the region's place on the time line. False with the reason reported.
bool addEvents(ShellSession& session, MMacroCommand& macro, PAudioClip& clip,
               const std::vector<FRef<MRegionMarker>>& regions, MTrackEvent& track) {
  for (const auto& region : regions) {
    std::string error;
    FRef<MCommand> insert = makeInsertClipCommand(session.project(), track, clip, PInsertAt::kCursor,
                                                  regionPosition(session.project(), clip, *region), region->getStart(),
                                                  region->getLength(), std::nullopt, &error);
    if (!insert) return session.fail(error);
    (void)macro.add(insert);
  }
  return true;
}

// Adds the detected regions to the clip (and, with --add-events, as events
// on a track) and/or strips the silence from its events, as one action, and
// saves.
bool applyDetection(CliContext& context, PDocument& document, PAudioClip& clip,
                    const std::vector<FRef<MRegionMarker>>& regions, const Options& options) {
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  MTrackEvent* track = nullptr;
  if (!options.eventsTrack.empty() && (track = session.track(options.eventsTrack)) == nullptr) return false;
  const bool addRegions = options.addRegions || track != nullptr;
  const char* description = track != nullptr ? kEventsRegionsFromDetectSilence
                            : addRegions     ? kRegionsFromDetectSilence
                                             : kStripSilenceAction;
  auto macro = makeRef<MMacroCommand>(description);
  if (addRegions) (void)macro->add(makeRef<PAddRegionsCommand>(FRef<PAudioClip>::share(&clip), regions));
  if (track != nullptr && !addEvents(session, *macro, clip, regions, *track)) return false;
  if (options.stripSilence) {
    std::vector<SilenceRegion> kept;
    for (const auto& region : regions) kept.push_back({region->getStart(), region->getEnd()});
    (void)macro->add(makeRef<PStripSilenceCommand>(FRef<PAudioClip>::share(&clip), std::move(kept)));
  }
  if (!session.perform(macro)) return false;
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
  const bool changes = (options.addRegions || options.stripSilence || !options.eventsTrack.empty()) && !regions.empty();
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
                            {"added", (options.addRegions || !options.eventsTrack.empty()) && !regions.empty()},
                            {"events", !options.eventsTrack.empty() && !regions.empty()},
                            {"stripped", options.stripSilence && !regions.empty()}});
    return kExitOk;
  }
  for (const auto& region : regions) {
    context.out << fmt::format("{}  start {}  end {}\n", region->getName(), region->getStart(), region->getEnd());
  }
  context.out << summary << "\n";
  if ((options.addRegions || !options.eventsTrack.empty()) && !regions.empty()) {
    context.out << (options.eventsTrack.empty() ? kRegionsFromDetectSilence : kEventsRegionsFromDetectSilence) << ": "
                << regions.size() << "\n";
  }
  if (options.stripSilence && !regions.empty()) context.out << kStripSilenceAction << "\n";
  return kExitOk;
}

struct Range {
  int64_t from = 0;
  int64_t to = 0;
};

// The ranges of the named regions of clip, sorted by start; false with the
// missing name reported.
bool regionRanges(CliContext& context, const PAudioClip& clip, const std::vector<std::string>& names,
                  std::vector<Range>* ranges) {
  for (const std::string& name : names) {
    const auto& regions = clip.regions();
    auto found = std::find_if(regions.begin(), regions.end(), [&](const auto& r) { return r->getName() == name; });
    if (found == regions.end()) {
      report(context, fmt::format("the clip \"{}\" has no region \"{}\"", clip.getName(), name));
      return false;
    }
    ranges->push_back({(*found)->getStart(), (*found)->getEnd()});
  }
  std::sort(ranges->begin(), ranges->end(), [](const Range& a, const Range& b) { return a.from < b.from; });
  return true;
}

bool overlap(const std::vector<Range>& sorted) {
  for (size_t i = 1; i < sorted.size(); ++i) {
    if (sorted[i].from < sorted[i - 1].to) return true;
  }
  return false;
}

// Joins the sorted ranges that share frames, so that each frame lies in one.
std::vector<Range> merged(const std::vector<Range>& sorted) {
  std::vector<Range> out;
  for (const Range& range : sorted) {
    if (!out.empty() && range.from < out.back().to) {
      out.back().to = std::max(out.back().to, range.to);
    } else {
      out.push_back(range);
    }
  }
  return out;
}

// The ranges to process: --from/--to, or the selected regions; regions that
// share frames are asked about and, on "Skip Doubles", merged. False when
// nothing is to be done (reported, or cancelled).
bool processRanges(CliContext& context, const PAudioClip& clip, const Options& options, std::vector<Range>* ranges) {
  if (options.regions.empty()) {
    ranges->push_back({options.from, options.to < 0 ? clip.lengthFrames() : options.to});
  } else if (!regionRanges(context, clip, options.regions, ranges)) {
    return false;
  }
  for (const Range& range : *ranges) {
    if (range.from < 0 || range.to <= range.from || range.to > clip.lengthFrames()) {
      report(context, fmt::format("the range {} to {} does not lie inside \"{}\" (0 to {} frames)", range.from,
                                  range.to, clip.getName(), clip.lengthFrames()));
      return false;
    }
  }
  if (!overlap(*ranges)) return true;
  if (context.messages.ask(kOverlappingRegionsQuestion, {kSkipDoublesChoice, kCancelProcessChoice}, 0) != 0) {
    return false;
  }
  *ranges = merged(*ranges);
  return true;
}

// One process command per range, as one action.
FRef<MMacroCommand> processMacro(CliContext& context, PDocument& document, PAudioClip& clip,
                                 const FRef<PAudioProcess>& process, const std::vector<Range>& ranges,
                                 std::vector<FRef<PAudioProcessCommand>>* commands) {
  auto macro = makeRef<MMacroCommand>(process->displayName());
  for (const Range& range : ranges) {
    auto command = makeRef<PAudioProcessCommand>(FRef<PAudioClip>::share(&clip), process, range.from,
                                                 range.to - range.from, resultFolder(document), &context.messages);
    command->setProgress(terminalProgress(context));
    commands->push_back(command);
    (void)macro->add(command);
  }
  return macro;
}

std::string failureOf(const std::vector<FRef<PAudioProcessCommand>>& commands) {
  for (const auto& command : commands) {
    if (!command->failure().empty()) return command->failure();
  }
  return "the process failed";
}

int runProcess(CliContext& context, const Options& options) {
  std::string error;
  FRef<PAudioProcess> process = findProcess(options.process, &error);
  if (!process || !applyParameters(*process, options.parameters, &error)) return report(context, error), kExitUsage;
  const bool detecting = options.addRegions || options.stripSilence || !options.eventsTrack.empty();
  if (detecting && dynamic_cast<PEvtdetection*>(process.get()) == nullptr) {
    return report(context, "--add-regions, --add-events and --strip-silence belong to Detect Silence"), kExitUsage;
  }
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.path, OpenPurpose::kEdit)) return kExitDataError;
  PAudioClip* clip = findClip(context, *document.project(), options.clip);
  if (clip == nullptr) return kExitDataError;
  if (!options.regions.empty() && !process->changesAudio()) {
    return report(context, "--region belongs to the processes that change audio"), kExitUsage;
  }
  std::vector<Range> ranges;
  if (!processRanges(context, *clip, options, &ranges)) return kExitDataError;
  if (!process->changesAudio()) return runAnalysis(context, document, *clip, *process, options);
  if (wantsNewFile(context.messages, options.replace, options.newVersion)) clip = newVersion(document, *clip);
  if (clip == nullptr) return report(context, "the new version could not be made"), kExitDataError;

  std::vector<FRef<PAudioProcessCommand>> commands;
  FRef<MMacroCommand> macro = processMacro(context, document, *clip, process, ranges, &commands);
  GUndoManager undo;
  if (!undo.perform(macro, document.project()->getRoot())) return report(context, failureOf(commands)), kExitDataError;
  document.markModified();
  if (!document.save()) return kExitDataError;
  const auto& files = clip->getCluster()->files();
  const size_t first = files.size() >= ranges.size() ? files.size() - ranges.size() : 0;
  const size_t entries = editHistoryOf(*clip)->size();
  if (options.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const Range& range : ranges) list.push_back({{"from", range.from}, {"to", range.to}});
    printJson(context.out, {{"process", process->displayName()},
                            {"class", process->getClassName()},
                            {"clip", clip->getName()},
                            {"from", ranges.front().from},
                            {"to", ranges.back().to},
                            {"ranges", list},
                            {"file", files.back().path},
                            {"history", entries}});
    return kExitOk;
  }
  for (size_t i = 0; i < ranges.size(); ++i) {
    const std::string& path = files[std::min(first + i, files.size() - 1)].path;
    context.out << fmt::format("{} on \"{}\", frames {} to {}: {}\n", process->displayName(), clip->getName(),
                               ranges[i].from, ranges[i].to, path);
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
  auto* from = command->add_option("--from", options->from, "First frame of the range in the clip (default 0)")
                   ->check(CLI::NonNegativeNumber);
  auto* to = command->add_option("--to", options->to, "Frame after the range (default: the clip's end)")
                 ->check(CLI::NonNegativeNumber);
  command
      ->add_option("--region", options->regions,
                   "Process this region of the clip, by name, instead of --from/--to (repeatable; one action)")
      ->excludes(from)
      ->excludes(to);
  command->add_flag("--new-version", options->newVersion,
                    "Create New Version: process a new clip of the same audio, keeping this one");
  command->add_flag("--replace", options->replace, "Process this clip (its files stay as they are)")
      ->excludes("--new-version");
  command->add_flag("--add-regions", options->addRegions, "Detect Silence: add the regions found to the clip");
  command->add_option("--add-events", options->eventsTrack,
                      "Detect Silence: add the regions to the clip and as events on this audio track (name or "
                      "number), each at its place from the clip's origin");
  command->add_flag("--strip-silence", options->stripSilence,
                    "Detect Silence: keep only the regions found in the events that play the clip");
  command->add_flag("--json", options->json, "Print the result as JSON");
  command->callback([&context, exitCode, options] { *exitCode = runProcess(context, *options); });
}

}  // namespace vantor::cli
