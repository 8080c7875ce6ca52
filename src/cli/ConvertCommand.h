#pragma once
// `vantor convert IN OUT [--format wav|aiff|aifc|sd2] [--bits 16|24|32f]
// [--rate HZ] [--no-dither] [--json]`: an audio file copied into another
// container, sample width or sample rate, with its cue entries and
// broadcast attributes.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addConvertCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
