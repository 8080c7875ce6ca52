#pragma once
// `vantor render FILE.vpr -o OUT.wav [--from POSITION --to POSITION |
// --cycle] [--rate HZ] [--bits 16|24|32f] [--soundfont FILE.sf2|default]
// [--click] [--normalize LUFS] [--json]`: the project mixed down to a
// stereo WAVE or AIFF file.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addRenderCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
