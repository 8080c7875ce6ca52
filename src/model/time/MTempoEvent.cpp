#include "model/time/MTempoEvent.h"

#include <cmath>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"
#include "model/time/MTempoTrack.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MTempoEvent, MEvent, 0)

MTempoEvent::MTempoEvent() = default;

MTempoEvent::MTempoEvent(double pulses, double bpm, int32_t func) : ppq_(pulses), func_(func) { setBPM(bpm); }

void MTempoEvent::setStart(double pulses) {
  ppq_ = pulses;
  notifyTrack();
}

double MTempoEvent::getStart() const { return ppq_; }

bool MTempoEvent::setSPB(float spb) {
  if (!std::isfinite(spb) || spb <= 0.0f) return false;
  spb_ = spb;
  notifyTrack();
  return true;
}

void MTempoEvent::setBPM(double bpm) {
  // NaN fails every comparison, so it takes the floor as well.
  if (!(bpm >= kMinBPM)) bpm = kMinBPM;
  const auto spb = static_cast<float>(60.0 / bpm);
  // An absurdly fast tempo would round to 0 seconds per beat as a float;
  // keep the smallest positive value so conversions stay finite.
  spb_ = spb > 0.0f ? spb : std::nextafter(0.0f, 1.0f);
  notifyTrack();
}

int32_t MTempoEvent::getTempoHundredths() const {
  const double value = 60.0 / static_cast<double>(spb_) * 100.0 + 0.5;
  if (value >= 2147483647.0) return 2147483647;
  return static_cast<int32_t>(value);
}

void MTempoEvent::setTempoHundredths(int32_t hundredths) { setBPM(static_cast<double>(hundredths) / 100.0); }

void MTempoEvent::setFunc(int32_t func) {
  func_ = func;
  notifyTrack();
}

void MTempoEvent::notifyTrack() {
  if (auto* track = dynamic_cast<MTempoTrackNode*>(getParent())) track->tempoChanged();
}

bool MTempoEvent::writeToArchive(FObjectArchive& archive) const {
  if (!MEvent::writeToArchive(archive)) return false;
  FStream& s = archive.stream();
  return s.writeDouble(static_cast<double>(spb_)) && s.writeDouble(time_) && s.writeDouble(ppq_) && s.writeInt32(func_);
}

bool MTempoEvent::readFromArchive(FObjectArchive& archive) {
  if (!MEvent::readFromArchive(archive)) return false;
  FStream& s = archive.stream();
  double spb = 0;
  double time = 0;
  double ppq = 0;
  int32_t func = 0;
  if (!s.readDouble(&spb) || !s.readDouble(&time) || !s.readDouble(&ppq) || !s.readInt32(&func)) return false;
  const auto spbFloat = static_cast<float>(spb);
  // The stored time is derived: the tempo track computes it again from the
  // tempo map when it is read. A damaged map can make it infinite (a start
  // far beyond the range at a slow tempo), which is written back as it is,
  // so it is no reason to refuse the event.
  if (!std::isfinite(spbFloat) || spbFloat <= 0.0f || !std::isfinite(ppq)) return false;
  spb_ = spbFloat;
  time_ = time;
  ppq_ = ppq;
  func_ = func;
  return true;
}

bool MTempoEvent::storeAttributes(FAttributes& attributes) const {
  if (!MEvent::storeAttributes(attributes)) return false;
  attributes.setFloat("TempoSPB", static_cast<double>(spb_));
  attributes.setFloat("Time", time_);
  attributes.setFloat("PPQ", ppq_);
  attributes.setInt("Func", func_);
  return true;
}

bool MTempoEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MEvent::restoreAttributes(attributes)) return false;
  double value = 0;
  if (attributes.getFloat("TempoSPB", &value) && !setSPB(static_cast<float>(value))) return false;
  if (attributes.getFloat("Time", &value) && std::isfinite(value)) time_ = value;
  if (attributes.getFloat("PPQ", &value) && std::isfinite(value)) setStart(value);
  int64_t func = 0;
  if (attributes.getInt("Func", &func)) setFunc(static_cast<int32_t>(func));
  return true;
}

}  // namespace vantor
