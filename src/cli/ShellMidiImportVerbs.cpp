// The shell verb `import midi IN.mid [POSITION]`: "Import MIDI" as one
// undoable step of the session.

#include <ostream>

#include "cli/MidiImportCommand.h"
#include "cli/ShellSession.h"

namespace vantor::cli {

namespace {

bool importMidi(ShellSession& s, const ShellArgs& a) {
  if (a.empty() || a.size() > 2) return s.fail("usage: import midi FILE [POSITION]");
  double position = 0;
  if (a.size() > 1) {
    const auto at = s.position(a[1]);
    if (!at) return false;
    position = *at;
  }
  MidiImportSummary summary;
  if (!runMidiImport(s, a[0], position, &summary)) return false;
  s.out() << describeMidiImport(summary, a[0]) << "\n";
  return true;
}

}  // namespace

void addMidiImportVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"import midi", "FILE [POSITION]",
                   "import a MIDI file: a MIDI track per file track, its tempo and signatures from POSITION on",
                   importMidi});
}

}  // namespace vantor::cli
