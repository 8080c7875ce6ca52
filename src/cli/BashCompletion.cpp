#include "cli/BashCompletion.h"

#include <ostream>
#include <set>

namespace vantor::cli {

namespace {

std::string joined(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

// Names may be any text the program declares; inside single quotes only a
// single quote itself needs care.
std::string quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// Every option name of a command, and those that take a value (after which
// a file name, or whatever the user types, is completed instead).
void optionWords(const CommandReference& command, std::vector<std::string>* all, std::vector<std::string>* valued) {
  for (const OptionReference& option : command.options) {
    if (option.positional) continue;
    for (const std::string& name : option.names) {
      all->push_back(name);
      if (!option.value.empty()) valued->push_back(name);
    }
  }
  all->push_back("--help");
}

void writeCommandCases(std::ostream& out, const CliReference& reference) {
  for (const CommandReference& command : reference.subcommands) {
    if (command.name.find(' ') != std::string::npos) continue;
    std::vector<std::string> all;
    std::vector<std::string> valued;
    optionWords(command, &all, &valued);
    out << "    " << quoted(command.name) << ")\n"
        << "      options=" << quoted(joined(all, " ")) << "\n"
        << "      valued=" << quoted(" " + joined(valued, " ") + " ") << " ;;\n";
  }
}

// The words a verb starts with, one per line: "track", "track add", ...
std::string verbLines(const CliReference& reference) {
  std::set<std::string> names;
  for (const ShellVerbReference& verb : reference.verbs) names.insert(verb.name);
  return joined(std::vector<std::string>(names.begin(), names.end()), "\n");
}

}  // namespace

void writeBashCompletion(const CliReference& reference, std::ostream& out) {
  std::vector<std::string> subcommands;
  for (const CommandReference& command : reference.subcommands) {
    if (command.name.find(' ') == std::string::npos) subcommands.push_back(command.name);
  }
  std::vector<std::string> global;
  std::vector<std::string> globalValued;
  optionWords(reference.program, &global, &globalValued);

  out << "# bash completion for vantor " << reference.version << "; written by `vantor --completion bash`.\n"
      << "_vantor() {\n"
      << "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
      << "  local subcommands=" << quoted(joined(subcommands, " ")) << "\n"
      << "  local global=" << quoted(joined(global, " ")) << "\n"
      << "  local globalValued=" << quoted(" " + joined(globalValued, " ") + " ") << "\n"
      << "  local verbs=" << quoted(verbLines(reference)) << "\n"
      << "  COMPREPLY=()\n"
      << "  # The subcommand is the first word that is neither an option nor an\n"
      << "  # option's value.\n"
      << "  local i sub=\n"
      << "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
      << "    case ${COMP_WORDS[i]} in\n"
      << "      -*) [[ $globalValued == *\" ${COMP_WORDS[i]} \"* ]] && ((i++)) ;;\n"
      << "      *) sub=${COMP_WORDS[i]}; break ;;\n"
      << "    esac\n"
      << "  done\n"
      << "  if [[ -z $sub ]]; then\n"
      << "    [[ $globalValued == *\" $prev \"* ]] && return\n"
      << "    if [[ $cur == -* ]]; then\n"
      << "      COMPREPLY=($(compgen -W \"$global\" -- \"$cur\"))\n"
      << "    else\n"
      << "      COMPREPLY=($(compgen -W \"$subcommands\" -- \"$cur\"))\n"
      << "    fi\n"
      << "    return\n"
      << "  fi\n"
      << "  local options= valued=\n"
      << "  case $sub in\n";
  writeCommandCases(out, reference);
  out << "  esac\n"
      << "  if [[ $sub == edit && ( $prev == -e || $prev == --execute ) ]]; then\n"
      << "    local IFS=$'\\n'\n"
      << "    COMPREPLY=($(compgen -W \"$verbs\" -- \"${cur#[\\\"\\']}\"))\n"
      << "    return\n"
      << "  fi\n"
      << "  [[ $valued == *\" $prev \"* ]] && return\n"
      << "  [[ $cur == -* ]] && COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
      << "}\n"
      << "complete -o default -F _vantor vantor\n";
}

}  // namespace vantor::cli
