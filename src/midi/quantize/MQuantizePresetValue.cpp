#include "midi/quantize/MQuantizePresetValue.h"

#include <utility>

#include "midi/quantize/MQuantizeFunctions.h"

namespace vantor {

namespace {

MGridQuantize presetSetting(size_t index) {
  const MQuantizePreset& p = quantizePresets()[index];
  return MGridQuantize(p.grid, p.type, p.swing, 0.0, p.tuplet);
}

}  // namespace

MQuantizePresetValue::MQuantizePresetValue(std::string_view name) {
  index_ = indexOf(name).value_or(indexOf(kDefaultName).value_or(0));
  previous_ = index_;
}

std::optional<size_t> MQuantizePresetValue::indexOf(std::string_view name) {
  for (size_t i = 0; i < count(); ++i) {
    if (quantizeName(presetSetting(i)) == name) return i;
  }
  return std::nullopt;
}

size_t MQuantizePresetValue::count() { return quantizePresets().size(); }

std::string MQuantizePresetValue::name() const { return quantizeName(presetSetting(index_)); }

FRef<MGridQuantize> MQuantizePresetValue::setting() const { return makeRef<MGridQuantize>(presetSetting(index_)); }

bool MQuantizePresetValue::select(size_t index) {
  if (index >= count()) return false;
  if (index != index_) {
    previous_ = index_;
    index_ = index;
  }
  return true;
}

bool MQuantizePresetValue::select(std::string_view name) {
  const auto index = indexOf(name);
  return index && select(*index);
}

bool MQuantizePresetValue::next() { return index_ + 1 < count() && select(index_ + 1); }

bool MQuantizePresetValue::prev() { return index_ > 0 && select(index_ - 1); }

void MQuantizePresetValue::toggle() { std::swap(index_, previous_); }

}  // namespace vantor
