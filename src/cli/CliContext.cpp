#include "cli/CliContext.h"

#include <unistd.h>

#include <ostream>

#include "document/PDocument.h"

namespace vantor::cli {

void CliMessages::report(Severity severity, std::string_view text) {
  if (severity == Severity::kInfo && !verbose_) return;
  err_ << text << '\n';
}

int CliMessages::ask(std::string_view text, const std::vector<std::string>& choices, int defaultChoice) {
  err_ << text << '\n';
  if (defaultChoice >= 0 && defaultChoice < static_cast<int>(choices.size())) {
    err_ << "(answered: " << choices[static_cast<size_t>(defaultChoice)] << ")\n";
  }
  return defaultChoice;
}

bool openProject(CliContext& context, PDocument& document, const std::string& path) {
  if (stderrIsTerminal()) {
    document.setProgressHandler([&context](std::string_view text) { context.err << text << '\n'; });
  }
  return document.open(path);
}

bool stderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

}  // namespace vantor::cli
