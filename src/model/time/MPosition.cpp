#include "model/time/MPosition.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <vector>

#include "foundation/FUserMessages.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeRange.h"

namespace vantor {

namespace {

constexpr char kEmpty[] = "No position given.";
constexpr char kNegative[] = "Negative positions are not allowed: \"%s\".";
constexpr char kMalformed[] =
    "\"%s\" is not a position. Type pulses (1920), bars (5.1.1.0), seconds (3.5s) or minutes (1:02.250).";
constexpr char kTooLarge[] = "\"%s\" is out of range: positions end at 2147483647 pulses.";
constexpr char kBarZero[] = "Bar numbers start at 1: \"%s\".";
constexpr char kBeatRange[] = "Beat %s is out of range in \"%s\": bar %s has %s beats.";
constexpr char kSixteenthRange[] = "Sixteenth %s is out of range in \"%s\": a beat of bar %s has %s sixteenths.";
constexpr char kTickRange[] = "Tick %s is out of range in \"%s\": ticks run from 0 to %s there.";
constexpr char kBeyondBar[] = "\"%s\" lies beyond the end of bar %s, which is %s pulses long.";
constexpr char kSecondsRange[] = "Seconds must be below 60 in \"%s\".";
constexpr char kNotANumber[] = "The position is not a number.";
constexpr char kBeforeStart[] = "Position %s lies before the start of the project.";
constexpr char kPositionTooLarge[] = "Position %s is out of range: positions end at 2147483647 pulses.";
constexpr char kBeforeBarOne[] = "Position %s lies before bar 1.";

constexpr int64_t kSixteenth = 120;
// More digits than this cannot name a position in range in any form.
constexpr size_t kMaxDigits = 15;

bool fail(std::string* error, std::string_view format, std::initializer_list<std::string_view> args) {
  if (error != nullptr) *error = formatMessage(format, args);
  return false;
}

std::string numberText(int64_t value) { return std::to_string(value); }

std::string numberText(double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.10g", value);
  return buffer;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

bool allDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// A whole number of at most kMaxDigits digits.
std::optional<int64_t> parseCount(std::string_view digits) {
  if (!allDigits(digits) || digits.size() > kMaxDigits) return std::nullopt;
  int64_t value = 0;
  for (char c : digits) value = value * 10 + (c - '0');
  return value;
}

// "12", "12.5", "12." or ".5": no sign, no exponent.
bool isDecimal(std::string_view text) {
  const size_t dot = text.find('.');
  if (dot == std::string_view::npos) return allDigits(text);
  const std::string_view whole = text.substr(0, dot);
  const std::string_view fraction = text.substr(dot + 1);
  if (whole.empty() && fraction.empty()) return false;
  return (whole.empty() || allDigits(whole)) && (fraction.empty() || allDigits(fraction));
}

std::optional<double> parseDecimal(std::string_view text) {
  if (!isDecimal(text)) return std::nullopt;
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

int64_t ceilDiv(int64_t a, int64_t b) { return (a + b - 1) / b; }

}  // namespace

MPosition::MPosition(const MSignatureTrackNode& signatures, const MTempoTrackNode& tempo)
    : signatures_(signatures), tempo_(tempo) {}

// ---- Parsing -------------------------------------------------------------------

std::optional<double> MPosition::parse(std::string_view text, FUserMessages& messages) const {
  std::string error;
  std::optional<double> result = parse(text, &error);
  if (!result) messages.report(FUserMessages::Severity::kError, error);
  return result;
}

std::optional<double> MPosition::parse(std::string_view text, std::string* error) const {
  const std::string_view t = trim(text);
  if (t.empty()) {
    fail(error, kEmpty, {});
    return std::nullopt;
  }
  if (t.front() == '-') {
    fail(error, kNegative, {t});
    return std::nullopt;
  }
  if (t.find(':') != std::string_view::npos) return parseMinutes(t, error);
  if (t.back() == 's' || t.back() == 'S') return parseSeconds(t, t.substr(0, t.size() - 1), error);
  if (allDigits(t)) {
    const std::optional<int64_t> pulses = parseCount(t);
    if (!pulses) {
      fail(error, kTooLarge, {t});
      return std::nullopt;
    }
    return checkedPulses(static_cast<double>(*pulses), t, error);
  }
  if (t.find('.') != std::string_view::npos) return parseBars(t, error);
  fail(error, kMalformed, {t});
  return std::nullopt;
}

std::optional<double> MPosition::checkedPulses(double pulses, std::string_view text, std::string* error) const {
  // Seconds at or above 0 never give negative pulses, but rounding may leave
  // a hair below 0 for a time of 0.
  const double position = pulses < 0 ? 0.0 : pulses;
  // The range every edit keeps, so that a typed position is one an edit can use.
  if (!MTimeRange::isPosition(position)) {
    fail(error, kTooLarge, {text});
    return std::nullopt;
  }
  return position;
}

std::optional<double> MPosition::parseSeconds(std::string_view text, std::string_view number,
                                              std::string* error) const {
  const std::optional<double> seconds = parseDecimal(number);
  if (!seconds) {
    fail(error, kMalformed, {text});
    return std::nullopt;
  }
  return checkedPulses(tempo_.pulsesAt(*seconds), text, error);
}

std::optional<double> MPosition::parseMinutes(std::string_view text, std::string* error) const {
  const size_t colon = text.find(':');
  const std::string_view minutesText = text.substr(0, colon);
  const std::string_view secondsText = text.substr(colon + 1);
  const size_t dot = secondsText.find('.');
  const std::string_view wholeSeconds = secondsText.substr(0, dot);
  // Seconds take one or two digits before an optional fraction: "1:2", "1:02.250".
  if (!allDigits(minutesText) || !allDigits(wholeSeconds) || wholeSeconds.size() > 2) {
    fail(error, kMalformed, {text});
    return std::nullopt;
  }
  const std::optional<double> seconds = parseDecimal(secondsText);
  if (!seconds) {
    fail(error, kMalformed, {text});
    return std::nullopt;
  }
  if (*seconds >= 60.0) {
    fail(error, kSecondsRange, {text});
    return std::nullopt;
  }
  const std::optional<int64_t> minutes = parseCount(minutesText);
  if (!minutes) {
    fail(error, kTooLarge, {text});
    return std::nullopt;
  }
  return checkedPulses(tempo_.pulsesAt(static_cast<double>(*minutes) * 60.0 + *seconds), text, error);
}

std::optional<double> MPosition::parseBars(std::string_view text, std::string* error) const {
  std::vector<std::string_view> fields;
  for (size_t from = 0;;) {
    const size_t dot = text.find('.', from);
    fields.push_back(text.substr(from, dot == std::string_view::npos ? std::string_view::npos : dot - from));
    if (dot == std::string_view::npos) break;
    from = dot + 1;
  }
  if (fields.size() < 2 || fields.size() > 4) {
    fail(error, kMalformed, {text});
    return std::nullopt;
  }
  int64_t values[4] = {1, 1, 1, 0};
  for (size_t i = 0; i < fields.size(); ++i) {
    if (!allDigits(fields[i])) {
      fail(error, kMalformed, {text});
      return std::nullopt;
    }
    const std::optional<int64_t> value = parseCount(fields[i]);
    if (!value) {
      fail(error, kTooLarge, {text});
      return std::nullopt;
    }
    values[i] = *value;
  }
  const int64_t barNumber = values[0];
  const int64_t beat = values[1];
  const int64_t sixteenth = values[2];
  const int64_t tick = values[3];
  if (barNumber < 1) {
    fail(error, kBarZero, {text});
    return std::nullopt;
  }
  // Every bar has at least one pulse, so a bar number beyond the largest
  // position is out of range; checking first keeps the arithmetic small.
  if (barNumber > static_cast<int64_t>(kMaxPulses) + 1) {
    fail(error, kTooLarge, {text});
    return std::nullopt;
  }
  const MBar bar = signatures_.numberedBar(barNumber);
  const int64_t barLength = bar.length();
  const int64_t beatLength = bar.signature != nullptr ? bar.signature->beatLength() : 480;
  const int64_t beats = ceilDiv(barLength, beatLength);
  const std::string barText = numberText(barNumber);
  if (beat < 1 || beat > beats) {
    fail(error, kBeatRange, {numberText(beat), text, barText, numberText(beats)});
    return std::nullopt;
  }
  const int64_t sixteenths = ceilDiv(beatLength, kSixteenth);
  if (sixteenth < 1 || sixteenth > sixteenths) {
    fail(error, kSixteenthRange, {numberText(sixteenth), text, barText, numberText(sixteenths)});
    return std::nullopt;
  }
  // The last sixteenth of a beat that is no whole number of sixteenths is short.
  const int64_t lastTick = std::min(kSixteenth, beatLength - (sixteenth - 1) * kSixteenth) - 1;
  if (tick > lastTick) {
    fail(error, kTickRange, {numberText(tick), text, numberText(lastTick)});
    return std::nullopt;
  }
  const int64_t offset = (beat - 1) * beatLength + (sixteenth - 1) * kSixteenth + tick;
  if (offset >= barLength) {
    fail(error, kBeyondBar, {text, barText, numberText(barLength)});
    return std::nullopt;
  }
  return checkedPulses(static_cast<double>(bar.start + offset), text, error);
}

// ---- Formatting ------------------------------------------------------------------

std::optional<int64_t> MPosition::wholePulse(double pulses, std::string* error) const {
  if (!std::isfinite(pulses)) {
    fail(error, kNotANumber, {});
    return std::nullopt;
  }
  if (pulses < 0) {
    fail(error, kBeforeStart, {numberText(pulses)});
    return std::nullopt;
  }
  if (pulses > kMaxPulses) {
    fail(error, kPositionTooLarge, {numberText(pulses)});
    return std::nullopt;
  }
  // The integer part of value + 0.5: the nearest whole pulse, halves up.
  const auto whole = static_cast<int64_t>(pulses + 0.5);
  return std::min<int64_t>(whole, static_cast<int64_t>(kMaxPulses));
}

std::optional<int64_t> MPosition::milliseconds(double pulses, std::string* error) const {
  if (!wholePulse(pulses, error)) return std::nullopt;
  return std::llround(tempo_.secondsAt(pulses) * 1000.0);
}

std::optional<std::string> MPosition::formatPulses(double pulses, std::string* error) const {
  const std::optional<int64_t> whole = wholePulse(pulses, error);
  if (!whole) return std::nullopt;
  return numberText(*whole);
}

std::optional<std::string> MPosition::formatBars(double pulses, std::string* error) const {
  const std::optional<int64_t> whole = wholePulse(pulses, error);
  if (!whole) return std::nullopt;
  const int64_t barNumber = signatures_.barNumberAt(*whole);
  if (barNumber < 1) {
    fail(error, kBeforeBarOne, {numberText(pulses)});
    return std::nullopt;
  }
  const MBar bar = signatures_.barAt(*whole);
  const int64_t beatLength = bar.signature != nullptr ? bar.signature->beatLength() : 480;
  const int64_t offset = *whole - bar.start;
  const int64_t inBeat = offset % beatLength;
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%lld.%lld.%lld.%lld", static_cast<long long>(barNumber),
                static_cast<long long>(offset / beatLength + 1), static_cast<long long>(inBeat / kSixteenth + 1),
                static_cast<long long>(inBeat % kSixteenth));
  return std::string(buffer);
}

std::optional<std::string> MPosition::formatSeconds(double pulses, std::string* error) const {
  const std::optional<int64_t> ms = milliseconds(pulses, error);
  if (!ms) return std::nullopt;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%lld.%03llds", static_cast<long long>(*ms / 1000),
                static_cast<long long>(*ms % 1000));
  return std::string(buffer);
}

std::optional<std::string> MPosition::formatTime(double pulses, std::string* error) const {
  const std::optional<int64_t> ms = milliseconds(pulses, error);
  if (!ms) return std::nullopt;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%lld:%02lld.%03lld", static_cast<long long>(*ms / 60000),
                static_cast<long long>(*ms % 60000 / 1000), static_cast<long long>(*ms % 1000));
  return std::string(buffer);
}

std::optional<std::string> MPosition::format(double pulses, MPositionStyle style, std::string* error) const {
  switch (style) {
    case MPositionStyle::kPulses:
      return formatPulses(pulses, error);
    case MPositionStyle::kBars:
      return formatBars(pulses, error);
    case MPositionStyle::kSeconds:
      return formatSeconds(pulses, error);
    case MPositionStyle::kTime:
      return formatTime(pulses, error);
  }
  return formatPulses(pulses, error);
}

}  // namespace vantor
