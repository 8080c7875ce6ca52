#include "cli/CliReference.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <ostream>
#include <sstream>

#include "cli/BashCompletion.h"
#include "cli/CliContext.h"
#include "cli/ManPage.h"
#include "cli/ShellSession.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PVersion.h"
#include "foundation/FClock.h"

namespace vantor::cli {

namespace {

// The label of an option's value: its own text, else the type name without
// the validator's description ("INT:INT in [0 - 100]" -> "INT").
std::string valueLabel(const CLI::Option& option) {
  if (!option.get_option_text().empty()) return option.get_option_text();
  const std::string type = option.get_type_name();
  return type.substr(0, type.find(':'));
}

OptionReference describeOption(const CLI::Option& option) {
  OptionReference reference;
  reference.positional = !option.nonpositional();
  if (reference.positional) {
    reference.names.push_back(option.get_name());
  } else {
    for (const std::string& name : option.get_snames()) reference.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) reference.names.push_back("--" + name);
  }
  if (option.get_expected_max() > 0) reference.value = valueLabel(option);  // 0 for a flag
  reference.description = option.get_description();
  reference.required = option.get_required();
  reference.repeats = option.get_expected_max() > 1;
  return reference;
}

// Options of app and of its option groups (nameless subcommands, such as
// "at most one of these"), positionals first.
void collectOptions(const CLI::App& app, const CLI::App& owner, bool positionals, CommandReference* command) {
  // An option group is an App of its own, with its own help flag.
  const auto shown = [&app, &owner](const CLI::Option* option) {
    return !option->get_group().empty() && option != owner.get_help_ptr() && option != app.get_help_ptr();
  };
  for (const CLI::Option* option : app.get_options(shown)) {
    if (option->nonpositional() != positionals) command->options.push_back(describeOption(*option));
  }
  for (const CLI::App* group : app.get_subcommands({})) {
    if (group->get_name().empty()) collectOptions(*group, owner, positionals, command);
  }
}

CommandReference describeCommand(const CLI::App& app, const std::string& name) {
  CommandReference command{name, app.get_description(), {}};
  collectOptions(app, app, true, &command);
  collectOptions(app, app, false, &command);
  return command;
}

// Subcommands of subcommands are named by their path ("pool resolve").
void describeSubcommands(const CLI::App& app, const std::string& prefix, std::vector<CommandReference>* out) {
  for (const CLI::App* sub : app.get_subcommands({})) {
    if (sub->get_name().empty()) continue;
    const std::string name = prefix.empty() ? sub->get_name() : prefix + " " + sub->get_name();
    out->push_back(describeCommand(*sub, name));
    describeSubcommands(*sub, name, out);
  }
}

// The verbs live in a session; an untitled document serves, since adding
// verbs touches no project.
std::vector<ShellVerbReference> describeVerbs() {
  std::ostringstream sink;
  CliContext context(sink, sink);
  PDocument document(context.messages, context.preferences);
  FSystemClock clock;
  ShellSession session(context, document, clock);
  std::vector<ShellVerbReference> verbs;
  for (const ShellVerb& verb : session.verbs()) verbs.push_back({verb.name, verb.usage, verb.summary});
  return verbs;
}

std::vector<SettingReference> describeSettings() {
  std::vector<SettingReference> settings;
  for (const std::string& key : PPreferences::declaredKeys()) {
    const std::optional<PPreferences::Setting> setting = PPreferences::declared(key);
    if (!setting) continue;
    SettingReference reference{key, "text", setting->defaultValue, {}};
    if (setting->kind == PPreferences::Kind::kBoolean) reference.kind = "on/off";
    if (setting->kind == PPreferences::Kind::kInteger) {
      reference.kind = "integer";
      reference.range = std::to_string(setting->minimum) + " to " + std::to_string(setting->maximum);
    }
    settings.push_back(std::move(reference));
  }
  return settings;
}

}  // namespace

CliReference describeCli(const CLI::App& app) {
  initializeDocument();
  CliReference reference;
  reference.version = kVersionNumber;
  reference.program = describeCommand(app, app.get_name());
  describeSubcommands(app, {}, &reference.subcommands);
  reference.verbs = describeVerbs();
  reference.settings = describeSettings();
  return reference;
}

void addReferenceOptions(CLI::App& app, std::ostream& out) {
  // Both print and end the run with success before any subcommand is
  // required; CLI::Success makes the parse stop without a message.
  app.add_option_function<std::string>(
         "--man-page",
         [&app, &out](const std::string& path) {
           std::ifstream in(path, std::ios::binary);
           std::ostringstream text;
           if (in.is_open()) text << in.rdbuf();
           if (!in.is_open() || in.bad()) throw CLI::ValidationError("--man-page", "cannot read \"" + path + "\"");
           writeManPage(describeCli(app), text.str(), out);
           throw CLI::Success();
         },
         "Print the man page, written from the page TEMPLATE")
      ->trigger_on_parse()
      ->group("");
  app.add_option_function<std::string>(
         "--completion",
         [&app, &out](const std::string& shell) {
           if (shell != "bash") throw CLI::ValidationError("--completion", "only bash is supported");
           writeBashCompletion(describeCli(app), out);
           throw CLI::Success();
         },
         "Print the shell completion script")
      ->trigger_on_parse()
      ->group("");
}

}  // namespace vantor::cli
