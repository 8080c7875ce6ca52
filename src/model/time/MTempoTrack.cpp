#include "model/time/MTempoTrack.h"

#include <algorithm>
#include <cmath>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MTempoTrackNode, MArrayNode, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(MTempoTrackAccessor, MArrayAccessor, 0)

namespace {
constexpr double kPulsesPerBeat = 480.0;
}  // namespace

MTempoTrackNode::MTempoTrackNode() {
  array().insert(makeRef<MTempoEvent>());
  rebuild();
}

// ---- Conversion within one segment -----------------------------------------

double MTempoTrackNode::secondsIn(const Segment& segment, double pulses) {
  const double d = pulses - segment.ppq;
  if (segment.perPulse == 0) return segment.time + segment.spb * d / kPulsesPerBeat;
  // Ramp: BPM(p) = intercept + p * slope / 480 with a = slope / 480 BPM per
  // pulse. Seconds are the integral of 60 / (480 * BPM(p)):
  //   t = tA + (60 / slope) * (ln(a * p + intercept) - ln(a * pA + intercept)).
  // Since a * pA + intercept = bpmA, the difference of logarithms is
  // log1p(a * (p - pA) / bpmA), which keeps full precision far from pulse 0
  // and for gentle slopes where the two logarithms nearly cancel.
  // Far from the segment's start the ratio of the tempi is taken whole: when
  // the tempo falls by more than sixteen orders of magnitude (a damaged
  // file's tempo), a * d / bpmA rounds to -1 and log1p would give infinity.
  const double a = segment.perPulse;
  const double slope = a * kPulsesPerBeat;
  const double x = a * d / segment.bpm;
  const double logRatio = std::fabs(x) < 0.5 ? std::log1p(x) : std::log((segment.bpm + a * d) / segment.bpm);
  return segment.time + (60.0 / slope) * logRatio;
}

double MTempoTrackNode::pulsesIn(const Segment& segment, double seconds) {
  const double dt = seconds - segment.time;
  if (segment.perPulse == 0) return dt / segment.spb * kPulsesPerBeat + segment.ppq;
  // Inverse of the ramp integral:
  //   p = (exp(ln(a * pA + intercept) + (s - tA) * slope / 60) - intercept) / a
  //     = pA + bpmA * (exp((s - tA) * slope / 60) - 1) / a.
  const double a = segment.perPulse;
  const double slope = a * kPulsesPerBeat;
  return segment.ppq + segment.bpm * std::expm1(dt * slope / 60.0) / a;
}

double MTempoTrackNode::beforeFirstSeconds(double pulses) const {
  return pulses * segments_.front().spb / kPulsesPerBeat;
}

double MTempoTrackNode::beforeFirstPulses(double seconds) const {
  return seconds / segments_.front().spb * kPulsesPerBeat;
}

// ---- Segment search ----------------------------------------------------------

size_t MTempoTrackNode::segmentForPulses(double pulses, size_t hint) const {
  // NaN fails the comparison and lands before the first segment.
  if (!(pulses >= segments_.front().ppq)) return kBefore;
  size_t index = hint != kBefore && segments_[hint].ppq <= pulses ? hint : 0;
  // Batches of ascending values mostly stay in or next to the hinted
  // segment: step a few times before falling back to a binary search.
  for (int step = 0; step < 4; ++step) {
    if (index + 1 >= segments_.size() || segments_[index + 1].ppq > pulses) return index;
    ++index;
  }
  auto it = std::upper_bound(segments_.begin() + static_cast<std::ptrdiff_t>(index), segments_.end(), pulses,
                             [](double p, const Segment& s) { return p < s.ppq; });
  return static_cast<size_t>(it - segments_.begin()) - 1;
}

size_t MTempoTrackNode::segmentForSeconds(double seconds, size_t hint) const {
  // Times at or below 0 take the first tempo, whatever the first change's time.
  if (!(seconds > 0) || !(seconds >= segments_.front().time)) return kBefore;
  size_t index = hint != kBefore && segments_[hint].time <= seconds ? hint : 0;
  for (int step = 0; step < 4; ++step) {
    if (index + 1 >= segments_.size() || segments_[index + 1].time > seconds) return index;
    ++index;
  }
  auto it = std::upper_bound(segments_.begin() + static_cast<std::ptrdiff_t>(index), segments_.end(), seconds,
                             [](double s, const Segment& seg) { return s < seg.time; });
  return static_cast<size_t>(it - segments_.begin()) - 1;
}

// ---- Conversions ----------------------------------------------------------------

double MTempoTrackNode::secondsAt(double pulses) const {
  if (rehearsalMode_) return pulses / kPulsesPerBeat * (60.0 / static_cast<double>(rehearsalTempo_));
  const size_t index = segmentForPulses(pulses, kBefore);
  return index == kBefore ? beforeFirstSeconds(pulses) : secondsIn(segments_[index], pulses);
}

double MTempoTrackNode::pulsesAt(double seconds) const {
  if (rehearsalMode_) return seconds / (60.0 / static_cast<double>(rehearsalTempo_)) * kPulsesPerBeat;
  const size_t index = segmentForSeconds(seconds, kBefore);
  return index == kBefore ? beforeFirstPulses(seconds) : pulsesIn(segments_[index], seconds);
}

void MTempoTrackNode::secondsAt(std::span<const double> pulses, std::span<double> seconds) const {
  const size_t count = std::min(pulses.size(), seconds.size());
  size_t index = kBefore;
  for (size_t i = 0; i < count; ++i) {
    if (rehearsalMode_) {
      seconds[i] = secondsAt(pulses[i]);
      continue;
    }
    index = segmentForPulses(pulses[i], index);
    seconds[i] = index == kBefore ? beforeFirstSeconds(pulses[i]) : secondsIn(segments_[index], pulses[i]);
  }
}

void MTempoTrackNode::pulsesAt(std::span<const double> seconds, std::span<double> pulses) const {
  const size_t count = std::min(pulses.size(), seconds.size());
  size_t index = kBefore;
  for (size_t i = 0; i < count; ++i) {
    if (rehearsalMode_) {
      pulses[i] = pulsesAt(seconds[i]);
      continue;
    }
    index = segmentForSeconds(seconds[i], index);
    pulses[i] = index == kBefore ? beforeFirstPulses(seconds[i]) : pulsesIn(segments_[index], seconds[i]);
  }
}

double MTempoTrackNode::bpmAt(double pulses) const {
  if (rehearsalMode_) return static_cast<double>(rehearsalTempo_);
  const size_t index = segmentForPulses(pulses, kBefore);
  if (index == kBefore) return segments_.front().bpm;
  const Segment& s = segments_[index];
  return s.bpm + s.perPulse * (pulses - s.ppq);
}

// ---- Events ----------------------------------------------------------------------

size_t MTempoTrackNode::tempoCount() const { return constEvents()->size(); }

MTempoEvent* MTempoTrackNode::tempoEvent(size_t index) const {
  const MEventContainer* all = constEvents();
  return index < all->size() ? dynamic_cast<MTempoEvent*>(all->at(index)) : nullptr;
}

MTempoEvent* MTempoTrackNode::tempoEventAt(double pulses) const {
  const MEventContainer* all = constEvents();
  if (all->empty()) return nullptr;
  size_t index = all->lowerBound(pulses);
  // lowerBound gives the first change at or after pulses: step past those
  // exactly at pulses so that the last of them is taken.
  while (index < all->size() && all->at(index)->getStart() <= pulses) ++index;
  return tempoEvent(index == 0 ? 0 : index - 1);
}

void MTempoTrackNode::setRehearsalTempo(float bpm) {
  rehearsalTempo_ = bpm >= static_cast<float>(MTempoEvent::kMinBPM) ? bpm : static_cast<float>(MTempoEvent::kMinBPM);
  noteChange();
}

void MTempoTrackNode::setRehearsalMode(bool on) {
  rehearsalMode_ = on;
  noteChange();
}

// ---- Derived data ----------------------------------------------------------------

void MTempoTrackNode::rebuild() {
  MEventArray& all = array();
  // A change whose position was set while it stayed in the array leaves it
  // out of order; put it back in order before deriving anything from it.
  for (size_t i = 1; i < all.size(); ++i) {
    if (all.at(i)->getStart() < all.at(i - 1)->getStart()) {
      all.sortAfterAppend();
      break;
    }
  }
  std::vector<MTempoEvent*> changes;
  changes.reserve(all.size());
  for (const auto& event : all) {
    if (auto* tempo = dynamic_cast<MTempoEvent*>(event.get())) changes.push_back(tempo);
  }
  segments_.clear();
  if (changes.empty()) {
    segments_.push_back(Segment{});
    return;
  }
  segments_.reserve(changes.size());
  auto segmentOf = [](const MTempoEvent* e) {
    Segment s;
    s.ppq = e->getStart();
    s.spb = static_cast<double>(e->getSPB());
    s.bpm = 60.0 / s.spb;
    return s;
  };
  Segment first = segmentOf(changes.front());
  first.time = first.ppq * first.spb / kPulsesPerBeat;
  changes.front()->setTime(first.time);
  segments_.push_back(first);
  for (size_t i = 1; i < changes.size(); ++i) {
    Segment& previous = segments_.back();
    Segment next = segmentOf(changes[i]);
    const double span = next.ppq - previous.ppq;
    // A ramp between equal tempi, or over no pulses at all, is a jump.
    if (changes[i]->isRamp() && span > 0 && next.bpm != previous.bpm) {
      previous.perPulse = (next.bpm - previous.bpm) / span;
    }
    next.time = secondsIn(previous, next.ppq);
    changes[i]->setTime(next.time);
    segments_.push_back(next);
  }
}

void MTempoTrackNode::tempoChanged() {
  rebuild();
  noteChange();
}

void MTempoTrackNode::eventsChanged() {
  rebuild();
  MArrayNode::eventsChanged();
}

void MTempoTrackNode::extentChanged(MEvent* event) {
  rebuild();
  MArrayNode::extentChanged(event);
}

FRef<MAccessor> MTempoTrackNode::getWriteAccessor() {
  if (isReadOnly()) return nullptr;
  return FRef<MAccessor>(new MTempoTrackAccessor(FRef<MDataNode>::share(this), &array(), true));
}

FRef<MAccessor> MTempoTrackNode::getReadAccessor() {
  return FRef<MAccessor>(new MTempoTrackAccessor(FRef<MDataNode>::share(this), &array(), false));
}

// ---- Archive ----------------------------------------------------------------------

bool MTempoTrackNode::writeToArchive(FObjectArchive& archive) const {
  if (!MArrayNode::writeToArchive(archive)) return false;
  FStream& s = archive.stream();
  return s.writeFloat(rehearsalTempo_) && s.writeInt16(rehearsalMode_ ? 1 : 0);
}

bool MTempoTrackNode::readFromArchive(FObjectArchive& archive) {
  // The stored changes replace the one the constructor made.
  array().clear();
  bool ok = MArrayNode::readFromArchive(archive);
  for (size_t i = 0; ok && i < array().size(); ++i) {
    ok = dynamic_cast<MTempoEvent*>(array().at(i)) != nullptr;
  }
  float tempo = 0;
  int16_t mode = 0;
  ok = ok && archive.stream().readFloat(&tempo) && archive.stream().readInt16(&mode) &&
       tempo >= static_cast<float>(MTempoEvent::kMinBPM) && std::isfinite(tempo);
  if (ok) {
    rehearsalTempo_ = tempo;
    rehearsalMode_ = mode != 0;
  }
  rebuild();
  return ok;
}

// ---- Accessor -----------------------------------------------------------------------

bool MTempoTrackAccessor::insert(FRef<MEvent> event) {
  if (dynamic_cast<MTempoEvent*>(event.get()) == nullptr) return false;
  return MArrayAccessor::insert(std::move(event));
}

MTempoEvent* MTempoTrackAccessor::tempoAt(size_t index) const { return dynamic_cast<MTempoEvent*>(at(index)); }

}  // namespace vantor
