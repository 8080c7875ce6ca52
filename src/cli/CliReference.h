#pragma once
// What the command line offers, read from the application itself: its
// subcommands with their options, the shell's verbs and the settings. The
// man page and the shell completion are written from this, so that they
// name everything the program has and nothing it lacks.

#include <iosfwd>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace vantor::cli {

struct OptionReference {
  std::vector<std::string> names;  // "-o", "--out"; a positional's label ("FILE")
  std::string value;               // the label of its value ("BPM"); empty for a flag
  std::string description;
  bool positional = false;
  bool required = false;
  bool repeats = false;  // may be given more than once
};

struct CommandReference {
  std::string name;  // "vantor" for the program itself
  std::string description;
  std::vector<OptionReference> options;  // positionals first, in their order
};

struct ShellVerbReference {
  std::string name;  // one or two words: "undo", "track add"
  std::string usage;
  std::string summary;
};

struct SettingReference {
  std::string key;
  std::string kind;  // "text", "integer", "on/off"
  std::string defaultValue;
  std::string range;  // "0 to 1920" for integers, else empty
};

struct CliReference {
  std::string version;  // "0.1.0"
  CommandReference program;
  std::vector<CommandReference> subcommands;
  std::vector<ShellVerbReference> verbs;
  std::vector<SettingReference> settings;
};

// Reads app after all its subcommands were added. Hidden options (those
// without a group) and --help are left out; options of option groups count
// as their subcommand's. Initialises the document layer (for the verbs and
// the settings the layers declare).
CliReference describeCli(const CLI::App& app);

// Adds the hidden options that print the man page (--man-page TEMPLATE) and
// the completion (--completion bash) of app, as it is once every subcommand
// was added, to out. The build runs them, so that what is installed matches
// the program. An unreadable template is a usage error (exit 2).
void addReferenceOptions(CLI::App& app, std::ostream& out);

}  // namespace vantor::cli
