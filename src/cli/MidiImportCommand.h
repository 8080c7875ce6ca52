#pragma once
// "Import MIDI" on the command line: `vantor import-midi FILE.vpr IN.mid
// [--at POSITION] [--json]`, and the step both it and the shell's `import
// midi` verb run.

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>

#include "cli/CliContext.h"
#include "midi/smf/MSmfImporter.h"

namespace vantor::cli {

class ShellSession;

// What an import put into the project.
struct MidiImportSummary {
  size_t tracks = 0;
  MSmfImportCounts counts;
  size_t tempos = 0;
  size_t signatures = 0;
};

// Reads the MIDI file at path and performs "Import MIDI" at position
// (pulses) in session as one undoable step. False when the file cannot be
// read or imported: the error has been printed and the project is as it
// was.
bool runMidiImport(ShellSession& session, const std::string& path, double position, MidiImportSummary* summary);

// One line for people: "Imported 3 tracks (1200 events), 2 tempo changes,
// 1 signature from \"IN.mid\"".
std::string describeMidiImport(const MidiImportSummary& summary, const std::string& path);

void addMidiImportCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
