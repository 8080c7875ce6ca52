#include "model/tree/MAutoFadeSetting.h"

#include <cmath>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MAutoFadeSetting, FShared, 0)

namespace {

MFadeCurve curveFrom(int64_t value) {
  return value >= 0 && value <= static_cast<int64_t>(MFadeCurve::kExponential) ? static_cast<MFadeCurve>(value)
                                                                               : MFadeCurve::kLinear;
}

bool writeFade(FStream& s, bool on, double length, MFadeCurve curve) {
  return s.writeInt16(on ? 1 : 0) && s.writeDouble(length) && s.writeInt16(static_cast<int16_t>(curve));
}

bool readFade(FStream& s, bool* on, double* length, MFadeCurve* curve) {
  int16_t flag = 0;
  double ms = 0;
  int16_t shape = 0;
  if (!s.readInt16(&flag) || !s.readDouble(&ms) || !s.readInt16(&shape)) return false;
  if (!std::isfinite(ms) || ms < 0) return false;
  *on = flag != 0;
  *length = ms;
  *curve = curveFrom(shape);
  return true;
}

}  // namespace

bool MAutoFadeSetting::operator==(const MAutoFadeSetting& other) const {
  return fadeInOn_ == other.fadeInOn_ && fadeOutOn_ == other.fadeOutOn_ && fadeInLength_ == other.fadeInLength_ &&
         fadeOutLength_ == other.fadeOutLength_ && fadeInCurve_ == other.fadeInCurve_ &&
         fadeOutCurve_ == other.fadeOutCurve_;
}

bool MAutoFadeSetting::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return writeFade(s, fadeInOn_, fadeInLength_, fadeInCurve_) &&
         writeFade(s, fadeOutOn_, fadeOutLength_, fadeOutCurve_);
}

bool MAutoFadeSetting::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  return readFade(s, &fadeInOn_, &fadeInLength_, &fadeInCurve_) &&
         readFade(s, &fadeOutOn_, &fadeOutLength_, &fadeOutCurve_);
}

bool MAutoFadeSetting::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  attributes.setInt("Fade In", fadeInOn_ ? 1 : 0);
  attributes.setFloat("Fade In Length", fadeInLength_);
  attributes.setInt("Fade In Curve", static_cast<int64_t>(fadeInCurve_));
  attributes.setInt("Fade Out", fadeOutOn_ ? 1 : 0);
  attributes.setFloat("Fade Out Length", fadeOutLength_);
  attributes.setInt("Fade Out Curve", static_cast<int64_t>(fadeOutCurve_));
  return true;
}

bool MAutoFadeSetting::restoreAttributes(const FAttributes& attributes) {
  int64_t value = 0;
  double ms = 0;
  if (attributes.getInt("Fade In", &value)) fadeInOn_ = value != 0;
  if (attributes.getFloat("Fade In Length", &ms) && std::isfinite(ms) && ms >= 0) fadeInLength_ = ms;
  if (attributes.getInt("Fade In Curve", &value)) fadeInCurve_ = curveFrom(value);
  if (attributes.getInt("Fade Out", &value)) fadeOutOn_ = value != 0;
  if (attributes.getFloat("Fade Out Length", &ms) && std::isfinite(ms) && ms >= 0) fadeOutLength_ = ms;
  if (attributes.getInt("Fade Out Curve", &value)) fadeOutCurve_ = curveFrom(value);
  return true;
}

}  // namespace vantor
