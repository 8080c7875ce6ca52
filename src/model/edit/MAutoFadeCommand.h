#pragma once
// Sets the project's automatic fades (MAutoFadeSetting on MProject): the
// fades playback applies at the edges of audio events that have none of
// their own. The command holds the whole setting to give and exchanges it
// with the project's, so performing again undoes it. "Auto Fades".

#include <string>

#include "foundation/FRef.h"
#include "model/tree/MAutoFadeSetting.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MAutoFadeCommand : public MExchangeCommand {
  VANTOR_CLASS(MAutoFadeCommand)
 public:
  // The longest automatic fade, in milliseconds: automatic fades only take
  // the click off a cut; longer fades belong to the events themselves.
  static constexpr double kMaxLength = 1000.0;

  MAutoFadeCommand() = default;
  // target: the project's setting; values: what it becomes.
  MAutoFadeCommand(FRef<MAutoFadeSetting> target, const MAutoFadeSetting& values);

  std::string description() const override { return "Auto Fades"; }
  // Repeated changes of the same setting unite.
  bool unite(const MCommand& next) override;

 protected:
  // Refuses a length that is not a number from 0 to kMaxLength ms.
  bool doPerform() override;
  bool exchange() override;

 private:
  FRef<MAutoFadeSetting> target_;
  MAutoFadeSetting values_;
};

}  // namespace vantor
