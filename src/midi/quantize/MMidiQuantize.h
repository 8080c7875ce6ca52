#pragma once
// Quantize settings: shared model objects that move positions onto a grid
// laid out bar by bar. MMidiQuantize defines the operation once, in terms
// of a virtual grid point by index; MGridQuantize computes its grid from a
// note value, MQuantizePattern takes it from a stored groove template.
//
// All positions are pulses (480 to the quarter note) on the project's time
// line, as 64-bit floats. Quantize never fails: positions out of range are
// clamped, and a grid that cannot be found leaves the position unchanged.

#include <cstdint>

#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class MBarSource;

// Which grid point a position goes to.
enum class MQuantizeMode : int {
  kNearest = 0,  // the nearer one; exactly halfway goes to the earlier one
  kBefore = 1,   // the grid point at or before
  kAfter = 2,    // the grid point after
};

// The kinds gridPointKind() answers.
namespace MGridPointKind {
constexpr int kOffBeat = 1;
constexpr int kBeat = 2;  // on a quarter note
constexpr int kBar = 3;   // the bar line
}  // namespace MGridPointKind

class MMidiQuantize : public FShared {
  VANTOR_CLASS(MMidiQuantize)
 public:
  // Pulses per quarter note.
  static constexpr double kPPQ = 480.0;
  // The grid points per bar the walk of the base looks at.
  static constexpr int kMaxGridPoints = 255;
  // The largest position whose bar is looked up; beyond it the bar of this
  // position is used.
  static constexpr double kMaxPosition = 2147483647.0;

  // The virtual operations, in this order.

  // The position moved onto the grid of its bar. The default walks the
  // grid points of the bar one by one (at most kMaxGridPoints of them), with
  // no swing and no magnetic area; a position before the first grid point,
  // or past the last one looked at, is returned unchanged.
  virtual double quantize(double position, const MBarSource& bars, MQuantizeMode mode) const;
  // Whether the setting moves positions at all; true here.
  virtual bool isActive() const;
  // The kind of the index-th grid point of a bar (MGridPointKind), written
  // to *kind; true when the point exists (false leaves *kind as it was).
  virtual bool gridPointKind(int index, int* kind) const;
  // Offset in pulses of the index-th grid point from the bar start; index 0
  // is the first. Points increase with index; one at or past the bar's
  // length stands for the bar line.
  virtual double gridPoint(int index) const = 0;
  // A new, independent setting with the same values.
  virtual FRef<MMidiQuantize> copy() const = 0;

 protected:
  MMidiQuantize() = default;
};

// The pulse whose bar is looked up for position: whole pulses (truncated),
// clamped to 0..kMaxPosition.
int64_t quantizeLookupPulse(double position);

}  // namespace vantor
