#include "model/edit/MAutoFadeCommand.h"

#include <cmath>

namespace vantor {

VANTOR_DEFINE_CLASS(MAutoFadeCommand, MCommand, 0)

namespace {
bool isLength(double ms) { return std::isfinite(ms) && ms >= 0 && ms <= MAutoFadeCommand::kMaxLength; }
}  // namespace

MAutoFadeCommand::MAutoFadeCommand(FRef<MAutoFadeSetting> target, const MAutoFadeSetting& values)
    : target_(std::move(target)), values_(values) {}

bool MAutoFadeCommand::doPerform() {
  if (!target_) return false;
  if (!isLength(values_.getFadeInLength()) || !isLength(values_.getFadeOutLength())) {
    return refuse("the automatic fade length must lie between 0 and 1000 ms");
  }
  return exchange();
}

bool MAutoFadeCommand::exchange() {
  const MAutoFadeSetting old = *target_;
  *target_ = values_;
  values_ = old;
  return true;
}

bool MAutoFadeCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MAutoFadeCommand*>(&next);
  return other != nullptr && other->target_ == target_;
}

}  // namespace vantor
