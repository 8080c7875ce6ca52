#pragma once
// The ranges of musical time that every edit keeps, in one place. Commands
// check their results against them (and refuse, changing nothing), the
// position parser refuses text outside them, and a front end may ask them
// first to explain a refusal in words. Files from elsewhere may hold values
// outside these ranges: they still open and keep them; only edits are held
// to the ranges.
//
//   positions  [0, 2147483647] in the unit of the node that holds the event
//              (pulses in the musical domain, seconds in the linear one);
//              an event's end (start + length) is a position too.
//   lengths    a length that an edit sets is above 0: an event with an
//              extent never shrinks to nothing, and `part add` and `size`
//              keep the same rule. Events that mark a point (plain markers,
//              tracks, tempo and signature changes) have length 0; moving
//              or inserting one keeps it 0.
//   offsets    finite, at most 2147483647 either way.
//   tempo      1 to 999.99 BPM, typed and shown in hundredths of a BPM.
//   signatures numerator 1 to 255; denominator a power of two from 1 to
//              128 (each divides the whole note of 1920 pulses exactly, so
//              every beat is a whole number of pulses).

#include <cstdint>
#include <string>
#include <string_view>

namespace vantor {

class MSignatureTrackNode;

namespace MTimeRange {

inline constexpr double kMaxPosition = 2147483647.0;
inline constexpr double kMinBPM = 1.0;
inline constexpr double kMaxBPM = 999.99;
inline constexpr int kMaxNumerator = 255;
inline constexpr int kMaxDenominator = 128;

// The messages of the rules, in the system's words.
inline constexpr char kTempoRangeMessage[] =
    "the tempo must lie between 1 and 999.99 BPM, in hundredths at most (like 120 or 96.25)";
inline constexpr char kLengthMessage[] = "a length must be above 0";

// A finite value in [0, kMaxPosition].
bool isPosition(double value);
// A finite value in (0, kMaxPosition].
bool isLength(double value);
// start is a position, length a length, and the end a position.
bool isExtent(double start, double length);
// A finite value in [-kMaxPosition, kMaxPosition].
bool isOffset(double value);

// True when an edit may place an event at start with length (the event's
// current length when the edit keeps it): false with a message in *error
// (when given) naming what breaks the range. keepsPoint: the event has no
// extent (length 0) and keeps none.
[[nodiscard]] bool checkPlacement(double start, double length, bool keepsPoint, std::string* error);

// Tempo in BPM within [kMinBPM, kMaxBPM] (NaN is not).
bool isTempo(double bpm);
// BPM typed as "140" or "96.25" (digits with at most two decimals, the
// hundredths that the tempo interface works in): false with a message in
// *error (ending in kTempoRangeMessage) for other text or a value out of
// range.
[[nodiscard]] bool parseTempo(std::string_view text, double* bpm, std::string* error);
// "140.00": a tempo in BPM rounded to hundredths, as people read it.
std::string formatTempo(double bpm);
// The tempo rounded to hundredths, as a number ("bpm" in JSON output).
double roundedTempo(double bpm);

// A denominator a user may give: a power of two from 1 to kMaxDenominator.
bool isDenominator(int denominator);
bool isNumerator(int numerator);
// A time signature typed as "N/D": false with a message in *error for other
// text or values outside the rules above.
[[nodiscard]] bool parseSignature(std::string_view text, uint16_t* numerator, uint16_t* denominator,
                                  std::string* error);

// True when position lies on a bar line of track (the first pulse of the
// bar that holds it). A new signature must start on one.
bool isBarLine(const MSignatureTrackNode& track, int64_t position);

}  // namespace MTimeRange
}  // namespace vantor
