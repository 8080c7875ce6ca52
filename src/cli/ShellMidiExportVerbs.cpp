// Shell verb that writes the project as a Standard MIDI File.

#include <string>

#include "cli/MidiExportCommand.h"
#include "cli/ShellSession.h"
#include "document/PDocument.h"

namespace vantor::cli {

namespace {

bool exportMidi(ShellSession& s, const ShellArgs& a) {
  if (a.empty() || a.size() > 2) return s.fail("usage: export midi PATH [0|1]");
  MSmfExportOptions options;
  if (a.size() == 2) {
    if (a[1] != "0" && a[1] != "1") return s.fail("bad MIDI file type \"" + a[1] + "\" (0 or 1)");
    options.type = a[1] == "0" ? 0 : 1;
  }
  MSmfExportSummary summary;
  std::string message;
  if (!exportMidiFile(s.project(), s.document().path(), a[0], options, &summary, &message)) return s.fail(message);
  printMidiExportSummary(s.out(), a[0], options.type, summary);
  return true;
}

}  // namespace

void addMidiExportVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"export midi", "PATH [0|1]",
                   "write the project as a MIDI file of Type 1 (a tempo track, then a track per MIDI track) or 0 "
                   "(one track); a file already at PATH is replaced",
                   exportMidi});
}

}  // namespace vantor::cli
