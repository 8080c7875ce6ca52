#pragma once
// How the command line reads and shows the mixer values of tracks and the
// fades of audio events: volumes in decibels ("-6", "-6dB", "+3", "off"),
// pans in percent ("-30", "L30", "R30", "C") and fade curves by name.

#include <cstdint>
#include <optional>
#include <string>

#include "model/tree/MAutoFadeSetting.h"

namespace vantor::cli {

// A volume in hundredths of a decibel: a decimal number of decibels with an
// optional sign and "dB", rounded to hundredths, or "off" (the track's
// silent value). Numbers outside the range are returned as typed (far ones
// held at +-10^6 dB) so that the command refuses them with its message;
// nullopt when the text is no volume at all.
std::optional<int32_t> parseVolume(const std::string& text);
// A pan in percent: a whole number, Lnn (left, negative), Rnn or C. Out of
// range numbers are returned like volumes; nullopt when the text is no pan.
std::optional<int32_t> parsePan(const std::string& text);
// "-6.00 dB", "+3.00 dB", "0.00 dB" or "off".
std::string volumeText(int32_t centibels);
// "C", "L30" or "R30".
std::string panText(int32_t percent);
// linear, sine, sqrt, log, exp.
std::optional<MFadeCurve> parseFadeCurve(const std::string& text);
const char* fadeCurveName(MFadeCurve curve);

}  // namespace vantor::cli
