#pragma once
// `vantor detect-silence IN [--open DB] [--close DB] [--min-open MS]
// [--min-closed MS] [--pre-roll MS] [--post-roll MS] [--mode raw|smoothed]
// [--json]`: the loud stretches of an audio file as regions of frames,
// read block by block.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addDetectSilenceCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
