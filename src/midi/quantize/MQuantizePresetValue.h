#pragma once
// The current quantize that a front end holds: one of the presets
// (quantizePresets()), the one chosen before it, and the "Auto Quantize"
// switch. The "MIDI Quantize" key commands (MQuantizeKeyCommand) act on it.
//
// Every change of the current preset remembers the one it replaces, so
// "Toggle Quantize" goes back and forth between the last two used.
// "Select Next Quantize" and "Select Prev Quantize" stop at the ends of the
// list rather than wrapping: stepping past the last preset does not jump
// from the shortest note back to a whole note.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/FRef.h"
#include "midi/quantize/MGridQuantize.h"

namespace vantor {

class MQuantizePresetValue {
 public:
  // The preset a front end starts with.
  static constexpr const char* kDefaultName = "1/16 Note";

  // The preset named name, else the default one; "Auto Quantize" off.
  explicit MQuantizePresetValue(std::string_view name = kDefaultName);

  // The position of the preset named name in the list.
  static std::optional<size_t> indexOf(std::string_view name);
  static size_t count();

  size_t index() const { return index_; }
  size_t previousIndex() const { return previous_; }
  // The current preset's name ("1/8 Triplet") and setting.
  std::string name() const;
  FRef<MGridQuantize> setting() const;

  // Makes the preset at index current; false (no change) beyond the list.
  bool select(size_t index);
  // False (no change) when no preset has that name.
  bool select(std::string_view name);
  // One preset on or back; false at the end of the list (no change).
  bool next();
  bool prev();
  // Swaps the current preset with the one before it.
  void toggle();

  bool autoQuantize() const { return autoQuantize_; }
  void setAutoQuantize(bool on) { autoQuantize_ = on; }

 private:
  size_t index_ = 0;
  size_t previous_ = 0;
  bool autoQuantize_ = false;
};

}  // namespace vantor
