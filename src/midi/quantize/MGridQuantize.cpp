#include "midi/quantize/MGridQuantize.h"

#include <algorithm>
#include <cmath>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"
#include "midi/quantize/MBarSource.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MGridQuantize, MMidiQuantize, 0)

MGridQuantize::MGridQuantize(int16_t grid, int16_t type, double swing, double maxDiff, int16_t tuplet)
    : grid_(grid), type_(type), swing_(swing), maxDiff_(maxDiff), tuplet_(tuplet) {}

double MGridQuantize::typeFactor() const {
  return type_ >= 0 && type_ < static_cast<int16_t>(kTypeFactors.size()) ? kTypeFactors[type_] : kTypeFactors[0];
}

double MGridQuantize::gridStep() const {
  double step = typeFactor() * kPPQ / std::ldexp(1.0, grid_);
  if (tuplet_ >= 2) step /= tuplet_;
  return step;
}

double MGridQuantize::magneticArea() const { return maxDiff_ > 0.0 ? maxDiff_ * gridStep() : 0.0; }

double MGridQuantize::swingShift() const {
  // At swing 1.0 the odd point lies on the second triplet of its pair of
  // steps: two triplet steps minus one straight step.
  return (2.0 * kTypeFactors[kTriplet] * kPPQ / std::ldexp(1.0, grid_) - gridStep()) * swing_;
}

bool MGridQuantize::swings(int64_t index) const {
  return swing_ > 0.0 && type_ == kStraight && index % 2 != 0 && tuplet_ < 2;
}

double MGridQuantize::gridPoint(int index) const {
  if (index == 0) return 0.0;
  const double plain = gridStep() * index;
  return swings(index) ? plain + swingShift() : plain;
}

double MGridQuantize::quantize(double position, const MBarSource& bars, MQuantizeMode mode) const {
  if (!(position >= 0.0)) return 0.0;
  const double step = gridStep();
  if (!(step > 0.0) || !std::isfinite(step)) return position;
  const MBarSpan bar = bars.barAt(quantizeLookupPulse(position));
  const double start = static_cast<double>(bar.start);
  const double length = static_cast<double>(bar.end - bar.start);
  const double r = position - start;
  if (!(r >= 0.0) || !(r < length)) return position;
  // The walk previous = step * (k - 1) <= r < next = min(step * k, length),
  // found directly: the first k with step * k > r.
  auto k = static_cast<int64_t>(std::floor(r / step)) + 1;
  while (step * static_cast<double>(k) <= r) ++k;
  while (k > 1 && step * static_cast<double>(k - 1) > r) --k;
  const double previous = step * static_cast<double>(k - 1);
  const double rawNext = step * static_cast<double>(k);
  const bool nextIsBarLine = rawNext >= length;
  const double next = nextIsBarLine ? length : rawNext;

  bool takePrevious = mode == MQuantizeMode::kBefore;
  if (mode == MQuantizeMode::kNearest) takePrevious = (next - r) >= (r - previous);
  double result = start + (takePrevious ? previous : next);
  const int64_t index = takePrevious ? k - 1 : k;
  if (swings(index) && !(nextIsBarLine && !takePrevious)) result += swingShift();

  if (mode == MQuantizeMode::kNearest && maxDiff_ > 0.0) {
    // A distance equal to the area still moves.
    if (std::fabs(result - position) > step * maxDiff_) return position;
  }
  return result;
}

FRef<MMidiQuantize> MGridQuantize::copy() const {
  return FRef<MMidiQuantize>(new MGridQuantize(grid_, type_, swing_, maxDiff_, tuplet_));
}

bool MGridQuantize::operator==(const MGridQuantize& other) const {
  return grid_ == other.grid_ && type_ == other.type_ && swing_ == other.swing_ && maxDiff_ == other.maxDiff_ &&
         tuplet_ == other.tuplet_;
}

bool MGridQuantize::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeInt16(grid_) && s.writeInt16(type_) && s.writeDouble(swing_) && s.writeDouble(maxDiff_) &&
         s.writeInt16(tuplet_);
}

bool MGridQuantize::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int16_t grid = 0;
  int16_t type = 0;
  double swing = 0;
  double maxDiff = 0;
  int16_t tuplet = 0;
  if (!s.readInt16(&grid) || !s.readInt16(&type) || !s.readDouble(&swing) || !s.readDouble(&maxDiff) ||
      !s.readInt16(&tuplet) || !std::isfinite(swing) || !std::isfinite(maxDiff)) {
    return false;
  }
  grid_ = grid;
  type_ = type;
  swing_ = swing;
  maxDiff_ = maxDiff;
  tuplet_ = tuplet;
  return true;
}

bool MGridQuantize::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  attributes.setInt("Grid", grid_);
  attributes.setInt("Type", type_);
  attributes.setFloat("Swing", swing_);
  attributes.setFloat("MaxDiff", maxDiff_);
  attributes.setInt("Tuplet", tuplet_);
  return true;
}

bool MGridQuantize::restoreAttributes(const FAttributes& attributes) {
  int64_t value = 0;
  double fraction = 0;
  const auto small = [](int64_t v) { return v >= INT16_MIN && v <= INT16_MAX; };
  if (attributes.getInt("Grid", &value) && small(value)) grid_ = static_cast<int16_t>(value);
  if (attributes.getInt("Type", &value) && small(value)) type_ = static_cast<int16_t>(value);
  if (attributes.getFloat("Swing", &fraction) && std::isfinite(fraction)) swing_ = fraction;
  if (attributes.getFloat("MaxDiff", &fraction) && std::isfinite(fraction)) maxDiff_ = fraction;
  if (attributes.getInt("Tuplet", &value) && small(value)) tuplet_ = static_cast<int16_t>(value);
  return true;
}

}  // namespace vantor
