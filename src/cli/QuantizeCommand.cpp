#include "cli/QuantizeCommand.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cli/ShellQuantize.h"
#include "cli/ShellSession.h"
#include "document/PDocument.h"

namespace vantor::cli {

namespace {

// The values CLI11 collected, given back as the shell's option words so
// that both read them by one rule.
struct Options {
  std::string path;
  std::vector<std::string> tracks;
  std::vector<std::pair<std::string, std::string>> valued;  // option, value
  std::vector<std::string> flags;
  bool json = false;
};

int runQuantizeCommand(CliContext& context, const Options& options) {
  ShellArgs words;
  for (const std::string& track : options.tracks) words.insert(words.end(), {"--track", track});
  for (const auto& [option, value] : options.valued) {
    if (!value.empty()) words.insert(words.end(), {option, value});
  }
  words.insert(words.end(), options.flags.begin(), options.flags.end());
  QuantizeRequest request;
  std::string error;
  if (!parseQuantizeOptions(words, &request, &error)) {
    context.messages.report(FUserMessages::Severity::kError, error);
    return kExitUsage;
  }
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.path, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  size_t changed = 0;
  if (!runQuantize(session, request, &changed)) {
    context.messages.report(FUserMessages::Severity::kError, "the project was not saved");
    return kExitDataError;
  }
  if (session.hasUnsavedChanges() && !document.save()) return kExitDataError;
  const char* name = quantizeFunctionName(request.function);
  if (options.json) {
    printJson(context.out, {{"function", name}, {"notes", changed}});
  } else {
    context.out << name << ": " << changed << (changed == 1 ? " note" : " notes") << " changed\n";
  }
  return kExitOk;
}

}  // namespace

void addQuantizeCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* quantize = app.add_subcommand("quantize", "Quantize the notes of MIDI tracks as one undoable action, and save");
  auto options = std::make_shared<Options>();
  quantize->add_option("FILE", options->path, "Project file (.vpr)")->required();
  quantize->add_option("--track", options->tracks, "A track, by name or number (repeatable; default: all MIDI tracks)");
  // Values are checked by the shell's rule (parseQuantizeOptions).
  options->valued = {{"--grid", ""},     {"--type", ""},   {"--tuplet", ""}, {"--swing", ""},
                     {"--magnetic", ""}, {"--random", ""}, {"--seed", ""},   {"--iterative", ""}};
  const char* const help[] = {"Grid note: 1/1 ... 1/128 (default 1/16)",
                              "straight, triplet or dotted",
                              "Tuplet divisor, 2 to 64 (1: none)",
                              "Swing in percent (default: the quantizeSwing setting)",
                              "Magnetic area in percent of a grid step (0: off)",
                              "Random offset of up to TICKS pulses either way",
                              "Seed of the random offsets (default 1)",
                              "Iterative Quantize at this strength in percent"};
  for (size_t i = 0; i < options->valued.size(); ++i) {
    quantize->add_option(options->valued[i].first, options->valued[i].second, help[i]);
  }
  auto* functions = quantize->add_option_group("function", "At most one of the other functions");
  const std::pair<const char*, MQuantizeFunction> flags[] = {{"--lengths", MQuantizeFunction::kLengths},
                                                             {"--ends", MQuantizeFunction::kEnds},
                                                             {"--undo", MQuantizeFunction::kUndo},
                                                             {"--freeze", MQuantizeFunction::kFreeze}};
  for (const auto& [flag, function] : flags) {
    functions->add_flag_callback(
        flag, [options, flag = flag] { options->flags.push_back(flag); },
        std::string("\"") + quantizeFunctionName(function) + "\" instead of \"Quantize\"");
  }
  quantize->add_flag("--json", options->json, "Print the summary as JSON");
  quantize->callback([&context, exitCode, options] { *exitCode = runQuantizeCommand(context, *options); });
}

}  // namespace vantor::cli
