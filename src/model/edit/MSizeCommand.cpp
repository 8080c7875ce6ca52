#include "model/edit/MSizeCommand.h"

#include <cmath>

#include "model/time/MTimeRange.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MEventController.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MSizeCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MSizeStartCommand, MSizeCommand, 0)
VANTOR_DEFINE_CLASS(MSizeEndCommand, MSizeCommand, 0)
VANTOR_DEFINE_CLASS(MOffsetCommand, MSizeCommand, 0)
VANTOR_DEFINE_CLASS(MLengthCommand, MSizeCommand, 0)
VANTOR_DEFINE_CLASS(MMoveStartCommand, MSizeStartCommand, 0)

namespace {
constexpr uint16_t kChangeBits = MSizeCommand::kStart | MSizeCommand::kLength | MSizeCommand::kOffset;

double startOf(const FRef<MEvent>& event) { return event ? event->getStart() : 0; }
double endOf(const FRef<MEvent>& event) { return event ? event->getEnd() : 0; }
double lengthOf(const FRef<MEvent>& event) { return event ? event->getLength() : 0; }
double offsetOf(const FRef<MEvent>& event) { return event ? event->getOffset() : 0; }
}  // namespace

MSizeCommand::MSizeCommand(FRef<MEvent> event, FRef<MDataNode> node, double start, double length, double offset)
    : MSizeCommand(std::move(event), std::move(node), start, length, offset, kChangeBits) {}

MSizeCommand::MSizeCommand(FRef<MEvent> event, FRef<MDataNode> node, double start, double length, double offset,
                           uint16_t changeBits)
    : flags_(static_cast<uint16_t>(kValid | (changeBits & kChangeBits))),
      start_(start),
      length_(length),
      offset_(offset),
      event_(std::move(event)),
      node_(std::move(node)) {}

std::string MSizeCommand::description() const { return "Size"; }

bool MSizeCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MSizeCommand*>(&next);
  return other != nullptr && other->event_ == event_ && other->node_ == node_ &&
         (other->flags_ & kChangeBits) == (flags_ & kChangeBits);
}

bool MSizeCommand::doPerform() {
  // The event's controller may refuse (a locked event); so does a result
  // outside the time range: a start or end outside the positions, a length
  // of 0 or below, an offset that is not a number.
  std::string refusal;
  if (event_) {
    refusal = MEventController::refusalFor(*event_, MEventEdit::kResize);
    if (refusal.empty()) (void)placementInRange(&refusal);
    if (refusal.empty() && (flags_ & kOffset) != 0 && !MTimeRange::isOffset(offset_)) {
      refusal = "the offset lies outside the time range";
    }
  }
  if (!event_ || !node_ || !refusal.empty()) {
    flags_ &= static_cast<uint16_t>(~kValid);
    return refuse(std::move(refusal));
  }
  return exchange();
}

bool MSizeCommand::placementInRange(std::string* error) const {
  if ((flags_ & (kStart | kLength)) == 0) return true;
  const double start = (flags_ & kStart) != 0 ? start_ : event_->getStart();
  const double length = (flags_ & kLength) != 0 ? length_ : event_->getLength();
  return MTimeRange::checkPlacement(start, length, false, error);
}

bool MSizeCommand::exchange() {
  // 1. Ask the node for a write accessor.
  FRef<MAccessor> accessor = writeAccessorOf(node_.get());
  const size_t index = accessor ? accessor->indexOf(event_.get()) : MEventContainer::npos;
  if (index == MEventContainer::npos) {
    flags_ &= static_cast<uint16_t>(~kValid);
    return false;
  }
  // 2. A start change takes the event out of the start order; any other
  //    change is announced to the node.
  const bool changeStart = (flags_ & kStart) != 0;
  FRef<MEvent> taken;
  if (changeStart) {
    taken = accessor->remove(event_.get());
  } else {
    accessor->extentWillChange(event_.get());
  }
  // 3. Read the current values.
  const double oldStart = event_->getStart();
  const double oldLength = event_->getLength();
  const double oldOffset = event_->getOffset();
  // 4. Set the chosen fields: start first, then length, then offset.
  if (changeStart) event_->setStart(start_);
  if ((flags_ & kLength) != 0) event_->setLength(length_);
  if ((flags_ & kOffset) != 0) event_->setOffset(offset_);
  // 5. Keep the old values for the next exchange.
  start_ = oldStart;
  length_ = oldLength;
  offset_ = oldOffset;
  // 6. Put the event back at its new place (it keeps its order key, so among
  //    equal starts it returns to the same rank), or end the announcement.
  //    Every extentWillChange is closed by an extentChanged, also for an
  //    offset-only change, so nodes that cache derived data never miss one.
  if (changeStart) {
    if (!putInto(*accessor, std::move(taken), index)) return false;  // a write accessor takes it back
  } else {
    accessor->extentChanged(event_.get());
  }
  // 7. The accessor is released here.
  return true;
}

// ---- Subclasses -------------------------------------------------------------

MSizeStartCommand::MSizeStartCommand(FRef<MEvent> event, FRef<MDataNode> node, double newStart)
    : MSizeCommand(event, std::move(node), newStart, endOf(event) - newStart,
                   offsetOf(event) + (newStart - startOf(event)), kStart | kLength | kOffset) {}

MSizeStartCommand::MSizeStartCommand(FRef<MEvent> event, FRef<MDataNode> node, double start, double length,
                                     double offset, uint16_t changeBits)
    : MSizeCommand(std::move(event), std::move(node), start, length, offset, changeBits) {}

std::string MSizeStartCommand::description() const { return "Size Start"; }

MSizeEndCommand::MSizeEndCommand(FRef<MEvent> event, FRef<MDataNode> node, double newEnd)
    : MSizeCommand(event, std::move(node), startOf(event), newEnd - startOf(event), offsetOf(event), kLength) {}

std::string MSizeEndCommand::description() const { return "Size End"; }

MOffsetCommand::MOffsetCommand(FRef<MEvent> event, FRef<MDataNode> node, double newOffset)
    : MSizeCommand(event, std::move(node), startOf(event), lengthOf(event), newOffset, kOffset) {}

std::string MOffsetCommand::description() const { return "Set Offset"; }

MLengthCommand::MLengthCommand(FRef<MEvent> event, FRef<MDataNode> node, double newLength)
    : MSizeCommand(event, std::move(node), startOf(event), newLength, offsetOf(event), kLength) {}

std::string MLengthCommand::description() const { return "Length"; }

MMoveStartCommand::MMoveStartCommand(FRef<MEvent> event, FRef<MDataNode> node, double newStart)
    : MSizeStartCommand(event, std::move(node), newStart, endOf(event) - newStart, offsetOf(event), kStart | kLength) {}

std::string MMoveStartCommand::description() const { return "Move Start"; }

}  // namespace vantor
