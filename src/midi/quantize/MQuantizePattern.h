#pragma once
// A groove template: quantize grid points taken from a stored list of
// offsets instead of a note value.
//
// "Pattern" is the span, in whole pulses, that the offsets repeat over from
// each bar line: 480 repeats them every quarter note (a one-beat groove),
// 1920 every whole note; 0 means one bar, whatever its length, without
// repetition. "Positions" are the offsets of the grid points within that
// span, in pulses, ascending, the first normally 0 (positions before the
// first point stay where they are). In attributes "Positions" is text: the
// offsets in the shortest decimal form that reads back exactly, separated
// by single blanks ("0 130 240 370").
//
// Archive form (version 0): the span (32-bit), the count (32-bit), then the
// offsets (doubles).

#include <cstdint>
#include <vector>

#include "midi/quantize/MMidiQuantize.h"

namespace vantor {

class MQuantizePattern : public MMidiQuantize {
  VANTOR_CLASS(MQuantizePattern)
 public:
  // No points: quantize leaves every position as it is.
  MQuantizePattern() = default;
  // False (nothing changed) when span is negative, an offset is negative
  // or not finite, the offsets do not ascend, or one lies at or past a
  // span above 0.
  [[nodiscard]] bool setPattern(int32_t span, std::vector<double> positions);
  int32_t getSpan() const { return span_; }
  const std::vector<double>& getPositions() const { return positions_; }

  // The n-th offset of the span, repeated span after span; with span 0,
  // past the last offset an infinite value (the bar line).
  double gridPoint(int index) const override;
  FRef<MMidiQuantize> copy() const override;
  bool operator==(const MQuantizePattern& other) const;

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // "Pattern" (integer) and "Positions" (text), see the top of this file.
  // Restoring refuses (and keeps the values) a text that does not read.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  static bool valid(int32_t span, const std::vector<double>& positions);

  int32_t span_ = 0;
  std::vector<double> positions_;
};

}  // namespace vantor
