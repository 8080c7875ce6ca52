#pragma once
// The commands behind the quantize functions. Each holds, per note, the
// four values that quantize touches: start, length, and the initial start
// and length offsets (the note's initial start is start + initial start
// offset, its initial length length + initial length offset). Performing
// exchanges them with the note's, so the next exchange undoes exactly.
//
// What the functions store:
//  - "Quantize", "Iterative Quantize": the new start, and the offset that
//    keeps the initial start where it was; length unchanged.
//  - "Quantize Lengths", "Quantize Ends": the new length, and the length
//    offset that keeps the initial length; start unchanged.
//  - "Undo Quantize": start and length at their initial values, offsets 0.
//  - "Freeze Quantize" (MNoteFreezeCommand): start and length as they are,
//    offsets 0, so the current place becomes the initial one.
//
// One command carries every note of one action, in any number of parts:
// the starts are changed in place and each part is put back in order once
// (MAccessor::reorder), so a part of a million notes quantizes and undoes
// in O(n log n), where one move per note would shift the part's event
// array for each note.

#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "midi/events/MMidiNote.h"
#include "model/undo/MCommand.h"

namespace vantor {

// One note and the values to give it.
struct MNoteValues {
  FRef<MMidiNote> note;
  double start = 0;
  double length = 0;
  double initialStartOffset = 0;
  double initialLengthOffset = 0;
};

// The values a note has now.
MNoteValues currentValues(MMidiNote& note);

// What both note commands share. Not a class of its own in the registry.
class MNoteValuesCommand : public MExchangeCommand {
 public:
  size_t count() const { return notes_.size(); }
  const std::vector<MNoteValues>& notes() const { return notes_; }
  size_t heldBytes() const override;

 protected:
  MNoteValuesCommand() = default;
  explicit MNoteValuesCommand(std::vector<MNoteValues> notes) : notes_(std::move(notes)) {}
  // Refuses when a note is missing, outside a part, named twice, or its
  // controller refuses the edit (an edit-locked note); then exchanges.
  bool doPerform() override;
  // All or nothing: false, with nothing changed, when a note's part gives
  // no write accessor.
  bool exchange() override;

 private:
  std::vector<MNoteValues> notes_;
};

// Moves or sizes notes for "Quantize", "Iterative Quantize", "Quantize
// Lengths", "Quantize Ends" and "Undo Quantize" (the description).
class MNoteQuantizeCommand : public MNoteValuesCommand {
  VANTOR_CLASS(MNoteQuantizeCommand)
 public:
  MNoteQuantizeCommand() = default;
  MNoteQuantizeCommand(std::string description, std::vector<MNoteValues> notes)
      : MNoteValuesCommand(std::move(notes)), description_(std::move(description)) {}
  std::string description() const override { return description_.empty() ? "Quantize" : description_; }

 private:
  std::string description_;
};

// Makes the notes' current places their initial ones. "Freeze Quantize".
class MNoteFreezeCommand : public MNoteValuesCommand {
  VANTOR_CLASS(MNoteFreezeCommand)
 public:
  MNoteFreezeCommand() = default;
  explicit MNoteFreezeCommand(std::vector<MNoteValues> notes) : MNoteValuesCommand(std::move(notes)) {}
  std::string description() const override { return "Freeze Quantize"; }
};

}  // namespace vantor
