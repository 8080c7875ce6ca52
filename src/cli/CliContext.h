#pragma once
// What every subcommand shares: the user-message printer (stderr), output
// (stdout), and the exit codes of the command line.

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "document/PPreferences.h"
#include "foundation/FUserMessages.h"

namespace vantor {
class PDocument;
}

namespace vantor::cli {

enum ExitCode { kExitOk = 0, kExitDataError = 1, kExitUsage = 2 };

// Prints reports to stderr; questions are answered from the choices given by
// --yes style options or take their default (no terminal dialogue in batch use).
class CliMessages : public FUserMessages {
 public:
  explicit CliMessages(std::ostream& err) : err_(err) {}
  void report(Severity severity, std::string_view text) override;
  int ask(std::string_view text, const std::vector<std::string>& choices, int defaultChoice) override;
  // Reports of severity kInfo are shown only when verbose (progress texts).
  void setVerbose(bool verbose) { verbose_ = verbose; }

 private:
  std::ostream& err_;
  bool verbose_ = false;
};

struct CliContext {
  std::ostream& out;
  std::ostream& err;
  CliMessages messages;
  // The user's settings, with the overrides of this run (--pref KEY=VALUE).
  PPreferences preferences;
  CliContext(std::ostream& o, std::ostream& e) : out(o), err(e), messages(e) {}
};

// Opens the project at path into document; the failure has been reported.
[[nodiscard]] bool openProject(CliContext& context, PDocument& document, const std::string& path);

// True when standard error is a terminal (progress is shown only then).
bool stderrIsTerminal();

}  // namespace vantor::cli
