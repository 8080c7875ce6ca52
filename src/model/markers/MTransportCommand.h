#pragma once
// Setting the locators and the cycle switch as an edit of the project.
//
// They belong to the transport, yet they are saved with the project and
// shown with it, so changing them is an undoable command like any other
// edit: undo takes them back, and a session undone to its start gives back
// the file it opened. (The alternative, changes outside the history, would
// need the warning before operations that cannot be undone for something as
// harmless as moving a locator.)

#include <optional>
#include <string>

#include "foundation/FRef.h"
#include "model/markers/MTransport.h"
#include "model/undo/MCommand.h"

namespace vantor {

inline constexpr const char* kSetLocatorsAction = "Set Locators";
inline constexpr const char* kCycleOnAction = "Cycle On";
inline constexpr const char* kCycleOffAction = "Cycle Off";

class MTransportCommand : public MExchangeCommand {
  VANTOR_CLASS(MTransportCommand)
 public:
  MTransportCommand() = default;
  // Sets both locators (pulses; negative values become 0). Fails when right
  // lies before left.
  static FRef<MTransportCommand> locators(FRef<MTransport> transport, double left, double right);
  // Switches the cycle on or off.
  static FRef<MTransportCommand> cycle(FRef<MTransport> transport, bool on);

  std::string description() const override;
  // Quick locator changes of one transport are one undo step; a cycle
  // switch stays a step of its own.
  bool unite(const MCommand& next) override;

 protected:
  bool doPerform() override;
  bool exchange() override;

 private:
  struct State {
    double left = 0;
    double right = 0;
    bool cycle = false;
  };
  static State stateOf(const MTransport& transport);

  FRef<MTransport> transport_;
  bool setsLocators_ = false;
  State other_;  // before perform: the new state; after: the one to go back to
};

}  // namespace vantor
