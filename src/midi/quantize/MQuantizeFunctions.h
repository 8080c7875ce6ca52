#pragma once
// The MIDI functions of quantize, applied to the notes of MIDI parts:
// "Quantize", "Iterative Quantize", "Quantize Lengths", "Quantize Ends",
// "Undo Quantize" and "Freeze Quantize", the "Auto Quantize" switch for
// freshly imported parts, and the presets of quantize settings.
//
// Notes hold part-relative pulses; a part's content origin (its start minus
// its offset, MPartEvent::getContentOrigin) turns them into project pulses
// so that the grid follows the project's bars. Every function works from a
// note's initial position (start + initial start offset), so quantizing
// twice gives what quantizing once gave, and "Undo Quantize" can always
// return a note to where it was recorded.
//
// Choices of this implementation:
//  - "Quantize Lengths" rounds the initial length to the nearest whole
//    number of grid steps (halfway goes down), at least one step.
//  - "Quantize Ends" moves the end (current start + initial length) to the
//    nearest grid point of its bar; the length stays at least one step.
//  - The grid step of a groove pattern, for those two, is a sixteenth note.
//  - The random amount takes its numbers from a seeded generator (the
//    seed travels in the settings), so that tests and scripts repeat.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FRef.h"
#include "midi/quantize/MGridQuantize.h"
#include "midi/quantize/MNoteQuantizeCommand.h"

namespace vantor {

class MBarSource;
class MCommand;
class MMidiPart;

// The MIDI settings quantize reads, handed in by the caller (the document
// layer keeps them as preferences).
struct MQuantizeSettings {
  // "Non Quantize": notes closer to their new place than this many pulses
  // stay; never below kMinTolerance.
  double nonQuantize = 0.0;
  // "Random Quantize": a uniform offset of up to this many pulses either
  // way after "Quantize"; 0 is off.
  int32_t randomAmount = 0;
  // "Iterative Strength": the fraction of the way to the grid that
  // "Iterative Quantize" moves a note.
  float iterativeStrength = 0.6f;
  // Seed of the random offsets.
  uint32_t seed = 1;
  // "Auto Quantize": quantize MIDI parts as they are imported.
  bool autoQuantize = false;
};

// Notes nearer than this to their new place never move.
constexpr double kMinTolerance = 1e-05;

enum class MQuantizeFunction { kQuantize, kIterative, kLengths, kEnds, kUndo, kFreeze };

// The function's name as menus show it ("Quantize", "Iterative Quantize",
// "Quantize Lengths", "Quantize Ends", "Undo Quantize", "Freeze Quantize");
// also the description of its undo step.
const char* quantizeFunctionName(MQuantizeFunction function);

// The pseudo-random numbers of "Random Quantize": 0 to 32767, the same
// sequence for the same seed on every platform.
class MQuantizeRandom {
 public:
  explicit MQuantizeRandom(uint32_t seed) : state_(seed) {}
  int next();

 private:
  uint32_t state_;
};

// One part to work on: its notes, where its positions count from on the
// project's time line, and whether only its selected notes are taken.
struct MQuantizePart {
  MMidiPart* part = nullptr;
  double origin = 0.0;
  bool selectedOnly = false;
};

// The new values of every note of part that function changes, appended to
// *out in the part's order. Notes whose place would change by less than the
// tolerance are left out.
void collectQuantizeValues(MQuantizeFunction function, const MQuantizePart& part, const MMidiQuantize& setting,
                           const MBarSource& bars, const MQuantizeSettings& settings, MQuantizeRandom& random,
                           std::vector<MNoteValues>* out);

// The one undoable action that applies function to every note of parts:
// an MNoteFreezeCommand for kFreeze, an MNoteQuantizeCommand otherwise.
// nullptr when no note would change. *changed (if given) receives the
// number of notes the action changes.
FRef<MCommand> makeQuantizeCommand(MQuantizeFunction function, const std::vector<MQuantizePart>& parts,
                                   const MMidiQuantize& setting, const MBarSource& bars,
                                   const MQuantizeSettings& settings, size_t* changed = nullptr);

// "Auto Quantize": for the MIDI-file importer, on a part it has just built
// and not yet put into a project (so there is nothing to undo). When
// settings.autoQuantize is on, applies "Quantize" to every note of part in
// place, keeping each note's imported position as its initial one (so
// "Undo Quantize" returns to it), with origin the project pulse where the
// part's content will start. Returns the number of notes moved (0 when the
// switch is off).
size_t autoQuantizeImported(MMidiPart& part, double origin, const MMidiQuantize& setting, const MBarSource& bars,
                            const MQuantizeSettings& settings);

// A named quantize setting of the presets list.
struct MQuantizePreset {
  int16_t grid;
  int16_t type;
  int16_t tuplet;
  double swing;
};

// A grid setting's name in the list forms: "1/%d Note" (straight), "1/%d %s"
// with "Triplet" or "Dotted", then " %d-let" for a tuplet and " Sw-%d%%"
// for swing ("1/16 Note", "1/8 Triplet", "1/16 Note Sw-50%").
std::string quantizeName(const MGridQuantize& setting);
// The presets, in list order: the straight notes 1/1 to 1/64, the
// triplets 1/2 to 1/32, the dotted 1/2 to 1/32, quintuplet sixteenths and
// swung eighths and sixteenths.
const std::vector<MQuantizePreset>& quantizePresets();
// The preset named name (as quantizeName writes it); nullptr when none.
FRef<MGridQuantize> quantizePreset(std::string_view name);

}  // namespace vantor
