#include "audio/pool/MAudioEvent.h"

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MAudioEvent, MEvent, 1)

namespace {

MFadeCurve curveFromStored(int16_t value) {
  return value >= 0 && value <= static_cast<int16_t>(MFadeCurve::kExponential) ? static_cast<MFadeCurve>(value)
                                                                                 : MFadeCurve::kLinear;
}

}  // namespace

bool MAudioEvent::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MEvent::writeToArchive(archive) && archive.writeObject(clip_.get()) && s.writeInt64(clipStart_) &&
         s.writeInt64(clipLength_) && s.writeInt64(fadeIn_) && s.writeInt16(static_cast<int16_t>(fadeInCurve_)) &&
         s.writeInt64(fadeOut_) && s.writeInt16(static_cast<int16_t>(fadeOutCurve_));
}

bool MAudioEvent::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  if (!MEvent::readFromArchive(archive)) return false;
  FRef<PAudioClip> clip;
  int64_t start = 0, length = 0;
  if (!archive.readObjectAs(&clip) || !s.readInt64(&start) || !s.readInt64(&length)) return false;
  if (start < 0 || length < 0) return false;
  clip_ = std::move(clip);
  clipStart_ = start;
  clipLength_ = length;
  if (archive.currentClassVersion() < 1) return true;
  int64_t fadeIn = 0, fadeOut = 0;
  int16_t inCurve = 0, outCurve = 0;
  if (!s.readInt64(&fadeIn) || !s.readInt16(&inCurve) || !s.readInt64(&fadeOut) || !s.readInt16(&outCurve)) {
    return false;
  }
  if (fadeIn < 0 || fadeOut < 0) return false;
  setFadeIn(fadeIn, curveFromStored(inCurve));
  setFadeOut(fadeOut, curveFromStored(outCurve));
  return true;
}

}  // namespace vantor
