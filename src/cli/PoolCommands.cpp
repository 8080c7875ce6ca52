#include "cli/PoolCommands.h"

#include <fmt/format.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PAudioPool.h"
#include "audio/pool/PConvertFilesCommand.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PVideoAudioExtractor.h"
#include "audio/pool/PoolMessages.h"
#include "cli/PoolResolve.h"
#include "cli/ShellSession.h"
#include "document/PDeviceSetup.h"
#include "document/PDocument.h"
#include "foundation/FClock.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor::cli {

namespace {

struct ImportOptions {
  std::string project;
  std::vector<std::string> inputs;
  bool copy = false;
  bool convert = false;
  bool extractVideo = false;
  std::string track;
  std::string at;
  bool json = false;
};

struct PoolOptions {
  std::string project;
  bool json = false;
  bool missing = false;
  bool removeUnused = false;
  std::string resolve;  // the folder to search; empty for none
  std::vector<std::string> filters;
  std::vector<std::string> locates;
  std::vector<std::string> convert;  // clips
  std::string format;
  std::string bits;
  double rate = 0;
};

struct RegionOptions {
  std::string project;
  std::string clip;
  bool json = false;
  bool describe = false;
};

nlohmann::json clipJson(const PAudioClip& clip, size_t uses) {
  const AudioCluster& cluster = *clip.getCluster();
  nlohmann::json files = nlohmann::json::array();
  for (const AudioFile& file : cluster.files()) {
    files.push_back({{"path", file.path}, {"type", file.typeName}, {"frames", file.lengthFrames}});
  }
  return {{"id", clip.getPoolID()},
          {"name", clip.getName()},
          {"frames", clip.lengthFrames()},
          {"sampleRate", cluster.sampleRate()},
          {"channels", cluster.channels()},
          {"uses", uses},
          {"regions", clip.regions().size()},
          {"missing", hasMissingFile(clip)},
          {"files", files}};
}

}  // namespace

PAudioClip* findPoolClip(const PAudioPool* pool, const std::string& text) {
  if (pool == nullptr) return nullptr;
  if (PAudioClip* clip = pool->findClip(text)) return clip;
  if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) return nullptr;
  return pool->findClip(static_cast<uint32_t>(std::stoul(text)));
}

std::string clipLine(const PAudioClip& clip, size_t uses) {
  const AudioCluster& cluster = *clip.getCluster();
  std::string line = fmt::format("{:>4}  {}  {} frames  {:.3f} kHz  {} ch  used {}x", clip.getPoolID(), clip.getName(),
                                 clip.lengthFrames(), cluster.sampleRate() / 1000.0, cluster.channels(), uses);
  if (hasMissingFile(clip)) line += "  missing";
  for (const AudioFile& file : cluster.files()) line += "\n      " + file.path;
  return line;
}

namespace {

// The import options: the flags when given, else the preference. The
// project's format is its devices' sample rate; the project keeps no sample
// width of its own, so conversion keeps each file's width.
PImportOptions importOptions(CliContext& context, const PDocument& document, const ImportOptions& options) {
  PImportOptions out{true, options.convert, 0, 0};
  if (!options.copy && !options.convert) {
    const std::string choice = context.preferences.getString(kOnImportAudiofilePreference);
    const PImportAction action = importActionFromName(choice).value_or(PImportAction::kDoNothing);
    out = importOptionsFor(action, context.messages, options.inputs.size());
  }
  out.projectRate = document.devices()->sampleRate();
  return out;
}

// Where ffmpeg is looked for: the folders of $PATH.
std::string programSearchPath() {
  const char* path = std::getenv("PATH");
  return path == nullptr ? "" : path;
}

// Places the clips one after the other on track from position (pulses).
bool insertClips(ShellSession& session, const std::vector<FRef<PAudioClip>>& clips, MTrackEvent& track,
                 double position) {
  for (const auto& clip : clips) {
    std::string error;
    FRef<MCommand> command = makeInsertClipCommand(session.project(), track, *clip, PInsertAt::kCursor, position, 0, -1,
                                                   std::nullopt, &error);
    if (!command) return session.fail("\"" + clip->getName() + "\": " + error);
    if (!session.perform(command)) return false;
    position += eventsUsing(session.project(), clip.get()).back()->getLength();
  }
  return true;
}

int runImportAudio(CliContext& context, const ImportOptions& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  // The track and the position are checked before any file is copied.
  MTrackEvent* track = nullptr;
  std::optional<double> position = 0.0;
  if (!options.track.empty()) {
    track = session.track(options.track);
    if (!options.at.empty()) position = session.position(options.at);
  }
  bool ok = (options.track.empty() || track != nullptr) && position.has_value();
  const PAddClipsCommand* add = nullptr;
  if (ok) {
    PAudioPool* pool = PAudioPool::ensurePool(session.project());
    FRef<MCommand> command =
        options.extractVideo ? makeExtractAudioCommand(*pool, options.inputs, programSearchPath(), context.messages)
                             : makeImportMediumCommand(*pool, options.inputs, importOptions(context, document, options),
                                                       nullptr, context.messages);
    add = dynamic_cast<PAddClipsCommand*>(command.get());
    ok = add != nullptr && session.perform(command);
  }
  if (ok && track != nullptr) ok = insertClips(session, add->clips(), *track, *position);
  if (!ok) {
    context.messages.report(FUserMessages::Severity::kError, "the project was not saved");
    return kExitDataError;
  }
  if (!document.save()) return kExitDataError;
  const auto usage = clipUsage(session.project());
  if (options.json) {
    nlohmann::json clips = nlohmann::json::array();
    for (const auto& clip : add->clips())
      clips.push_back(clipJson(*clip, usage.count(clip.get()) ? usage.at(clip.get()) : 0));
    printJson(context.out, {{"clips", clips}});
  } else {
    for (const auto& clip : add->clips()) {
      context.out << clipLine(*clip, usage.count(clip.get()) ? usage.at(clip.get()) : 0) << "\n";
    }
  }
  return kExitOk;
}

// "Find Missing Files...": the locates, then the search under the folder.
// The project is saved when something was relinked; the exit status is 1
// while a file stays missing, so that a script knows the project is not
// whole yet (what was relinked is saved all the same).
int runResolve(CliContext& context, const PoolOptions& options) {
  ResolveRequest request;
  if (!options.resolve.empty()) request.folder = options.resolve;
  std::string error;
  for (const std::string& text : options.filters) {
    PPathFilter filter;
    if (parsePathFilter(text, &filter, &error)) request.filters.add(std::move(filter));
  }
  for (const std::string& text : options.locates) {
    std::pair<std::string, std::string> locate;
    if (parseLocate(text, &locate)) request.locates.push_back(std::move(locate));
  }
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  ResolveOutcome outcome;
  if (!resolveMissingFiles(session, request, &outcome)) {
    context.messages.report(FUserMessages::Severity::kError, "the project was not saved");
    return kExitDataError;
  }
  if (outcome.changed && !document.save()) return kExitDataError;
  if (options.json) {
    nlohmann::json relinked = nlohmann::json::array(), refused = nlohmann::json::array();
    for (const auto& [path, found] : outcome.relinked) relinked.push_back({{"missing", path}, {"path", found}});
    for (const auto& r : outcome.refused)
      refused.push_back({{"missing", r.missing}, {"path", r.found}, {"reason", r.reason}});
    printJson(context.out, {{"resolved", relinked},
                            {"refused", refused},
                            {"missing", outcome.stillMissing},
                            {"allResolved", outcome.stillMissing.empty()}});
  } else {
    printResolveOutcome(context.out, outcome);
  }
  if (outcome.stillMissing.empty()) return kExitOk;
  context.messages.report(FUserMessages::Severity::kError,
                          std::to_string(outcome.stillMissing.size()) + " file(s) still missing");
  return kExitDataError;
}

// The conversion the options ask for; each part left out keeps the file's.
AudioConversion conversionOf(const PoolOptions& options) {
  AudioConversion conversion;
  if (options.format == "wav") conversion.typeName = "WAVE";
  if (options.format == "aiff") conversion.typeName = "AIFF";
  if (options.format == "aifc") conversion.typeName = "AIFC";
  if (options.format == "sd2") conversion.typeName = "SDII";
  conversion.width = options.bits == "16"    ? SampleWidth::kInteger16
                     : options.bits == "24"  ? SampleWidth::kInteger24
                     : options.bits == "32f" ? SampleWidth::kFloat32
                                             : SampleWidth::kSource;
  conversion.sampleRate = options.rate;
  return conversion;
}

// "Convert Files...": the clips' files into the project's Audio folder.
int runConvert(CliContext& context, const PoolOptions& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  PAudioPool* pool = PAudioPool::ensurePool(session.project());
  std::vector<FRef<PAudioClip>> clips;
  for (const std::string& text : options.convert) {
    PAudioClip* clip = findPoolClip(pool, text);
    if (clip == nullptr) {
      context.messages.report(FUserMessages::Severity::kError, "the pool has no clip \"" + text + "\"");
      return kExitDataError;
    }
    clips.push_back(FRef<PAudioClip>::share(clip));
  }
  std::string error;
  FRef<MCommand> command =
      makeConvertFilesCommand(session.project(), *pool, clips, conversionOf(options), "Convert Files", &error);
  if (!command && error.empty()) {
    context.out << "every file is in that format already\n";
    return kExitOk;
  }
  if (!command || !session.perform(command)) {
    if (!error.empty()) context.messages.report(FUserMessages::Severity::kError, error);
    context.messages.report(FUserMessages::Severity::kError, "the project was not saved");
    return kExitDataError;
  }
  if (!document.save()) return kExitDataError;
  const auto usage = clipUsage(session.project());
  for (const auto& clip : clips) {
    context.out << clipLine(*clip, usage.count(clip.get()) ? usage.at(clip.get()) : 0) << "\n";
  }
  return kExitOk;
}

int runPool(CliContext& context, const PoolOptions& options) {
  if (!options.resolve.empty() || !options.locates.empty()) return runResolve(context, options);
  if (!options.convert.empty()) return runConvert(context, options);
  PDocument document(context.messages, context.preferences);
  const OpenPurpose purpose = options.removeUnused ? OpenPurpose::kEdit : OpenPurpose::kRead;
  if (!openProject(context, document, options.project, purpose)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  MProject& project = session.project();
  PAudioPool* pool = PAudioPool::ensurePool(project);
  std::vector<std::string> removed;
  if (options.removeUnused) {
    FRef<MCommand> command = makeRemoveUnusedCommand(project, *pool);
    if (command) {
      const std::vector<FRef<PAudioClip>> before = pool->clips();
      if (!session.perform(command)) return kExitDataError;
      for (const auto& clip : before) {
        if (pool->indexOf(clip.get()) < 0) removed.push_back(clip->getName());
      }
      if (!document.save()) return kExitDataError;
    }
  }
  const auto usage = clipUsage(project);
  auto usesOf = [&](const PAudioClip* clip) { return usage.count(clip) ? usage.at(clip) : size_t{0}; };
  const PPoolInfo info = poolInfo(project, *pool);
  if (options.json) {
    nlohmann::json clips = nlohmann::json::array();
    for (const auto& clip : pool->clips()) {
      if (!options.missing || hasMissingFile(*clip)) clips.push_back(clipJson(*clip, usesOf(clip.get())));
    }
    nlohmann::json out = {{"clips", clips},
                          {"audiofiles", info.audiofiles},
                          {"used", info.used},
                          {"totalBytes", info.totalBytes},
                          {"externFiles", info.externFiles},
                          {"workingDirectory", pool->getWorkingDirectory()}};
    if (options.removeUnused) out["removed"] = removed;
    printJson(context.out, out);
    return kExitOk;
  }
  for (const std::string& name : removed) context.out << "removed " << name << "\n";
  for (const auto& clip : pool->clips()) {
    if (!options.missing || hasMissingFile(*clip)) context.out << clipLine(*clip, usesOf(clip.get())) << "\n";
  }
  context.out << formatPoolInfo(info) << "\n";
  return kExitOk;
}

int runRegions(CliContext& context, const RegionOptions& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kRead)) return kExitDataError;
  PAudioClip* clip = findPoolClip(PAudioPool::poolOf(*document.project()), options.clip);
  if (clip == nullptr) {
    context.messages.report(FUserMessages::Severity::kError, "the pool has no clip \"" + options.clip + "\"");
    return kExitDataError;
  }
  if (options.describe) {
    // The transfer text of every region, numbered from 1 in the clip's order.
    std::vector<PRegionDescription> descriptions;
    for (const auto& r : clip->regions()) {
      auto description = describeRegion(*clip, *r, static_cast<int32_t>(descriptions.size() + 1));
      if (!description) {
        context.messages.report(FUserMessages::Severity::kError,
                                "region \"" + r->getName() + "\" lies outside its clip");
        return kExitDataError;
      }
      descriptions.push_back(std::move(*description));
    }
    context.out << writeRegionDescriptions(descriptions);
    return kExitOk;
  }
  if (options.json) {
    nlohmann::json regions = nlohmann::json::array();
    for (const auto& r : clip->regions()) {
      regions.push_back(
          {{"name", r->getName()}, {"start", r->getStart()}, {"length", r->getLength()}, {"origin", r->getOrigin()}});
    }
    printJson(context.out, {{"clip", clip->getName()}, {"regions", regions}});
    return kExitOk;
  }
  for (const auto& r : clip->regions()) {
    context.out << fmt::format("{}  start {}  length {}  origin {}\n", r->getName(), r->getStart(), r->getLength(),
                               r->getOrigin());
  }
  return kExitOk;
}

void addImportAudio(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("import-audio",
                                     "Enter audio files in a project's pool as one undoable action, "
                                     "optionally place them on a track, and save");
  auto options = std::make_shared<ImportOptions>();
  command->add_option("FILE", options->project, "Project file (.vpr)")->required();
  command->add_option("IN", options->inputs, "Audio files to import (WAVE, AIFF, AIFC)")->required();
  auto* copy = command->add_flag("--copy", options->copy, "Copy the files into the project folder's Audio folder");
  auto* convert =
      command->add_flag("--convert", options->convert,
                        "Copy and convert files whose format differs from the project's (\"Convert if needed\")");
  command
      ->add_flag("--extract-video", options->extractVideo,
                 "\"Extract Audio from Videofile\": IN are video files; the first audio stream of each becomes a "
                 "32-bit float WAVE file in the Audio folder (needs the ffmpeg program)")
      ->excludes(copy)
      ->excludes(convert);
  auto* track = command->add_option("--track", options->track, "Audio track (name or number) to place the clips on");
  command->add_option("--at", options->at, "Where the first clip starts: pulses, bars, seconds or minutes")
      ->needs(track);
  command->add_flag("--json", options->json, "Print the new clips as JSON");
  command->callback([&context, exitCode, options] { *exitCode = runImportAudio(context, *options); });
}

// Checks "FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]" and "MISSING=NEWPATH"
// while the arguments are parsed, so a bad one is a usage error.
std::string checkFilter(const std::string& text) {
  PPathFilter filter;
  std::string error;
  return parsePathFilter(text, &filter, &error) ? "" : error;
}
std::string checkLocate(const std::string& text) {
  std::pair<std::string, std::string> locate;
  return parseLocate(text, &locate) ? "" : "a locate is MISSING=NEWPATH, not \"" + text + "\"";
}

void addResolveOptions(CLI::App& command, PoolOptions& options, CLI::Option* removeUnused) {
  auto* resolve = command.add_option("--resolve", options.resolve,
                                     "\"Find Missing Files\": search FOLDER for the missing files, relink what is "
                                     "found and save; exit status 1 while files stay missing");
  command.add_option("--filter", options.filters, "A path filter row: FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]")
      ->check(CLI::Validator(checkFilter, "FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]"))
      ->needs(resolve);
  auto* locate = command
                     .add_option("--locate", options.locates,
                                 "Take NEWPATH for a missing file (its path, or a clip with one missing file)")
                     ->check(CLI::Validator(checkLocate, "MISSING=NEWPATH"));
  resolve->excludes(removeUnused);
  locate->excludes(removeUnused);
}

void addConvertOptions(CLI::App& command, PoolOptions& options, CLI::Option* removeUnused) {
  auto* convert = command.add_option("--convert", options.convert,
                                     "\"Convert Files\": convert the files of these clips (names or pool IDs) into "
                                     "the Audio folder and save");
  command.add_option("--format", options.format, "Container of the new files (default: each file's own)")
      ->check(CLI::IsMember({"wav", "aiff", "aifc", "sd2"}))
      ->needs(convert);
  command.add_option("--bits", options.bits, "Sample width of the new files (default: each file's own)")
      ->check(CLI::IsMember({"16", "24", "32f"}))
      ->needs(convert);
  command.add_option("--rate", options.rate, "Sample rate of the new files in Hz (default: each file's own)")
      ->check(CLI::Range(1000.0, 768000.0))
      ->needs(convert);
  convert->excludes(removeUnused);
  convert->excludes("--resolve");
  convert->excludes("--locate");
}

void addPool(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command =
      app.add_subcommand("pool", "List a project's audio pool; remove unused media, find missing files, convert files");
  auto options = std::make_shared<PoolOptions>();
  command->add_option("FILE", options->project, "Project file (.vpr)")->required();
  command->add_flag("--json", options->json, "Print the clips and the information line as JSON");
  command->add_flag("--missing", options->missing, "List only clips with a file that cannot be found");
  auto* removeUnused = command->add_flag("--remove-unused", options->removeUnused,
                                         "Remove the clips no event uses (\"Remove Unused Media\") and save");
  addResolveOptions(*command, *options, removeUnused);
  addConvertOptions(*command, *options, removeUnused);
  command->callback([&context, exitCode, options] { *exitCode = runPool(context, *options); });
}

void addRegions(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("regions", "List the regions of a clip of a project's pool");
  auto options = std::make_shared<RegionOptions>();
  command->add_option("FILE", options->project, "Project file (.vpr)")->required();
  command->add_option("CLIP", options->clip, "Clip name or pool ID")->required();
  auto* json = command->add_flag("--json", options->json, "Print the regions as JSON");
  command
      ->add_flag("--describe", options->describe,
                 "Print the regions as transferred: <region> records with file names and sample positions")
      ->excludes(json);
  command->callback([&context, exitCode, options] { *exitCode = runRegions(context, *options); });
}

}  // namespace

void addPoolCommands(CLI::App& app, CliContext& context, int* exitCode) {
  addImportAudio(app, context, exitCode);
  addPool(app, context, exitCode);
  addRegions(app, context, exitCode);
}

}  // namespace vantor::cli
