#pragma once
// The key commands of the category "MIDI Quantize": "Set Quantize",
// "Toggle Quantize", "Select Next Quantize", "Select Prev Quantize" and
// "Auto Quantize On/Off". Each registry entry (MCategoryRegistry, keyed by
// the command's name) makes an MQuantizeKeyCommand that acts on a front
// end's current quantize (MQuantizePresetValue). They change no project,
// so they are not undoable project commands.

#include <string>
#include <string_view>
#include <utility>

#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class MQuantizePresetValue;

inline constexpr const char* kMidiQuantizeCategory = "MIDI Quantize";

class MQuantizeKeyCommand : public FShared {
  VANTOR_CLASS(MQuantizeKeyCommand)
 public:
  enum class Action { kSet, kToggle, kNext, kPrev, kAuto };

  MQuantizeKeyCommand() = default;
  explicit MQuantizeKeyCommand(Action action) : action_(action) {}

  Action action() const { return action_; }
  // The command's name, its key in the registry.
  static const char* nameOf(Action action);
  // What the command acts with: the preset's name for "Set Quantize";
  // "on" or "off" for "Auto Quantize On/Off", which flips the switch when
  // it is given none. The other commands take none.
  void setArgument(std::string argument) { argument_ = std::move(argument); }

  // Acts on current. False (nothing changed) when the argument does not fit
  // (an unknown preset, a switch other than "on" or "off"), or at the end of
  // the list for next and previous.
  bool apply(MQuantizePresetValue& current) const;

 private:
  bool applyAuto(MQuantizePresetValue& current) const;

  Action action_ = Action::kToggle;
  std::string argument_;
};

// Adds the five commands to the registry (the MIDI layer's initialiser).
void registerQuantizeKeyCommands();

// A new command from the registry entry named name ("Set Quantize"), or
// nullptr when none is registered under "MIDI Quantize".
FRef<MQuantizeKeyCommand> makeQuantizeKeyCommand(std::string_view name);

}  // namespace vantor
