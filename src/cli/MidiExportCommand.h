#pragma once
// `vantor export-midi FILE OUT.mid [--type 0|1] [--include-muted] [--json]`:
// a project written as a Standard MIDI File ("Export Midi File"), and the
// safe write that the shell's `export midi` shares with it.

#include <CLI/CLI.hpp>

#include <iosfwd>
#include <string>

#include "cli/CliContext.h"
#include "midi/smf/MSmfExporter.h"

namespace vantor {
class MProject;
}

namespace vantor::cli {

void addMidiExportCommand(CLI::App& app, CliContext& context, int* exitCode);

// Writes project to path as a MIDI file. An existing file is replaced only
// by a complete new one (written beside it, synced, renamed over it), so a
// failed export leaves it byte for byte; the project's own file
// (projectPath, may be empty) is never replaced. False with *message
// ("Can not write MIDI file "PATH" !" and the reason on the next line).
[[nodiscard]] bool exportMidiFile(const MProject& project, const std::string& projectPath, const std::string& path,
                                  const MSmfExportOptions& options, MSmfExportSummary* summary, std::string* message);

// `Type 1 MIDI file "OUT.mid": 3 tracks, 27 events` and a line break.
void printMidiExportSummary(std::ostream& out, const std::string& path, int type, const MSmfExportSummary& summary);

}  // namespace vantor::cli
