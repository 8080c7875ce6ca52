#include "cli/MixerText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "model/tree/MTrackEvent.h"

namespace vantor::cli {

namespace {

// A decimal number without exponent, with an optional leading sign.
std::optional<double> decimal(std::string text) {
  bool negative = false;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    text.erase(0, 1);
  }
  if (text.empty() || text[0] == '-' || text[0] == '+') return std::nullopt;
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  if (end != text.data() + text.size() || (ec != std::errc() && ec != std::errc::result_out_of_range)) {
    return std::nullopt;
  }
  if (ec == std::errc::result_out_of_range) value = 1e300;
  if (!std::isfinite(value)) return std::nullopt;
  return negative ? -value : value;
}

bool endsWithDb(const std::string& text) {
  if (text.size() < 2) return false;
  const char d = text[text.size() - 2];
  const char b = text[text.size() - 1];
  return (d == 'd' || d == 'D') && (b == 'b' || b == 'B');
}

int32_t held(double value, double scale) {
  const double limited = std::fmax(-1e6, std::fmin(1e6, value));
  return static_cast<int32_t>(std::lround(limited * scale));
}

}  // namespace

std::optional<int32_t> parseVolume(const std::string& text) {
  if (text == "off") return MTrackAttribute::kVolumeOff;
  auto value = decimal(endsWithDb(text) ? text.substr(0, text.size() - 2) : text);
  if (!value) return std::nullopt;
  return held(*value, 100.0);
}

std::optional<int32_t> parsePan(const std::string& text) {
  if (text == "C" || text == "c") return 0;
  double sign = 1;
  std::string number = text;
  if (!text.empty() && (text[0] == 'L' || text[0] == 'l' || text[0] == 'R' || text[0] == 'r')) {
    sign = text[0] == 'L' || text[0] == 'l' ? -1 : 1;
    number = text.substr(1);
    if (number.empty() || number[0] == '-' || number[0] == '+') return std::nullopt;
  }
  auto value = decimal(number);
  if (!value || *value != std::floor(*value)) return std::nullopt;
  return held(sign * *value, 1.0);
}

std::string volumeText(int32_t centibels) {
  if (centibels <= MTrackAttribute::kVolumeOff) return "off";
  char text[32];
  std::snprintf(text, sizeof text, "%+.2f dB", centibels / 100.0);
  return centibels == 0 ? "0.00 dB" : text;
}

std::string panText(int32_t percent) {
  if (percent == 0) return "C";
  return (percent < 0 ? "L" : "R") + std::to_string(percent < 0 ? -percent : percent);
}

std::optional<MFadeCurve> parseFadeCurve(const std::string& text) {
  for (MFadeCurve curve : {MFadeCurve::kLinear, MFadeCurve::kSine, MFadeCurve::kSquareRoot, MFadeCurve::kLogarithmic,
                           MFadeCurve::kExponential}) {
    if (text == fadeCurveName(curve)) return curve;
  }
  return std::nullopt;
}

const char* fadeCurveName(MFadeCurve curve) {
  switch (curve) {
    case MFadeCurve::kSine:
      return "sine";
    case MFadeCurve::kSquareRoot:
      return "sqrt";
    case MFadeCurve::kLogarithmic:
      return "log";
    case MFadeCurve::kExponential:
      return "exp";
    default:
      return "linear";
  }
}

}  // namespace vantor::cli
