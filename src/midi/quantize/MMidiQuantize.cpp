#include "midi/quantize/MMidiQuantize.h"

#include <algorithm>
#include <cmath>

#include "midi/quantize/MBarSource.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(MMidiQuantize, FShared, 0)

int64_t quantizeLookupPulse(double position) {
  if (!(position > 0.0)) return 0;
  return static_cast<int64_t>(std::min(position, MMidiQuantize::kMaxPosition));
}

double MMidiQuantize::quantize(double position, const MBarSource& bars, MQuantizeMode mode) const {
  if (!(position >= 0.0)) return 0.0;
  const MBarSpan bar = bars.barAt(quantizeLookupPulse(position));
  const double start = static_cast<double>(bar.start);
  const double length = static_cast<double>(bar.end - bar.start);
  const double r = position - start;
  if (gridPoint(0) > r) return position;
  double previous = std::min(gridPoint(0), length);
  double next = previous;
  int index = 1;
  for (;; ++index) {
    if (index > kMaxGridPoints) return position;
    next = std::min(gridPoint(index), length);
    if (previous <= r && r < next) break;
    previous = next;
  }
  double chosen = next;
  if (mode == MQuantizeMode::kBefore) {
    chosen = previous;
  } else if (mode == MQuantizeMode::kNearest) {
    chosen = std::fabs(next - r) >= std::fabs(r - previous) ? previous : next;
  }
  return start + chosen;
}

bool MMidiQuantize::isActive() const { return true; }

bool MMidiQuantize::gridPointKind(int index, int* kind) const {
  const double offset = gridPoint(index);
  // A pattern answers an infinite offset past its last point: no point.
  if (!std::isfinite(offset)) return false;
  if (offset == 0.0) {
    *kind = MGridPointKind::kBar;
  } else if (static_cast<int64_t>(offset) % static_cast<int64_t>(kPPQ) == 0) {
    *kind = MGridPointKind::kBeat;
  } else {
    *kind = MGridPointKind::kOffBeat;
  }
  return true;
}

}  // namespace vantor
