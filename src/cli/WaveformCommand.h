#pragma once
// `vantor waveform IN -o OUT.png [--width W] [--height H] [--regions
// [detection options of detect-silence]] [--json]`: a PNG picture of an
// audio file's waveform, one lane per channel, with the regions that
// silence detection finds tinted.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addWaveformCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
