// Shell verbs for the session's current quantize: the "MIDI Quantize" key
// commands, taken from the category registry by name, and a listing of
// the current setting.

#include <ostream>
#include <string>

#include "cli/ShellSession.h"
#include "midi/quantize/MQuantizeKeyCommand.h"
#include "midi/quantize/MQuantizePresetValue.h"

namespace vantor::cli {

namespace {

using Action = MQuantizeKeyCommand::Action;

void printCurrent(ShellSession& s) { s.out() << "Quantize: " << s.currentQuantize().name() << "\n"; }

void printAuto(ShellSession& s) {
  s.out() << "Auto Quantize: " << (s.currentQuantize().autoQuantize() ? "on" : "off") << "\n";
}

// The words of args as one text: a preset name needs no quotes.
std::string joined(const ShellArgs& args) {
  std::string text;
  for (const std::string& word : args) text += (text.empty() ? "" : " ") + word;
  return text;
}

// The command of action as the "MIDI Quantize" registry makes it; nullptr
// (with an error) when it is not registered.
FRef<MQuantizeKeyCommand> registered(ShellSession& s, Action action) {
  const char* name = MQuantizeKeyCommand::nameOf(action);
  FRef<MQuantizeKeyCommand> command = makeQuantizeKeyCommand(name);
  if (!command) (void)s.fail(std::string("\"") + name + "\" is not registered");
  return command;
}

// Runs the command of action with argument on the session's current
// quantize. False (with error) when it is missing or refuses the argument.
bool runKeyCommand(ShellSession& s, Action action, const std::string& argument, const std::string& error) {
  FRef<MQuantizeKeyCommand> command = registered(s, action);
  if (!command) return false;
  command->setArgument(argument);
  return command->apply(s.currentQuantize()) || s.fail(error);
}

bool setQuantize(ShellSession& s, const ShellArgs& a) {
  if (a.empty()) return s.fail("usage: quantize set NAME");
  const std::string name = joined(a);
  if (!runKeyCommand(s, Action::kSet, name, "there is no quantize preset \"" + name + "\"")) return false;
  printCurrent(s);
  return true;
}

// Next and previous stop at the ends of the list; that is no error.
ShellHandler stepVerb(Action action, const char* usage) {
  return [action, usage](ShellSession& s, const ShellArgs& a) {
    if (!a.empty()) return s.fail(std::string("usage: ") + usage);
    FRef<MQuantizeKeyCommand> command = registered(s, action);
    if (!command) return false;
    (void)command->apply(s.currentQuantize());
    printCurrent(s);
    return true;
  };
}

bool autoQuantize(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: quantize auto on|off");
  if (!runKeyCommand(s, Action::kAuto, a[0], "usage: quantize auto on|off")) return false;
  printAuto(s);
  return true;
}

bool currentQuantize(ShellSession& s, const ShellArgs& a) {
  if (!a.empty()) return s.fail("usage: quantize current");
  printCurrent(s);
  printAuto(s);
  return true;
}

}  // namespace

void addCurrentQuantizeVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"quantize set", "NAME",
                   "\"Set Quantize\": the preset the quantize verbs use when no grid option is given (\"1/8 "
                   "Triplet\")",
                   setQuantize});
  verbs.push_back({"quantize next", "", "\"Select Next Quantize\": the next preset (it stops at the last)",
                   stepVerb(Action::kNext, "quantize next")});
  verbs.push_back({"quantize prev", "", "\"Select Prev Quantize\": the previous preset (it stops at the first)",
                   stepVerb(Action::kPrev, "quantize prev")});
  verbs.push_back({"quantize toggle", "", "\"Toggle Quantize\": back to the preset used before this one",
                   stepVerb(Action::kToggle, "quantize toggle")});
  verbs.push_back(
      {"quantize auto", "on|off", "\"Auto Quantize On/Off\": quantize MIDI files as they are imported", autoQuantize});
  verbs.push_back(
      {"quantize current", "", "the current quantize preset and the \"Auto Quantize\" switch", currentQuantize});
}

}  // namespace vantor::cli
