#pragma once
// The grid choice list of the quantize panel: the note values 1/1 to 1/64,
// each straight, triplet and dotted, in that order (21 choices), with the
// one chosen now. A front end shows a choice in its long form ("1/8 Note",
// "1/8 Triplet", "1/8 Dotted") or, where space is short, with the type's
// first letter ("1/8 Note", "1/8 T", "1/8 D": a straight note keeps its
// long form, which is short already). Tuplets are a list of their own,
// shown as "%d-let".

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "midi/quantize/MGridQuantize.h"

namespace vantor {

class MQuantizeGridValue {
 public:
  struct Choice {
    int16_t grid;  // the note is 1/2^grid
    int16_t type;  // MGridQuantize::kStraight, kTriplet or kDotted
  };

  // The choices, by note value and then type.
  static const std::vector<Choice>& choices();
  // "1/%d Note" for a straight note, "1/%d %s" with "Triplet" or "Dotted".
  static std::string longName(const Choice& choice);
  // "1/%d Note" for a straight note, "1/%d %c" with the type's first letter.
  static std::string shortName(const Choice& choice);
  // "5-let"; "" for a divisor below 2 (no tuplet).
  static std::string tupletName(int16_t tuplet);

  // The choice of setting's grid and type; 1/16 straight when the list has
  // none (a note value beyond 1/64).
  explicit MQuantizeGridValue(const MGridQuantize& setting = MGridQuantize());

  size_t index() const { return index_; }
  // False (and no change) for an index beyond the list.
  bool setIndex(size_t index);
  const Choice& current() const { return choices()[index_]; }
  // Gives setting the current choice's grid and type; the rest stays.
  void applyTo(MGridQuantize& setting) const;

 private:
  size_t index_ = 0;
};

}  // namespace vantor
