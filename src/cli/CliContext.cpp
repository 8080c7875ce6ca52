#include "cli/CliContext.h"

#include <unistd.h>

#include <istream>
#include <memory>
#include <ostream>

#include "document/PDocument.h"

namespace vantor::cli {

void CliMessages::report(Severity severity, std::string_view text) {
  if (severity == Severity::kInfo && !verbose_) return;
  err_ << text << '\n';
}

int CliMessages::ask(std::string_view text, const std::vector<std::string>& choices, int defaultChoice) {
  err_ << text << '\n';
  // --yes answers the warnings also on a terminal: the user gave it on purpose.
  int yes = -1;
  for (size_t i = 0; assumeYes_ && i < choices.size(); ++i) {
    // "Sure" is the yes of the warnings that nothing can undo.
    if (choices[i] == "Yes" || choices[i] == "Sure") yes = static_cast<int>(i);
  }
  if (yes < 0 && terminal_ != nullptr && !choices.empty()) return askTerminal(choices, defaultChoice);
  const int answer = yes >= 0 ? yes : defaultChoice;
  if (answer >= 0 && answer < static_cast<int>(choices.size())) {
    err_ << "(answered: " << choices[static_cast<size_t>(answer)] << ")\n";
  }
  return answer;
}

// Offers the choices by number; an empty line (or the end of input) takes
// the default, a number or a choice's name picks it, anything else asks
// again.
int CliMessages::askTerminal(const std::vector<std::string>& choices, int defaultChoice) {
  for (;;) {
    for (size_t i = 0; i < choices.size(); ++i) {
      err_ << "  " << (i + 1) << ") " << choices[i] << (static_cast<int>(i) == defaultChoice ? " (default)" : "")
           << '\n';
    }
    err_ << "answer: " << std::flush;
    std::string line;
    if (!std::getline(*terminal_, line) || line.empty()) return defaultChoice;
    for (size_t i = 0; i < choices.size(); ++i) {
      if (line == std::to_string(i + 1) || line == choices[i]) return static_cast<int>(i);
    }
  }
}

bool openProject(CliContext& context, PDocument& document, const std::string& path, OpenPurpose purpose) {
  if (stderrIsTerminal()) {
    document.setProgressHandler([&context](std::string_view text) { context.err << text << '\n'; });
  }
  if (purpose == OpenPurpose::kRead) return document.openForReading(path);
  return document.lockForEditing(path) && document.open(path);
}

void printJson(std::ostream& out, const nlohmann::json& value) {
  out << value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

bool stderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

std::function<bool(double)> percentProgress(std::ostream& err, std::string label) {
  if (!stderrIsTerminal()) return {};
  auto shown = std::make_shared<int>(-1);
  return [&err, label = std::move(label), shown](double done) {
    const int percent = static_cast<int>(done * 100);
    if (percent != *shown) err << "\r" << label << " " << percent << "%" << (percent == 100 ? "\n" : "") << std::flush;
    *shown = percent;
    return true;
  };
}

}  // namespace vantor::cli
