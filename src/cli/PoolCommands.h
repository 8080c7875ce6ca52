#pragma once
// The pool on the command line:
//   `vantor import-audio FILE.vpr IN... [--copy] [--convert] [--track NAME
//    --at POSITION] [--json]`: enters audio files in the project's pool
//    (one undoable action) and, with --track, places them on that audio
//    track one after the other from POSITION; then saves.
//   `vantor pool FILE.vpr [--json] [--missing] [--remove-unused]`: lists the
//    pool's clips and its information line; --remove-unused removes the
//    clips no event uses and saves.
//   `vantor regions FILE.vpr CLIP [--json]`: lists a clip's regions.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addPoolCommands(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
