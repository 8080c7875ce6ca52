#pragma once
// `vantor quantize FILE [options]`: a quantize function on every note of the
// chosen MIDI tracks, as one undoable action, saved when it succeeded.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addQuantizeCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
