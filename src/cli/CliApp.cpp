#include "cli/CliApp.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <ostream>

#include "cli/ClassesCommand.h"
#include "cli/CliContext.h"
#include "cli/CliReference.h"
#include "cli/ConvertCommand.h"
#include "cli/DemoCommand.h"
#include "cli/RenderCommand.h"
#include "cli/DetectSilenceCommand.h"
#include "cli/DumpCommand.h"
#include "cli/HistoryCommand.h"
#include "cli/MidiExportCommand.h"
#include "cli/MidiImportCommand.h"
#include "cli/PlayCommand.h"
#include "cli/PoolCommands.h"
#include "cli/ProcessCommand.h"
#include "cli/ProjectCommands.h"
#include "cli/QuantizeCommand.h"
#include "cli/ShellCommand.h"
#include "cli/WaveformCommand.h"
#include "document/PDocumentInit.h"
#include "document/PVersion.h"
#include "model/undo/GUndoManager.h"

namespace vantor::cli {

namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// --pref "KEY=VALUE": a setting for this run only, never saved. Only the
// settings the program knows are accepted, so that a misspelt key is not
// silently ignored.
void overrideSettings(CliContext& context, const std::vector<std::string>& settings) {
  for (const std::string& setting : settings) {
    const size_t eq = setting.find('=');
    const std::string key = setting.substr(0, eq);
    if (eq != std::string::npos && !PPreferences::declared(key)) {
      throw CLI::ValidationError(
          "--pref", "unknown setting \"" + key + "\"; the settings are: " + joined(PPreferences::declaredKeys()));
    }
    if (eq == std::string::npos || !context.preferences.override(key, setting.substr(eq + 1))) {
      throw CLI::ValidationError("--pref", "bad setting \"" + setting + "\" (KEY=VALUE)");
    }
  }
  GUndoManager::applyMaximumUndo(static_cast<int>(context.preferences.getInt("Maximum Undo")));
}

// The first word that is neither an option nor an option's value: where a
// subcommand belongs.
std::string firstWord(const CLI::App& app, int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg.empty() || arg[0] != '-') return arg;
    const CLI::Option* option = app.get_option_no_throw(arg);
    if (option != nullptr && option->get_expected_max() > 0) ++i;  // its value
  }
  return {};
}

// A missing or unknown subcommand is named as such, with the list to pick from.
// Where no word names a subcommand, a refused option value (--pref) is
// the error to show instead.
bool reportSubcommand(const CLI::App& app, int argc, char** argv, bool refusedValue, std::ostream& err) {
  const std::string word = firstWord(app, argc, argv);
  if (word.empty() && refusedValue) return false;
  std::vector<std::string> names;
  for (const CLI::App* sub : app.get_subcommands({})) {
    if (sub->get_name() == word) return false;
    names.push_back(sub->get_name());
  }
  err << (word.empty() ? std::string("a subcommand is required") : "unknown subcommand \"" + word + "\"")
      << "; the subcommands are: " << joined(names) << "\nRun with --help for more information.\n";
  return true;
}

}  // namespace

int runCli(int argc, char** argv, std::ostream& out, std::ostream& err, std::istream* terminal) {
  initializeDocument();
  CliContext context(out, err);
  context.messages.setTerminal(terminal);
  // A preferences file that cannot be read leaves the defaults.
  (void)context.preferences.load(PPreferences::defaultPath());
  GUndoManager::applyMaximumUndo(static_cast<int>(context.preferences.getInt("Maximum Undo")));
  CLI::App app{"Vantor: build, inspect and edit multitrack projects", "vantor"};
  app.require_subcommand(1);
  app.add_flag_callback(
      "-v,--verbose", [&context] { context.messages.setVerbose(true); }, "Show progress and information messages");
  app.add_flag_callback(
      "-y,--yes", [&context] { context.messages.setAssumeYes(true); },
      "Answer yes to the warnings before operations that cannot be undone (in scripts)");
  app.add_option_function<std::vector<std::string>>(
         "--pref", [&context](const std::vector<std::string>& settings) { overrideSettings(context, settings); },
         "Override a setting for this run: KEY=VALUE")
      ->trigger_on_parse();
  const std::string version =
      std::string("vantor ") + kVersionNumber + " (project file revision " + std::to_string(kProjectFileRevision) + ")";
  app.set_version_flag("--version", version, "Show the version and the project-file revision it writes");
  addReferenceOptions(app, out);
  int exitCode = kExitOk;
  addDumpCommand(app, context, &exitCode);
  addClassesCommand(app, context, &exitCode);
  addProjectCommands(app, context, &exitCode);
  addDemoCommand(app, context, &exitCode);
  addShellCommands(app, context, std::cin, &exitCode);
  addQuantizeCommand(app, context, &exitCode);
  addMidiExportCommand(app, context, &exitCode);
  addMidiImportCommand(app, context, &exitCode);
  addConvertCommand(app, context, &exitCode);
  addRenderCommand(app, context, &exitCode);
  addDetectSilenceCommand(app, context, &exitCode);
  addWaveformCommand(app, context, &exitCode);
  addPoolCommands(app, context, &exitCode);
  addProcessCommand(app, context, &exitCode);
  addHistoryCommand(app, context, &exitCode);
  addPlayCommand(app, context, &exitCode);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // --help is a "parse error" that exits with 0 after printing the help of
    // the subcommand it was given to. Every malformed argument exits with 2.
    if (e.get_exit_code() == 0) return app.exit(e, out, err) == 0 ? kExitOk : kExitUsage;
    const bool refusedValue = dynamic_cast<const CLI::ValidationError*>(&e) != nullptr;
    if (app.get_subcommands().empty() && reportSubcommand(app, argc, argv, refusedValue, err)) return kExitUsage;
    (void)app.exit(e, out, err);
    return kExitUsage;
  }
  return exitCode;
}

}  // namespace vantor::cli
