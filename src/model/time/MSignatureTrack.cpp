#include "model/time/MSignatureTrack.h"

#include <limits>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MSignatureTrackNode, MListNode, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MSignatureTrackAccessor, MListAccessor, 0)

namespace {

constexpr int64_t kDefaultBar = MTimeSignatureEvent::kWholeNote;
constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();

// Division rounding towards minus infinity (divisor > 0).
int64_t floorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && a < 0) ? q - 1 : q;
}

// Division rounding towards plus infinity (a >= 0, b > 0).
int64_t ceilDiv(int64_t a, int64_t b) { return (a + b - 1) / b; }

}  // namespace

MSignatureTrackNode::MSignatureTrackNode() { list().insert(makeRef<MTimeSignatureEvent>()); }

size_t MSignatureTrackNode::signatureCount() const { return constEvents()->size(); }

MTimeSignatureEvent* MSignatureTrackNode::signature(size_t index) const {
  const MEventContainer* all = constEvents();
  return index < all->size() ? dynamic_cast<MTimeSignatureEvent*>(all->at(index)) : nullptr;
}

size_t MSignatureTrackNode::indexAt(int64_t position) const {
  // Positions are whole pulses: the first start above position + 0.5 is the
  // first signature after position.
  const size_t after = constEvents()->lowerBound(static_cast<double>(position) + 0.5);
  return after == 0 ? MEventContainer::npos : after - 1;
}

MTimeSignatureEvent* MSignatureTrackNode::signatureAt(int64_t position) const {
  if (constEvents()->empty()) return nullptr;
  const size_t index = indexAt(position);
  return signature(index == MEventContainer::npos ? 0 : index);
}

MBar MSignatureTrackNode::barAt(int64_t position) const {
  MBar bar;
  if (constEvents()->empty()) {
    bar.start = floorDiv(position, kDefaultBar) * kDefaultBar;
    bar.end = bar.start + kDefaultBar;
    return bar;
  }
  const size_t index = indexAt(position);
  const MTimeSignatureEvent* sig = signature(index == MEventContainer::npos ? 0 : index);
  const int64_t length = sig->barLength();
  const int64_t origin = sig->getPosition();
  bar.signature = sig;
  bar.start = origin + floorDiv(position - origin, length) * length;
  // The bar runs its full length even where the next signature starts
  // inside it (only files from elsewhere place one off a bar line):
  // quantize walks its grid through exactly these bars.
  bar.end = bar.start + length;
  return bar;
}

MBar MSignatureTrackNode::numberedBar(int64_t number) const {
  const int64_t start = barStart(number);
  MBar bar = barAt(start);
  // A signature off a bar line starts bar numbers afresh: the bar before it
  // counts as one bar, cut short there.
  const size_t index = indexAt(start);
  if (index != MEventContainer::npos && index + 1 < signatureCount()) {
    const int64_t next = signature(index + 1)->getPosition();
    if (next < bar.end) bar.end = next;
  }
  return bar;
}

int64_t MSignatureTrackNode::barNumberAt(int64_t position) const {
  const size_t count = signatureCount();
  if (count == 0) return floorDiv(position, kDefaultBar) + 1;
  const MTimeSignatureEvent* first = signature(0);
  if (position < first->getPosition()) {
    return 1 + floorDiv(position - first->getPosition(), first->barLength());
  }
  int64_t number = 1;
  for (size_t i = 0; i < count; ++i) {
    const MTimeSignatureEvent* sig = signature(i);
    const int64_t start = sig->getPosition();
    const bool last = i + 1 == count;
    const int64_t next = last ? 0 : signature(i + 1)->getPosition();
    if (last || position < next) return number + (position - start) / sig->barLength();
    number += ceilDiv(next - start, sig->barLength());
  }
  return number;
}

int64_t MSignatureTrackNode::barStart(int64_t number) const {
  const size_t count = signatureCount();
  if (count == 0) return (number - 1) * kDefaultBar;
  const MTimeSignatureEvent* first = signature(0);
  if (number < 1) return first->getPosition() + (number - 1) * first->barLength();
  int64_t firstNumber = 1;
  for (size_t i = 0; i < count; ++i) {
    const MTimeSignatureEvent* sig = signature(i);
    const int64_t start = sig->getPosition();
    if (i + 1 < count) {
      const int64_t bars = ceilDiv(signature(i + 1)->getPosition() - start, sig->barLength());
      if (number >= firstNumber + bars) {
        firstNumber += bars;
        continue;
      }
    }
    return start + (number - firstNumber) * sig->barLength();
  }
  return 0;  // not reached: the last signature takes every later bar
}

int32_t MSignatureTrackNode::followingShift(const MTimeSignatureEvent* changed, int32_t oldBarLength,
                                            int32_t newBarLength) const {
  const size_t index = constEvents()->indexOf(changed);
  if (index == MEventContainer::npos || index + 1 >= signatureCount() || oldBarLength <= 0) return 0;
  const int64_t gap = static_cast<int64_t>(signature(index + 1)->getPosition()) - changed->getPosition();
  const int64_t wholeBars = gap / oldBarLength;
  const int64_t shift = (static_cast<int64_t>(newBarLength) - oldBarLength) * wholeBars;
  return shift >= kInt32Min && shift <= kInt32Max ? static_cast<int32_t>(shift) : 0;
}

std::optional<int32_t> MSignatureTrackNode::plannedShift(const MTimeSignatureEvent* changed, int32_t oldBarLength,
                                                         int32_t newBarLength) const {
  const size_t index = constEvents()->indexOf(changed);
  if (index == MEventContainer::npos || oldBarLength <= 0) return std::nullopt;
  if (index + 1 >= signatureCount()) return 0;
  const int64_t next = signature(index + 1)->getPosition();
  const int64_t shift =
      (static_cast<int64_t>(newBarLength) - oldBarLength) * ((next - changed->getPosition()) / oldBarLength);
  const int64_t last = signature(signatureCount() - 1)->getPosition();
  if (next + shift <= changed->getPosition() || last + shift > kInt32Max) return std::nullopt;
  return static_cast<int32_t>(shift);
}

int32_t MSignatureTrackNode::shiftFollowing(MTimeSignatureEvent* changed, int32_t oldBarLength, int32_t newBarLength) {
  const int32_t shift = followingShift(changed, oldBarLength, newBarLength);
  if (shift == 0 || !moveFollowing(changed, shift)) return 0;
  return shift;
}

bool MSignatureTrackNode::moveFollowing(const MTimeSignatureEvent* changed, int32_t delta) {
  const size_t index = constEvents()->indexOf(changed);
  if (index == MEventContainer::npos) return false;
  if (delta == 0) return true;
  const size_t count = signatureCount();
  for (size_t i = index + 1; i < count; ++i) {
    const int64_t moved = static_cast<int64_t>(signature(i)->getPosition()) + delta;
    if (moved > kInt32Max || moved < kInt32Min) return false;
    // Keeping them after changed keeps the list in order without re-sorting.
    if (i == index + 1 && moved <= changed->getPosition()) return false;
  }
  for (size_t i = index + 1; i < count; ++i) {
    MTimeSignatureEvent* sig = signature(i);
    sig->setPosition(sig->getPosition() + delta);
  }
  eventsChanged();
  return true;
}

FRef<MAccessor> MSignatureTrackNode::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MSignatureTrackAccessor(FRef<MDataNode>::share(this), &list(), true));
}

FRef<MAccessor> MSignatureTrackNode::getReadAccessor() {
  return FRef<MAccessor>(new MSignatureTrackAccessor(FRef<MDataNode>::share(this), &list(), false));
}

bool MSignatureTrackNode::writeToArchive(FObjectArchive& archive) const { return MListNode::writeToArchive(archive); }

bool MSignatureTrackNode::readFromArchive(FObjectArchive& archive) {
  // The stored signatures replace the one the constructor made.
  list().clear();
  if (!MListNode::readFromArchive(archive)) return false;
  for (size_t i = 0; i < list().size(); ++i) {
    if (dynamic_cast<MTimeSignatureEvent*>(list().at(i)) == nullptr) return false;
  }
  return true;
}

bool MSignatureTrackAccessor::insert(FRef<MEvent> event) {
  if (dynamic_cast<MTimeSignatureEvent*>(event.get()) == nullptr) return false;
  return MListAccessor::insert(std::move(event));
}

MTimeSignatureEvent* MSignatureTrackAccessor::signatureAt(size_t index) const {
  return dynamic_cast<MTimeSignatureEvent*>(at(index));
}

}  // namespace vantor
