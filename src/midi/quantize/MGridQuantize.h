#pragma once
// A quantize grid computed from a note value: 1/2^grid notes, straight,
// triplet or dotted, optionally divided into a tuplet, with swing on every
// second point and an optional magnetic area.
//
// Grid step = factor[type] * 480 / 2^grid, divided by tuplet when tuplet is
// 2 or more (grid 4 straight: 120 pulses; grid 3 triplet: 160; grid 2
// dotted: 720). The grid restarts at every bar line, and the last interval
// of a bar ends at the bar line.
//
// Archive form (version 0): grid (16-bit), type (16-bit), swing (double),
// max diff (double), tuplet (16-bit).

#include <array>
#include <cstdint>
#include <string>

#include "midi/quantize/MMidiQuantize.h"

namespace vantor {

class MGridQuantize : public MMidiQuantize {
  VANTOR_CLASS(MGridQuantize)
 public:
  // Length of a whole note in quarter notes, scaled by the note type.
  static constexpr std::array<double, 3> kTypeFactors = {4.0, 2.6666666666666665, 6.0};
  static constexpr int16_t kStraight = 0;
  static constexpr int16_t kTriplet = 1;
  static constexpr int16_t kDotted = 2;

  // Sixteenth notes, straight, no swing, no magnetic area, no tuplet.
  MGridQuantize() = default;
  MGridQuantize(int16_t grid, int16_t type, double swing = 0.0, double maxDiff = 0.0, int16_t tuplet = 1);

  // The grid note is 1/2^grid (4 = sixteenth notes).
  int16_t getGrid() const { return grid_; }
  void setGrid(int16_t grid) { grid_ = grid; }
  // kStraight, kTriplet or kDotted.
  int16_t getType() const { return type_; }
  void setType(int16_t type) { type_ = type; }
  // Swing as a fraction, 0.0 to 1.0.
  double getSwing() const { return swing_; }
  void setSwing(double swing) { swing_ = swing; }
  // Magnetic area as a fraction of one grid step; 0.0 switches it off.
  double getMaxDiff() const { return maxDiff_; }
  void setMaxDiff(double maxDiff) { maxDiff_ = maxDiff; }
  // Tuplet divisor; below 2 means no tuplet.
  int16_t getTuplet() const { return tuplet_; }
  void setTuplet(int16_t tuplet) { tuplet_ = tuplet; }

  // Pulses between grid points.
  double gridStep() const;
  // Pulses of the magnetic area: max diff * grid step, 0.0 when off.
  double magneticArea() const;

  // Nearest, before or after by the algorithm of the grid: swing on odd
  // grid points, the magnetic area in kNearest only. A position below 0
  // gives 0; a grid whose step is not a positive finite number, or a bar
  // that does not contain the position (a position beyond kMaxPosition),
  // leaves the position unchanged. The bar line is a grid point of its own
  // and never swings, so swing never carries a note into the next bar.
  double quantize(double position, const MBarSource& bars, MQuantizeMode mode) const override;
  double gridPoint(int index) const override;
  FRef<MMidiQuantize> copy() const override;

  bool operator==(const MGridQuantize& other) const;

  // The archive form at the top of this file. A swing or max diff that is
  // not a finite number fails the read, leaving the defaults.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // "Grid", "Type", "Swing", "MaxDiff", "Tuplet", always, in that order;
  // restoring keeps the value of a missing key.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  double typeFactor() const;
  // How far swing moves an odd grid point: (2 * triplet step - step) * swing.
  double swingShift() const;
  bool swings(int64_t index) const;

  int16_t grid_ = 4;
  int16_t type_ = kStraight;
  double swing_ = 0.0;
  double maxDiff_ = 0.0;
  int16_t tuplet_ = 1;
};

}  // namespace vantor
