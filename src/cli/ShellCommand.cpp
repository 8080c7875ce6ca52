#include "cli/ShellCommand.h"

#include <unistd.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cli/ShellSession.h"
#include "document/PDocument.h"

namespace vantor::cli {

namespace {

int runShell(CliContext& context, std::istream& in, const std::string& path) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, path)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  const bool interactive = &in == &std::cin && ::isatty(STDIN_FILENO) == 1;
  if (interactive) context.out << "Vantor shell on " << path << ". Type help for the commands, quit to end.\n";
  bool allOk = true;
  std::string line;
  for (;;) {
    if (interactive) context.out << "vantor> " << std::flush;
    if (!std::getline(in, line)) break;
    if (!session.execute(line)) allOk = false;
    if (session.wantsQuit()) break;
  }
  if (session.hasUnsavedChanges()) {
    context.messages.report(FUserMessages::Severity::kWarning,
                            "warning: the session ended with unsaved changes; they were not saved");
  }
  // A script learns from the exit status whether every line worked.
  return allOk ? kExitOk : kExitDataError;
}

int runEdit(CliContext& context, const std::string& path, const std::vector<std::string>& lines) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, path)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  for (const std::string& line : lines) {
    if (!session.execute(line)) {
      context.messages.report(FUserMessages::Severity::kError, "nothing was saved: \"" + line + "\" failed");
      return kExitDataError;
    }
    if (session.wantsQuit()) break;
  }
  if (session.hasUnsavedChanges() && !document.save()) return kExitDataError;
  return kExitOk;
}

}  // namespace

void addShellCommands(CLI::App& app, CliContext& context, std::istream& in, int* exitCode) {
  auto* shell = app.add_subcommand("shell", "Edit a project one command per line, with undo (type help inside)");
  auto shellPath = std::make_shared<std::string>();
  shell->add_option("FILE", *shellPath, "Project file (.vpr)")->required();
  shell->callback([&context, &in, exitCode, shellPath] { *exitCode = runShell(context, in, *shellPath); });

  auto* edit = app.add_subcommand("edit", "Run shell command lines on a project; save only if all succeed");
  auto editPath = std::make_shared<std::string>();
  auto lines = std::make_shared<std::vector<std::string>>();
  edit->add_option("FILE", *editPath, "Project file (.vpr)")->required();
  edit->add_option("-e,--execute", *lines, "A shell command line (repeat for more)")->required();
  edit->callback([&context, exitCode, editPath, lines] { *exitCode = runEdit(context, *editPath, *lines); });
}

}  // namespace vantor::cli
