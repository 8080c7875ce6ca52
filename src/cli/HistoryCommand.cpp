#include "cli/HistoryCommand.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "audio/process/PClipStateCommand.h"
#include "audio/process/PEditHistoryActions.h"
#include "audio/process/PProcessMessages.h"
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
  size_t remove = 0;  // entry numbers from 1; 0: not asked for
  size_t modify = 0;
  std::vector<std::string> replace;  // N and PROCESS
  bool freeze = false;
  std::vector<std::string> parameters;
  bool json = false;
};

// The "Status" column: whether the entry's result is still on disk.
std::string statusOf(const PAudioClip& clip, const PEditHistoryEntry& entry) {
  const auto& files = clip.getCluster()->files();
  std::error_code ec;
  const bool present = entry.resultFile < static_cast<int32_t>(files.size()) &&
                       std::filesystem::exists(files[static_cast<size_t>(entry.resultFile)].path, ec);
  return present ? "Done" : "File Missing";
}

nlohmann::json parametersJson(const FAttributes& parameters) {
  nlohmann::json object = nlohmann::json::object();
  for (const std::string& key : parameters.keys()) {
    int64_t integer = 0;
    double number = 0;
    std::string text;
    FAttributes::Kind kind{};
    if (!parameters.kindOf(key, &kind)) continue;
    if (kind == FAttributes::Kind::kInteger && parameters.getInt(key, &integer)) object[key] = integer;
    if (kind == FAttributes::Kind::kFloat && parameters.getFloat(key, &number)) object[key] = number;
    if (kind == FAttributes::Kind::kString && parameters.getString(key, &text)) object[key] = text;
  }
  return object;
}

void printHistory(CliContext& context, const PAudioClip& clip, bool json) {
  const PEditHistory* history = editHistoryOf(clip);
  const std::vector<PEditHistoryEntry> none;
  const std::vector<PEditHistoryEntry>& entries = history != nullptr ? history->entries() : none;
  if (json) {
    nlohmann::json list = nlohmann::json::array();
    for (const PEditHistoryEntry& entry : entries) {
      list.push_back({{"action", PEditHistory::actionName(entry)},
                      {"class", entry.processClass},
                      {"from", entry.start},
                      {"to", entry.start + entry.length},
                      {"status", statusOf(clip, entry)},
                      {"parameters", parametersJson(*entry.parameters)}});
    }
    printJson(context.out,
              {{"clip", clip.getName()}, {"title", PEditHistory::title(clip.getName())}, {"entries", list}});
    return;
  }
  context.out << PEditHistory::title(clip.getName()) << "\n";
  context.out << fmt::format("{:>4}  {:<20} {:<28} {}\n", "", kHistoryActionColumn, "Range", kHistoryStatusColumn);
  for (size_t i = 0; i < entries.size(); ++i) {
    const PEditHistoryEntry& entry = entries[i];
    context.out << fmt::format("{:>4}  {:<20} {:<28} {}\n", i + 1, PEditHistory::actionName(entry),
                               fmt::format("frames {} to {}", entry.start, entry.start + entry.length),
                               statusOf(clip, entry));
  }
}

// The command the options ask for; nullptr when refused or declined (said).
FRef<MCommand> prepareChange(CliContext& context, FRef<PAudioClip> clip, const Options& options,
                             const std::string& folder, int* exitCode) {
  std::string error;
  *exitCode = kExitDataError;
  if (options.freeze) return prepareFreeze(clip, folder, context.messages);
  if (options.remove > 0) return prepareRemove(clip, options.remove - 1, folder, context.messages);
  if (options.modify > 0) {
    FRef<PAudioProcess> process = entryProcess(*clip, options.modify - 1);
    if (process && !applyParameters(*process, options.parameters, &error)) {
      context.messages.report(FUserMessages::Severity::kError, error);
      return (*exitCode = kExitUsage), nullptr;
    }
    return prepareModify(clip, options.modify - 1, process, folder, context.messages);
  }
  FRef<PAudioProcess> by = findProcess(options.replace[1], &error);
  if (by && !applyParameters(*by, options.parameters, &error)) by = nullptr;
  if (!by) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return (*exitCode = kExitUsage), nullptr;
  }
  const size_t index = std::stoul(options.replace[0]);
  return prepareReplace(clip, index > 0 ? index - 1 : SIZE_MAX, by, folder, context.messages);
}

int runHistory(CliContext& context, const Options& options) {
  const bool changes = options.freeze || options.remove > 0 || options.modify > 0 || !options.replace.empty();
  if (!changes && !options.parameters.empty()) {
    context.messages.report(FUserMessages::Severity::kError, "--param belongs to --modify or --replace");
    return kExitUsage;
  }
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.path, changes ? OpenPurpose::kEdit : OpenPurpose::kRead)) {
    return kExitDataError;
  }
  PAudioClip* clip = findClip(context, *document.project(), options.clip);
  if (clip == nullptr) return kExitDataError;
  if (!changes) {
    printHistory(context, *clip, options.json);
    return kExitOk;
  }
  const std::string folder = resultFolder(document);
  int exitCode = kExitOk;
  FRef<MCommand> command = prepareChange(context, FRef<PAudioClip>::share(clip), options, folder, &exitCode);
  if (!command) return exitCode;
  if (auto* state = dynamic_cast<PClipStateCommand*>(command.get())) state->setProgress(terminalProgress(context));
  GUndoManager undo;
  if (!undo.perform(command, document.project()->getRoot())) {
    context.messages.report(FUserMessages::Severity::kError, command->failure());
    return kExitDataError;
  }
  document.markModified();
  if (!document.save()) return kExitDataError;
  printHistory(context, *clip, options.json);
  return kExitOk;
}

}  // namespace

void addHistoryCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("history", "Show or change the offline process history of a clip");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->path, "Project file (.vpr)")->required();
  command->add_option("CLIP", options->clip, "The clip, by name or pool ID")->required();
  auto* actions = command->add_option_group("action", "At most one change (none: list the history)");
  actions->add_option("--remove", options->remove, "Remove entry N and run the later ones again")
      ->check(CLI::PositiveNumber);
  actions->add_option("--modify", options->modify, "Run entry N again with the --param values, then the later ones")
      ->check(CLI::PositiveNumber);
  actions->add_option("--replace", options->replace, "Replace entry N by PROCESS (with --param values)")
      ->expected(2)
      ->type_name("N PROCESS")
      ->each([](const std::string&) {});
  actions->add_flag("--freeze", options->freeze, "Render the clip into one file and clear its history");
  actions->require_option(0, 1);
  command->add_option("--param", options->parameters, "A parameter as \"KEY=VALUE\" (repeatable)");
  command->add_flag("--json", options->json, "Print the history as JSON");
  command->callback([&context, exitCode, options] {
    // At most 9 digits: no entry number beyond what an unsigned long holds.
    const std::string entry = options->replace.empty() ? "1" : options->replace[0];
    if (entry.empty() || entry.size() > 9 || entry.find_first_not_of("0123456789") != std::string::npos) {
      throw CLI::ValidationError("--replace", "N must be an entry number, not \"" + entry + "\"");
    }
    *exitCode = runHistory(context, *options);
  });
}

}  // namespace vantor::cli
