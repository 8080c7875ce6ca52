#pragma once
// `vantor convert IN OUT [--format wav|aiff|aifc] [--bits 16|24|32f]`: an
// audio file copied into another container or sample width, with its cue
// entries and broadcast attributes. No sample-rate conversion.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addConvertCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
