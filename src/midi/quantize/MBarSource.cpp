#include "midi/quantize/MBarSource.h"

#include "model/time/MSignatureTrack.h"

namespace vantor {

MBarSpan MSignatureBarSource::barAt(int64_t position) const {
  const MBar bar = track_.barAt(position);
  return {bar.start, bar.end};
}

MBarSpan MFixedBarSource::barAt(int64_t position) const {
  int64_t start = position / length_ * length_;
  if (start > position) start -= length_;  // negative positions round down
  return {start, start + length_};
}

}  // namespace vantor
