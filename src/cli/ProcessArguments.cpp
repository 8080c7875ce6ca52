#include "cli/ProcessArguments.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>

#include "audio/pool/PAudioPool.h"
#include "audio/process/PProcessMessages.h"
#include "audio/process/PProcessRegistration.h"
#include "cli/PoolCommands.h"
#include "document/PDocument.h"

namespace vantor::cli {

namespace {

bool sameLetters(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

PAudioClip* findClip(CliContext& context, const MProject& project, const std::string& text) {
  const PAudioPool* pool = PAudioPool::poolOf(project);
  PAudioClip* clip = findPoolClip(pool, text);
  if (clip == nullptr) {
    context.messages.report(FUserMessages::Severity::kError, pool == nullptr
                                                                 ? "the project has no audio pool"
                                                                 : "there is no clip \"" + text + "\" in the pool");
  }
  return clip;
}

FRef<PAudioProcess> findProcess(const std::string& name, std::string* error) {
  std::string names;
  for (const char* className : audioProcessClassNames()) {
    FRef<PAudioProcess> process = PAudioProcess::create(className);
    if (process && (name == className || sameLetters(name, process->displayName()))) return process;
    names += (names.empty() ? "" : ", ") + (process ? process->displayName() : std::string(className));
  }
  *error = "unknown process \"" + name + "\"; the processes are: " + names;
  return nullptr;
}

bool applyParameters(PAudioProcess& process, const std::vector<std::string>& parameters, std::string* error) {
  for (const std::string& parameter : parameters) {
    const size_t eq = parameter.find('=');
    if (eq == std::string::npos) {
      *error = "bad parameter \"" + parameter + "\" (KEY=VALUE); the parameters of " + process.displayName() +
               " are: " + describeParameters(process);
      return false;
    }
    if (!process.setParameter(parameter.substr(0, eq), parameter.substr(eq + 1), error)) return false;
  }
  return true;
}

std::string describeParameters(const PAudioProcess& process) {
  std::string text;
  for (const PParameterSpec& definition : process.parameterSpecs()) {
    std::string row = definition.key;
    switch (definition.kind) {
      case PParameterSpec::Kind::kText:
        row += fmt::format(" (text, default \"{}\")", definition.text);
        break;
      case PParameterSpec::Kind::kChoice:
        row += fmt::format(" ({})", definition.text);
        break;
      default:
        row += fmt::format(" ({}{}{:g} to {:g}, default {:g})", definition.unit, definition.unit[0] != '\0' ? ", " : "",
                           definition.minimum, definition.maximum, definition.defaultValue);
    }
    text += (text.empty() ? "" : ", ") + row;
  }
  return text.empty() ? std::string("none") : text;
}

std::string resultFolder(const PDocument& document) {
  const std::string folder = document.workingDirectory();
  std::error_code ec;
  if (!folder.empty() && std::filesystem::is_directory(folder, ec)) return folder;
  return std::filesystem::absolute(document.path()).parent_path().string();
}

bool wantsNewFile(FUserMessages& messages, bool replace, bool newVersion) {
  if (replace || newVersion) return newVersion;
  return messages.ask(kReplaceOrNewQuestion, {kReplaceChoice, kNewFileChoice}, 0) == 1;
}

std::function<void(double)> terminalProgress(CliContext& context) {
  if (!stderrIsTerminal()) return {};
  auto shown = std::make_shared<int>(-1);
  return [&context, shown](double fraction) {
    const int percent = static_cast<int>(fraction * 100);
    if (percent == *shown) return;
    *shown = percent;
    context.err << "\r" << kProcessingMessage << " " << percent << "%" << (percent >= 100 ? "\n" : "") << std::flush;
  };
}

}  // namespace vantor::cli
