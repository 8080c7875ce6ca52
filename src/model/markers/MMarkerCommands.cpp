#include "model/markers/MMarkerCommands.h"

#include <utility>

#include "model/tree/MName.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MMarkerIdCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MMarkerRenameCommand, MCommand, 0)

namespace {
bool isLocatorMarker(const MMarkerEvent* marker) { return dynamic_cast<const MCycleEvent*>(marker) != nullptr; }
}  // namespace

MMarkerIdCommand::MMarkerIdCommand(FRef<MMarkerEvent> marker, int32_t id) : marker_(std::move(marker)), id_(id) {}

bool MMarkerIdCommand::doPerform() {
  if (!marker_ || marker_->getParent() == nullptr || id_ < 1) return false;
  if (isLocatorMarker(marker_.get())) return refuse("a locator marker's ID names its locator and cannot change");
  if (marker_->getMarkerID() == id_) return false;  // nothing would change
  MMarkerEvent* holder = findMarkerByID(*marker_->getParent(), id_);
  other_ = FRef<MMarkerEvent>::share(holder);
  exchange();
  return true;
}

void MMarkerIdCommand::exchange() {
  const int32_t old = marker_->getMarkerID();
  if (other_) other_->setMarkerID(old);
  marker_->setMarkerID(id_);
  id_ = old;
}

bool MMarkerIdCommand::doUndo() {
  exchange();
  return true;
}

bool MMarkerIdCommand::doRedo() {
  exchange();
  return true;
}

MMarkerRenameCommand::MMarkerRenameCommand(FRef<MMarkerEvent> marker, std::string name)
    : marker_(std::move(marker)), name_(std::move(name)) {}

bool MMarkerRenameCommand::doPerform() {
  if (!marker_) return false;
  std::string refusal = MEventController::refusalFor(*marker_, MEventEdit::kRename);
  if (refusal.empty()) (void)isValidName(name_, &refusal);
  if (!refusal.empty()) return refuse(std::move(refusal));
  return exchange();
}

bool MMarkerRenameCommand::exchange() {
  std::string old = marker_->getName();
  marker_->setName(std::move(name_));
  name_ = std::move(old);
  return true;
}

bool MMarkerRenameCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MMarkerRenameCommand*>(&next);
  // Both are performed: this one holds the name before both, the next one
  // the name between; keeping this one's restores the first.
  return other != nullptr && other->marker_ == marker_;
}

}  // namespace vantor
