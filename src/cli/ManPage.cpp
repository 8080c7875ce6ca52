#include "cli/ManPage.h"

#include <ostream>

namespace vantor::cli {

namespace {

// One paragraph per line of text; a blank line would end the tagged
// paragraph it belongs to, so blank lines are dropped.
void writeParagraphs(std::ostream& out, std::string_view text) {
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(start, end - start);
    if (line.find_first_not_of(" \t") != std::string_view::npos) out << roffText(line) << '\n';
    start = end + 1;
  }
}

std::string bold(std::string_view text) { return "\\fB" + roffText(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roffText(text) + "\\fR"; }

// "\fB-o\fR, \fB--out\fR \fIFILE\fR" or a positional's "\fIFILE\fR...".
std::string optionTag(const OptionReference& option) {
  std::string tag;
  if (option.positional) {
    tag = italic(option.names.front());
  } else {
    for (const std::string& name : option.names) tag += (tag.empty() ? "" : ", ") + bold(name);
    if (!option.value.empty()) tag += " " + italic(option.value);
  }
  return option.repeats ? tag + "..." : tag;
}

// "vantor new FILE [OPTIONS]": the positionals in their order.
std::string synopsis(const CommandReference& command) {
  std::string line = bold("vantor " + command.name);
  bool hasOptions = false;
  for (const OptionReference& option : command.options) {
    if (!option.positional) {
      hasOptions = true;
      continue;
    }
    const std::string word = italic(option.names.front()) + (option.repeats ? "..." : "");
    line += option.required ? " " + word : " [" + word + "]";
  }
  return hasOptions ? line + " [" + italic("OPTIONS") + "]" : line;
}

void writeOptions(std::ostream& out, const std::vector<OptionReference>& options) {
  for (const OptionReference& option : options) {
    out << ".TP\n" << optionTag(option) << '\n';
    writeParagraphs(out, option.description.empty() ? "(no description)" : option.description);
  }
}

void writeSubcommands(std::ostream& out, const CliReference& reference) {
  for (const CommandReference& command : reference.subcommands) {
    out << ".SS " << roffText(command.name) << '\n' << synopsis(command) << "\n.PP\n";
    writeParagraphs(out, command.description);
    if (!command.options.empty()) {
      out << ".RS\n";
      writeOptions(out, command.options);
      out << ".RE\n";
    }
  }
}

void writeVerbs(std::ostream& out, const CliReference& reference) {
  for (const ShellVerbReference& verb : reference.verbs) {
    out << ".TP\n" << bold(verb.name) << (verb.usage.empty() ? "" : " " + italic(verb.usage)) << '\n';
    writeParagraphs(out, verb.summary);
  }
}

void writeSettings(std::ostream& out, const CliReference& reference) {
  for (const SettingReference& setting : reference.settings) {
    out << ".TP\n" << bold(setting.key) << '\n' << roffText(setting.kind);
    if (!setting.range.empty()) out << ", " << roffText(setting.range);
    out << "; default " << (setting.defaultValue.empty() ? "empty" : "\\(lq" + roffText(setting.defaultValue) + "\\(rq")
        << ".\n";
  }
}

void replaceAll(std::string* text, std::string_view from, std::string_view to) {
  for (size_t at = text->find(from); at != std::string::npos; at = text->find(from, at + to.size())) {
    text->replace(at, from.size(), to);
  }
}

}  // namespace

std::string roffText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
  }
  // A line that starts with a control character would be read as a request.
  if (!escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'')) escaped.insert(0, "\\&");
  return escaped;
}

void writeManPage(const CliReference& reference, std::string_view templateText, std::ostream& out) {
  size_t start = 0;
  while (start < templateText.size()) {
    size_t end = templateText.find('\n', start);
    if (end == std::string_view::npos) end = templateText.size();
    std::string line(templateText.substr(start, end - start));
    start = end + 1;
    if (line == "@OPTIONS@") {
      writeOptions(out, reference.program.options);
    } else if (line == "@SUBCOMMANDS@") {
      writeSubcommands(out, reference);
    } else if (line == "@SHELL_VERBS@") {
      writeVerbs(out, reference);
    } else if (line == "@SETTINGS@") {
      writeSettings(out, reference);
    } else {
      replaceAll(&line, "@VERSION@", reference.version);
      out << line << '\n';
    }
  }
}

}  // namespace vantor::cli
