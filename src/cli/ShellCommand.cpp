#include "cli/ShellCommand.h"

#include <poll.h>
#include <unistd.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cli/ShellSession.h"
#include "document/PDocument.h"
#include "document/PSafeFile.h"

namespace vantor::cli {

namespace {

// Waits for the next line on the terminal, giving the automatic savers
// their chance every second meanwhile, so that a session left at the
// prompt is saved automatically too.
void waitForLine(std::istream& in, ShellSession& session) {
  constexpr int kIdleMs = 1000;
  while (in.rdbuf()->in_avail() <= 0) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, kIdleMs) != 0) return;  // input, end or an error: let getline see it
    session.idle();
  }
}

// Lines longer than this are refused: no command needs more (a name holds at
// most 1024 bytes), and a script without line breaks must not fill memory.
constexpr size_t kMaxLineBytes = 1 << 20;

enum class LineRead { kLine, kTooLong, kEnd };

// Reads up to the next line break (or the end of input) into *line,
// keeping at most kMaxLineBytes of it.
LineRead readLine(std::istream& in, std::string* line) {
  line->clear();
  std::streambuf* buffer = in.rdbuf();
  bool any = false;
  bool tooLong = false;
  for (int c = buffer->sbumpc(); c != std::char_traits<char>::eof(); c = buffer->sbumpc()) {
    any = true;
    if (c == '\n') return tooLong ? LineRead::kTooLong : LineRead::kLine;
    if (line->size() < kMaxLineBytes) {
      line->push_back(static_cast<char>(c));
    } else {
      tooLong = true;
    }
  }
  in.setstate(std::ios::eofbit);
  if (!any) return LineRead::kEnd;
  return tooLong ? LineRead::kTooLong : LineRead::kLine;
}

int runShell(CliContext& context, std::istream& in, const std::string& path) {
  const bool interactive = &in == &std::cin && ::isatty(STDIN_FILENO) == 1;
  // Questions (a moved project, a read-only file, the warnings before what
  // cannot be undone) are asked on a terminal; a script gets the defaults.
  if (interactive) context.messages.setTerminal(&in);
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, path, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  if (interactive) context.out << "Vantor shell on " << path << ". Type help for the commands, quit to end.\n";
  bool allOk = true;
  std::string line;
  for (;;) {
    if (interactive) {
      context.out << "vantor> " << std::flush;
      waitForLine(in, session);
    }
    const LineRead read = readLine(in, &line);
    if (read == LineRead::kEnd) break;
    if (read == LineRead::kTooLong) {
      (void)session.fail("the line is longer than " + std::to_string(kMaxLineBytes) + " bytes");
      allOk = false;
      continue;
    }
    if (!session.execute(line)) allOk = false;
    if (session.wantsQuit()) break;
  }
  if (session.hasUnsavedChanges()) {
    const std::string autoSave = PDocument::autoSavePathFor(document.path());
    context.messages.report(FUserMessages::Severity::kWarning,
                            PSafeFile::exists(autoSave)
                                ? "warning: the session ended with unsaved changes; the project file was not "
                                  "changed (the automatic save \"" +
                                      autoSave + "\" holds the changes up to its time)"
                                : "warning: the session ended with unsaved changes; they were not saved");
  }
  // A script learns from the exit status whether every line worked.
  return allOk ? kExitOk : kExitDataError;
}

int runEdit(CliContext& context, const std::string& path, const std::vector<std::string>& lines) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, path, OpenPurpose::kEdit)) return kExitDataError;
  ShellSession session(context, document, FSystemClock::instance());
  session.setSavesItself(true);
  for (const std::string& line : lines) {
    if (!session.execute(line)) {
      context.messages.report(FUserMessages::Severity::kError, "the project was not saved: \"" + line + "\" failed");
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
