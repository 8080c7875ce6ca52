#pragma once
// The undoable side of "Import MIDI": the tracks and the tempo and signature
// map an MSmfImporter built, put into a project as one action.
//
// The project's tempo map: when the file carries tempo changes, they rule
// from the import position on. The project's changes before that position
// stay, those at or after it are replaced by the file's (which start at the
// import position: an implicit 120 BPM when the file's first change comes
// later, as the format has it). A file without tempo changes leaves the
// tempo map alone. Signatures are treated the same way. Undo restores both
// maps exactly.

#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "midi/smf/MSmfImporter.h"
#include "model/tree/MDataNode.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MMidiQuantize;
class MProject;
struct MQuantizeSettings;

// Replaces every event of a node (the tempo or the signature track) by a
// given list, in one step; undo puts the former list back. Events kept in
// both lists are the same objects, so nothing else moves. "Replace Events".
class MReplaceEventsCommand : public MExchangeCommand {
  VANTOR_CLASS(MReplaceEventsCommand)
 public:
  MReplaceEventsCommand() = default;
  MReplaceEventsCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events);

  std::string description() const override { return "Replace Events"; }
  size_t heldBytes() const override;

 protected:
  bool exchange() override;

 private:
  FRef<MDataNode> node_;
  std::vector<FRef<MEvent>> events_;
};

// "Import MIDI": adds the imported tracks after the project's tracks and
// applies the file's tempo and signature map at position (pulses). When
// settings.autoQuantize is on, every new part is quantized with setting
// first, on the bars the project will have after the import (the notes
// keep their imported places as initial ones). The import is consumed.
FRef<MCommand> makeImportMidiCommand(MProject& project, MSmfImport& import, double position,
                                     const MMidiQuantize& setting, const MQuantizeSettings& settings);

}  // namespace vantor
