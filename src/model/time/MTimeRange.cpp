#include "model/time/MTimeRange.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "model/time/MSignatureTrack.h"

namespace vantor::MTimeRange {

namespace {

bool fail(std::string* error, std::string text) {
  if (error != nullptr) *error = std::move(text);
  return false;
}

bool allDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// A count typed in plain digits (no sign, no blanks), at most max.
bool parseCount(std::string_view text, int max, int* value) {
  if (!allDigits(text) || text.size() > 6) return false;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
  return ec == std::errc() && end == text.data() + text.size() && *value <= max;
}

}  // namespace

bool isPosition(double value) { return std::isfinite(value) && value >= 0 && value <= kMaxPosition; }

bool isLength(double value) { return std::isfinite(value) && value > 0 && value <= kMaxPosition; }

bool isExtent(double start, double length) {
  return isPosition(start) && isLength(length) && isPosition(start + length);
}

bool isOffset(double value) { return std::isfinite(value) && std::fabs(value) <= kMaxPosition; }

bool checkPlacement(double start, double length, bool keepsPoint, std::string* error) {
  if (!std::isfinite(start) || !std::isfinite(length)) return fail(error, "the position is not a number");
  if (start < 0) return fail(error, "the event would start before the start of the project");
  if (keepsPoint ? length != 0 : !isLength(length)) return fail(error, kLengthMessage);
  if (start + length > kMaxPosition) return fail(error, "the event would end beyond 2147483647, where positions end");
  return true;
}

bool isTempo(double bpm) { return bpm >= kMinBPM && bpm <= kMaxBPM; }

bool parseTempo(std::string_view text, double* bpm, std::string* error) {
  // One message for every refusal, so the range reads the same everywhere.
  const std::string refused = "bad tempo \"" + std::string(text) + "\": " + kTempoRangeMessage;
  const size_t dot = text.find('.');
  const std::string_view whole = text.substr(0, dot);
  const std::string_view fraction = dot == std::string_view::npos ? std::string_view() : text.substr(dot + 1);
  // Digits only: no sign, exponent, hexadecimal, inf or nan.
  if (!allDigits(whole) || (dot != std::string_view::npos && !allDigits(fraction))) return fail(error, refused);
  int hundredths = 0;
  if (fraction.size() > 2 || whole.size() > 3 || !parseCount(whole, 999, &hundredths)) return fail(error, refused);
  hundredths *= 100;
  for (size_t i = 0; i < 2; ++i) hundredths += (i < fraction.size() ? fraction[i] - '0' : 0) * (i == 0 ? 10 : 1);
  const double value = hundredths / 100.0;
  if (!isTempo(value)) return fail(error, refused);
  *bpm = value;
  return true;
}

double roundedTempo(double bpm) {
  if (!std::isfinite(bpm)) return bpm;
  return std::floor(bpm * 100.0 + 0.5) / 100.0;
}

std::string formatTempo(double bpm) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.2f", roundedTempo(bpm));
  return buffer;
}

bool isDenominator(int denominator) {
  return denominator >= 1 && denominator <= kMaxDenominator && (denominator & (denominator - 1)) == 0;
}

bool isNumerator(int numerator) { return numerator >= 1 && numerator <= kMaxNumerator; }

bool parseSignature(std::string_view text, uint16_t* numerator, uint16_t* denominator, std::string* error) {
  const size_t slash = text.find('/');
  int n = 0;
  int d = 0;
  if (slash == std::string_view::npos || !parseCount(text.substr(0, slash), 99999, &n) ||
      !parseCount(text.substr(slash + 1), 99999, &d)) {
    return fail(error, "bad signature \"" + std::string(text) + "\" (N/D like 3/4)");
  }
  if (!isNumerator(n)) {
    return fail(error, "bad signature \"" + std::string(text) + "\": the numerator runs from 1 to 255");
  }
  if (!isDenominator(d)) {
    return fail(error, "bad signature \"" + std::string(text) + "\": the denominator is 1, 2, 4, 8, 16, 32, 64 or 128");
  }
  *numerator = static_cast<uint16_t>(n);
  *denominator = static_cast<uint16_t>(d);
  return true;
}

bool isBarLine(const MSignatureTrackNode& track, int64_t position) { return track.barAt(position).start == position; }

}  // namespace vantor::MTimeRange
