#include "midi/quantize/MQuantizeGridValue.h"

#include <cstdio>

namespace vantor {

namespace {

constexpr int16_t kLongestNote = 0;   // 1/1
constexpr int16_t kShortestNote = 6;  // 1/64

const char* typeName(int16_t type) {
  if (type == MGridQuantize::kTriplet) return "Triplet";
  if (type == MGridQuantize::kDotted) return "Dotted";
  return "Straight";
}

std::string noteName(const MQuantizeGridValue::Choice& choice, bool brief) {
  char buffer[32];
  const int denominator = 1 << choice.grid;
  if (choice.type == MGridQuantize::kStraight) {
    std::snprintf(buffer, sizeof buffer, "1/%d Note", denominator);
  } else if (brief) {
    std::snprintf(buffer, sizeof buffer, "1/%d %c", denominator, typeName(choice.type)[0]);
  } else {
    std::snprintf(buffer, sizeof buffer, "1/%d %s", denominator, typeName(choice.type));
  }
  return buffer;
}

}  // namespace

const std::vector<MQuantizeGridValue::Choice>& MQuantizeGridValue::choices() {
  static const std::vector<Choice> list = [] {
    std::vector<Choice> out;
    for (int16_t grid = kLongestNote; grid <= kShortestNote; ++grid) {
      for (int16_t type : {MGridQuantize::kStraight, MGridQuantize::kTriplet, MGridQuantize::kDotted}) {
        out.push_back({grid, type});
      }
    }
    return out;
  }();
  return list;
}

std::string MQuantizeGridValue::longName(const Choice& choice) { return noteName(choice, false); }

std::string MQuantizeGridValue::shortName(const Choice& choice) { return noteName(choice, true); }

std::string MQuantizeGridValue::tupletName(int16_t tuplet) {
  if (tuplet < 2) return {};
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%d-let", tuplet);
  return buffer;
}

MQuantizeGridValue::MQuantizeGridValue(const MGridQuantize& setting) {
  const std::vector<Choice>& list = choices();
  size_t fallback = 0;
  for (size_t i = 0; i < list.size(); ++i) {
    if (list[i].grid == MGridQuantize().getGrid() && list[i].type == MGridQuantize::kStraight) fallback = i;
    if (list[i].grid == setting.getGrid() && list[i].type == setting.getType()) {
      index_ = i;
      return;
    }
  }
  index_ = fallback;
}

bool MQuantizeGridValue::setIndex(size_t index) {
  if (index >= choices().size()) return false;
  index_ = index;
  return true;
}

void MQuantizeGridValue::applyTo(MGridQuantize& setting) const {
  setting.setGrid(current().grid);
  setting.setType(current().type);
}

}  // namespace vantor
