#include "midi/quantize/MQuantizeKeyCommand.h"

#include "midi/quantize/MQuantizePresetValue.h"
#include "model/tree/MEventController.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MQuantizeKeyCommand, FShared, 0)

const char* MQuantizeKeyCommand::nameOf(Action action) {
  switch (action) {
    case Action::kSet:
      return "Set Quantize";
    case Action::kToggle:
      return "Toggle Quantize";
    case Action::kNext:
      return "Select Next Quantize";
    case Action::kPrev:
      return "Select Prev Quantize";
    case Action::kAuto:
      return "Auto Quantize On/Off";
  }
  return "Toggle Quantize";
}

bool MQuantizeKeyCommand::apply(MQuantizePresetValue& current) const {
  switch (action_) {
    case Action::kSet:
      return current.select(std::string_view(argument_));
    case Action::kToggle:
      current.toggle();
      return true;
    case Action::kNext:
      return current.next();
    case Action::kPrev:
      return current.prev();
    case Action::kAuto:
      return applyAuto(current);
  }
  return false;
}

bool MQuantizeKeyCommand::applyAuto(MQuantizePresetValue& current) const {
  if (argument_.empty()) {
    current.setAutoQuantize(!current.autoQuantize());
  } else if (argument_ == "on" || argument_ == "off") {
    current.setAutoQuantize(argument_ == "on");
  } else {
    return false;
  }
  return true;
}

void registerQuantizeKeyCommands() {
  using Action = MQuantizeKeyCommand::Action;
  MCategoryRegistry& registry = MCategoryRegistry::instance();
  for (Action action : {Action::kSet, Action::kToggle, Action::kNext, Action::kPrev, Action::kAuto}) {
    const char* name = MQuantizeKeyCommand::nameOf(action);
    registry.add(kMidiQuantizeCategory, {name, name, MCategoryRegistry::kDefaultPriority, [action]() -> FRef<CmObject> {
                                           return makeRef<MQuantizeKeyCommand>(action);
                                         }});
  }
}

FRef<MQuantizeKeyCommand> makeQuantizeKeyCommand(std::string_view name) {
  return refCast<MQuantizeKeyCommand>(MCategoryRegistry::instance().create(kMidiQuantizeCategory, name));
}

}  // namespace vantor
