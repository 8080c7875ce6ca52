#pragma once
// Quantize from the command line: the options that `vantor quantize` and the
// shell's quantize verbs share, and the run that applies a function to
// every note of the chosen MIDI tracks as one undoable action.
//
//   --track NAME|INDEX   a track to work on (repeatable; default: every
//                        MIDI track)
//   --grid 1/N           the grid note, N a power of two 1..128 (1/16)
//   --type straight|triplet|dotted
//   --tuplet N           2..64; 1 is none
//   --swing PERCENT      0..100 (default: the "quantizeSwing" setting)
//   --magnetic PERCENT   the magnetic area, 0..100 % of a grid step
//   --random TICKS       0..480 (default: "Random Quantize")
//   --seed N             seed of the random offsets (default 1)
//   --iterative PERCENT  "Iterative Quantize" at this strength
//   --lengths | --ends | --undo | --freeze   the other functions
//
// Without --grid, --type, --tuplet and --swing the grid is the session's
// current quantize (`quantize set`, the "Quantize" preference); with any
// of them, the values not given are the defaults shown.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/ShellSession.h"
#include "midi/quantize/MQuantizeFunctions.h"

namespace vantor::cli {

struct QuantizeRequest {
  MQuantizeFunction function = MQuantizeFunction::kQuantize;
  std::vector<std::string> tracks;
  int16_t grid = 4;
  int16_t type = MGridQuantize::kStraight;
  int16_t tuplet = 1;
  std::optional<double> swing;  // fraction
  double magnetic = 0.0;        // fraction of a step
  std::optional<int32_t> random;
  uint32_t seed = 1;
  std::optional<float> strength;  // fraction
  bool gridGiven = false;         // one of --grid, --type, --tuplet, --swing
};

// Reads the options above from args into *request (which may come preset
// with a function). False with *error in words for the user on an unknown
// option, a missing or malformed value, or two functions.
bool parseQuantizeOptions(const ShellArgs& args, QuantizeRequest* request, std::string* error);

// The grid of the session's current quantize; a preset without swing of
// its own takes the "quantizeSwing" setting.
MGridQuantize currentGrid(ShellSession& session);

// Applies the request to the project of session as one undoable action
// (nothing is recorded when no note changes). *changed receives the number
// of notes changed. False (with the error printed) when a track is unknown
// or not a MIDI track, or the action was refused.
bool runQuantize(ShellSession& session, const QuantizeRequest& request, size_t* changed);

}  // namespace vantor::cli
