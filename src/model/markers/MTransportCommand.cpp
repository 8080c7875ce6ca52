#include "model/markers/MTransportCommand.h"

#include <utility>

namespace vantor {

VANTOR_DEFINE_CLASS(MTransportCommand, MCommand, 0)

FRef<MTransportCommand> MTransportCommand::locators(FRef<MTransport> transport, double left, double right) {
  auto command = makeRef<MTransportCommand>();
  command->transport_ = std::move(transport);
  command->setsLocators_ = true;
  if (command->transport_) command->other_ = stateOf(*command->transport_);
  command->other_.left = left;
  command->other_.right = right;
  return command;
}

FRef<MTransportCommand> MTransportCommand::cycle(FRef<MTransport> transport, bool on) {
  auto command = makeRef<MTransportCommand>();
  command->transport_ = std::move(transport);
  if (command->transport_) command->other_ = stateOf(*command->transport_);
  command->other_.cycle = on;
  return command;
}

std::string MTransportCommand::description() const {
  if (setsLocators_) return kSetLocatorsAction;
  // After perform other_ holds the state before: the switch went the other way.
  const bool on = state() == kStateNew ? other_.cycle : !other_.cycle;
  return on ? kCycleOnAction : kCycleOffAction;
}

bool MTransportCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MTransportCommand*>(&next);
  // This command keeps the state before both, which undo restores.
  return other != nullptr && setsLocators_ && other->setsLocators_ && other->transport_ == transport_;
}

MTransportCommand::State MTransportCommand::stateOf(const MTransport& transport) {
  return {transport.getLeftLocator(), transport.getRightLocator(), transport.isCycleOn()};
}

bool MTransportCommand::doPerform() {
  if (!transport_ || other_.right < other_.left) return false;
  return exchange();
}

bool MTransportCommand::exchange() {
  const State before = stateOf(*transport_);
  transport_->setLeftLocator(other_.left);
  transport_->setRightLocator(other_.right);
  transport_->setCycle(other_.cycle);
  other_ = before;
  return true;
}

}  // namespace vantor
