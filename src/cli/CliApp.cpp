#include "cli/CliApp.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <ostream>

#include "cli/ClassesCommand.h"
#include "cli/CliContext.h"
#include "cli/DumpCommand.h"
#include "cli/ProjectCommands.h"
#include "cli/ShellCommand.h"
#include "document/PDocumentInit.h"
#include "model/undo/GUndoManager.h"

namespace vantor::cli {

int runCli(int argc, char** argv, std::ostream& out, std::ostream& err) {
  initializeDocument();
  CliContext context(out, err);
  // A preferences file that cannot be read leaves the defaults.
  (void)context.preferences.load(PPreferences::defaultPath());
  GUndoManager::applyMaximumUndo(static_cast<int>(context.preferences.getInt("Maximum Undo")));
  CLI::App app{"Vantor: build, inspect and edit multitrack projects", "vantor"};
  app.require_subcommand(1);
  app.add_flag_callback(
      "-v,--verbose", [&context] { context.messages.setVerbose(true); }, "Show progress and information messages");
  // Settings for this run only, never saved: --pref "Maximum Undo=50".
  app.add_option_function<std::vector<std::string>>(
         "--pref",
         [&context](const std::vector<std::string>& settings) {
           for (const std::string& setting : settings) {
             const size_t eq = setting.find('=');
             if (eq == std::string::npos ||
                 !context.preferences.override(setting.substr(0, eq), setting.substr(eq + 1))) {
               throw CLI::ValidationError("--pref", "bad setting \"" + setting + "\" (KEY=VALUE)");
             }
           }
           GUndoManager::applyMaximumUndo(static_cast<int>(context.preferences.getInt("Maximum Undo")));
         },
         "Override a setting for this run: KEY=VALUE")
      ->trigger_on_parse();
  int exitCode = kExitOk;
  addDumpCommand(app, context, &exitCode);
  addClassesCommand(app, context, &exitCode);
  addProjectCommands(app, context, &exitCode);
  addShellCommands(app, context, std::cin, &exitCode);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // --help is a "parse error" that exits with 0 after printing the help of
    // the subcommand it was given to.
    return app.exit(e, out, err) == 0 ? kExitOk : kExitUsage;
  }
  return exitCode;
}

}  // namespace vantor::cli
