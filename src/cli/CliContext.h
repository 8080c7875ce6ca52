#pragma once
// What every subcommand shares: the user-message printer (stderr), output
// (stdout), and the exit codes of the command line.

#include <nlohmann/json.hpp>

#include <functional>
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

// Prints reports to stderr. --yes (setAssumeYes) answers "Yes" to a
// question that offers it: the warnings before operations that cannot be
// undone. Other questions are asked on the terminal when one was given
// (setTerminal); otherwise, as in a script, they take their default.
class CliMessages : public FUserMessages {
 public:
  explicit CliMessages(std::ostream& err) : err_(err) {}
  void report(Severity severity, std::string_view text) override;
  int ask(std::string_view text, const std::vector<std::string>& choices, int defaultChoice) override;
  // Reports of severity kInfo are shown only when verbose (progress texts).
  void setVerbose(bool verbose) { verbose_ = verbose; }
  void setAssumeYes(bool yes) { assumeYes_ = yes; }
  bool assumesYes() const { return assumeYes_; }
  // Where answers are read from, one line each (nullptr: nobody to ask).
  void setTerminal(std::istream* in) { terminal_ = in; }

 private:
  int askTerminal(const std::vector<std::string>& choices, int defaultChoice);

  std::ostream& err_;
  std::istream* terminal_ = nullptr;
  bool verbose_ = false;
  bool assumeYes_ = false;
};

struct CliContext {
  std::ostream& out;
  std::ostream& err;
  CliMessages messages;
  // The user's settings, with the overrides of this run (--pref KEY=VALUE).
  PPreferences preferences;
  CliContext(std::ostream& o, std::ostream& e) : out(o), err(e), messages(e) {}
};

// Why a project is opened: to look at it only, or to edit and save it. An
// edit takes the project's lock first (a project open in another session is
// refused), and a moved project asks for its working directory only then.
enum class OpenPurpose { kRead, kEdit };

// Opens the project at path into document; the failure has been reported.
[[nodiscard]] bool openProject(CliContext& context, PDocument& document, const std::string& path, OpenPurpose purpose);

// Prints value as indented JSON. Bytes of names that are not UTF-8 (files
// of other programs may hold any) are shown as U+FFFD, never refused.
void printJson(std::ostream& out, const nlohmann::json& value);

// True when standard error is a terminal (progress is shown only then).
bool stderrIsTerminal();

// A progress callback for work measured as a fraction from 0 to 1: shows
// "\rLABEL 42%" on err when standard error is a terminal (empty otherwise),
// and never cancels.
std::function<bool(double)> percentProgress(std::ostream& err, std::string label);

}  // namespace vantor::cli
