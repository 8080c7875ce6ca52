#include "model/time/MTempoCommands.h"

#include <cmath>

#include "model/tree/MAccessor.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MSetTempoCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MTempoTypeCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(MTimeSignatureCommand, MCommand, 0)

namespace {

// Seconds per beat for a tempo in range (the command refuses others).
float spbFor(double bpm) { return MTimeRange::isTempo(bpm) ? static_cast<float>(60.0 / bpm) : 0.5f; }

bool isWritable(MDataNode* node) { return writeAccessorOf(node) != nullptr; }

}  // namespace

// ---- MSetTempoCommand ---------------------------------------------------------

MSetTempoCommand::MSetTempoCommand(FRef<MTempoEvent> event, double bpm)
    : event_(std::move(event)), spb_(spbFor(bpm)), inRange_(MTimeRange::isTempo(bpm)) {}

MSetTempoCommand::MSetTempoCommand(FRef<MTempoTrackNode> track, double pulses, double bpm, int32_t func)
    : track_(std::move(track)), pulses_(pulses), spb_(spbFor(bpm)), inRange_(MTimeRange::isTempo(bpm)), func_(func) {}

bool MSetTempoCommand::unite(const MCommand& next) {
  const auto* other = dynamic_cast<const MSetTempoCommand*>(&next);
  return other != nullptr && event_ && other->event_ == event_ && !other->inserted_;
}

bool MSetTempoCommand::exchange() {
  if (!event_ || !isWritable(event_->getParent())) return false;
  const float old = event_->getSPB();
  if (!event_->setSPB(spb_)) return false;
  spb_ = old;
  return true;
}

bool MSetTempoCommand::doPerform() {
  if (!inRange_) return false;
  if (event_) return exchange();
  if (!track_ || !MTimeRange::isPosition(pulses_)) return false;
  FRef<MAccessor> accessor = track_->getWriteAccessor();
  if (!accessor) return false;
  if (MTempoEvent* existing = track_->tempoEventAt(pulses_); existing != nullptr && existing->getStart() == pulses_) {
    event_ = FRef<MTempoEvent>::share(existing);
    if (exchange()) return true;
    event_ = nullptr;
    return false;
  }
  auto created = makeRef<MTempoEvent>();
  created->setStart(pulses_);
  if (!created->setSPB(spb_)) return false;
  created->setFunc(func_);
  if (!accessor->insert(created)) return false;
  event_ = std::move(created);
  inserted_ = true;
  return true;
}

bool MSetTempoCommand::doUndo() {
  if (!inserted_) return exchange();
  FRef<MAccessor> accessor = writeAccessorOf(track_.get());
  return accessor && accessor->remove(event_.get());
}

bool MSetTempoCommand::doRedo() {
  if (!inserted_) return exchange();
  FRef<MAccessor> accessor = writeAccessorOf(track_.get());
  return accessor && event_->getParent() == nullptr && accessor->insert(event_);
}

// ---- MTempoTypeCommand ----------------------------------------------------------

MTempoTypeCommand::MTempoTypeCommand(FRef<MTempoEvent> event, int32_t func) : event_(std::move(event)), func_(func) {}

bool MTempoTypeCommand::doPerform() {
  if (func_ != MTempoFunc::kJump && func_ != MTempoFunc::kRamp) return false;
  return exchange();
}

bool MTempoTypeCommand::exchange() {
  if (!event_ || !isWritable(event_->getParent())) return false;
  const int32_t old = event_->getFunc();
  event_->setFunc(func_);
  func_ = old;
  return true;
}

// ---- MTimeSignatureCommand ------------------------------------------------------

MTimeSignatureCommand::MTimeSignatureCommand(FRef<MSignatureTrackNode> track, int32_t position, MSignatureValues values)
    : track_(std::move(track)), position_(position), values_(values) {}

MTimeSignatureCommand::MTimeSignatureCommand(FRef<MTimeSignatureEvent> signature, MSignatureValues values)
    : signature_(std::move(signature)), values_(values) {}

std::string MTimeSignatureCommand::description() const {
  bool adds = added_;
  // Before it runs, a command for a position adds unless a signature is there.
  if (state() == kStateNew) adds = !signature_ && existingAtPosition() == nullptr;
  return adds ? "Add Signature" : "Modify Signature";
}

MTimeSignatureEvent* MTimeSignatureCommand::existingAtPosition() const {
  if (!track_) return nullptr;
  MTimeSignatureEvent* found = track_->signatureAt(position_);
  return found != nullptr && found->getPosition() == position_ ? found : nullptr;
}

void MTimeSignatureCommand::exchangeValues() {
  MTimeSignatureEvent& sig = *signature_;
  MSignatureValues old;
  old.numerator = sig.getNumerator();
  old.denominator = sig.getDenominator();
  for (int i = 0; i < MTimeSignatureEvent::kSubNumerators; ++i) old.subNumerators[i] = sig.getSubNumerator(i);
  sig.setSignature(values_.numerator, values_.denominator);
  for (int i = 0; i < MTimeSignatureEvent::kSubNumerators; ++i) sig.setSubNumerator(i, values_.subNumerators[i]);
  values_ = old;
  track_->eventsChanged();
}

bool MTimeSignatureCommand::performModify(MSignatureTrackNode& track) {
  if (!track.getWriteAccessor()) return false;
  const int32_t oldLength = signature_->barLength();
  MTimeSignatureEvent probe(*signature_);
  probe.setSignature(values_.numerator, values_.denominator);
  const std::optional<int32_t> shift = track.plannedShift(signature_.get(), oldLength, probe.barLength());
  if (!shift) return false;
  exchangeValues();
  if (!track.moveFollowing(signature_.get(), *shift)) {
    exchangeValues();  // not expected: plannedShift checked the move
    return false;
  }
  shift_ = *shift;
  return true;
}

bool MTimeSignatureCommand::performAdd(MSignatureTrackNode& track) {
  FRef<MAccessor> accessor = track.getWriteAccessor();
  if (!accessor) return false;
  // A signature starts on a bar line; one inside a bar is refused, not moved
  // to the nearest line, so that nothing lands where the user did not say.
  if (!MTimeRange::isBarLine(track, position_)) {
    const std::string bar = std::to_string(track.barNumberAt(position_));
    const std::string next = std::to_string(track.barNumberAt(position_) + 1);
    return refuse("a signature starts on a bar line: the position lies inside bar " + bar + ", between " + bar +
                  ".1.1.0 and " + next + ".1.1.0");
  }
  // The bar length that ruled the position before: the later signatures'
  // bar numbers were counted with it.
  const MTimeSignatureEvent* before = track.signatureAt(position_);
  const int32_t oldLength = before != nullptr ? before->barLength() : MTimeSignatureEvent::kWholeNote;
  auto created = makeRef<MTimeSignatureEvent>(position_, values_.numerator, values_.denominator);
  for (int i = 0; i < MTimeSignatureEvent::kSubNumerators; ++i) created->setSubNumerator(i, values_.subNumerators[i]);
  if (!accessor->insert(created)) return false;
  const std::optional<int32_t> shift = track.plannedShift(created.get(), oldLength, created->barLength());
  if (!shift || !track.moveFollowing(created.get(), *shift)) {
    (void)accessor->remove(created.get());
    return false;
  }
  signature_ = std::move(created);
  added_ = true;
  shift_ = *shift;
  return true;
}

bool MTimeSignatureCommand::doPerform() {
  if (!MTimeRange::isNumerator(values_.numerator) || !MTimeRange::isDenominator(values_.denominator)) return false;
  if (signature_) {
    auto* track = dynamic_cast<MSignatureTrackNode*>(signature_->getParent());
    if (track == nullptr) return false;
    track_ = FRef<MSignatureTrackNode>::share(track);
    return performModify(*track);
  }
  if (!track_ || !MTimeRange::isPosition(position_)) return false;
  if (MTimeSignatureEvent* existing = existingAtPosition()) {
    signature_ = FRef<MTimeSignatureEvent>::share(existing);
    if (performModify(*track_)) return true;
    signature_ = nullptr;
    return false;
  }
  return performAdd(*track_);
}

bool MTimeSignatureCommand::doUndo() {
  FRef<MAccessor> accessor = writeAccessorOf(track_.get());
  if (!accessor || signature_->getParent() != track_.get()) return false;
  if (!track_->moveFollowing(signature_.get(), -shift_)) return false;
  if (!added_) {
    exchangeValues();
    return true;
  }
  if (accessor->remove(signature_.get())) return true;
  // Not expected (the signature is held here); put the others back as they were.
  (void)track_->moveFollowing(signature_.get(), shift_);
  return false;
}

bool MTimeSignatureCommand::doRedo() {
  FRef<MAccessor> accessor = writeAccessorOf(track_.get());
  if (!accessor) return false;
  if (added_) {
    if (signature_->getParent() != nullptr || !accessor->insert(signature_)) return false;
    if (track_->moveFollowing(signature_.get(), shift_)) return true;
    (void)accessor->remove(signature_.get());
    return false;
  }
  if (signature_->getParent() != track_.get() || !track_->moveFollowing(signature_.get(), shift_)) return false;
  exchangeValues();
  return true;
}

}  // namespace vantor
