#pragma once
// Positions as users type and see them, converted through a project's
// signature and tempo tracks:
//   pulses   "1920"       whole pulses (480 to the quarter note)
//   bars     "5.1.1.0"    bar.beat.sixteenth.tick, the first three counted
//                         from 1. Two to four dot-separated fields; missing
//                         ones are beat 1, sixteenth 1, tick 0 ("5.1" is
//                         bar 5). A beat is the signature's note value
//                         (1920 / denominator pulses), a sixteenth 120
//                         pulses, a tick one pulse.
//   seconds  "3.5s"       seconds, decimal
//   minutes  "1:02.250"   minutes:seconds with an optional fraction
// Positions lie in [0, 2147483647] pulses: negative text, and text beyond
// that range, is refused with a message. Fractional pulses cannot be typed
// (a dot makes bar text); pulse and bar text show the nearest whole pulse.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "model/time/MTimeRange.h"

namespace vantor {

class FUserMessages;
class MSignatureTrackNode;
class MTempoTrackNode;

enum class MPositionStyle { kPulses, kBars, kSeconds, kTime };

class MPosition {
 public:
  // The end of the position range every edit keeps (MTimeRange).
  static constexpr double kMaxPulses = MTimeRange::kMaxPosition;

  // The tracks must outlive this object.
  MPosition(const MSignatureTrackNode& signatures, const MTempoTrackNode& tempo);

  // The position in pulses that text names, or nullopt with a message for
  // the user in *error (when error is given).
  std::optional<double> parse(std::string_view text, std::string* error = nullptr) const;
  // Same, reporting a failure to messages as an error.
  std::optional<double> parse(std::string_view text, FUserMessages& messages) const;

  // Text for a position in pulses in the given style, or nullopt with a
  // message in *error for a negative, too large or non-finite position.
  std::optional<std::string> format(double pulses, MPositionStyle style, std::string* error = nullptr) const;
  // "1920": the nearest whole pulse.
  std::optional<std::string> formatPulses(double pulses, std::string* error = nullptr) const;
  // "5.1.1.0" of the nearest whole pulse.
  std::optional<std::string> formatBars(double pulses, std::string* error = nullptr) const;
  // "3.500s": seconds rounded to milliseconds.
  std::optional<std::string> formatSeconds(double pulses, std::string* error = nullptr) const;
  // "m:ss.mmm": minutes, seconds and milliseconds ("1:02.250").
  std::optional<std::string> formatTime(double pulses, std::string* error = nullptr) const;

 private:
  std::optional<double> parseBars(std::string_view text, std::string* error) const;
  std::optional<double> parseSeconds(std::string_view text, std::string_view number, std::string* error) const;
  std::optional<double> parseMinutes(std::string_view text, std::string* error) const;
  std::optional<double> checkedPulses(double pulses, std::string_view text, std::string* error) const;
  // Nearest whole pulse of a position in range, or nullopt with a message.
  std::optional<int64_t> wholePulse(double pulses, std::string* error) const;
  std::optional<int64_t> milliseconds(double pulses, std::string* error) const;

  const MSignatureTrackNode& signatures_;
  const MTempoTrackNode& tempo_;
};

}  // namespace vantor
