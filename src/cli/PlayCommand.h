#pragma once
// `vantor play FILE.vpr [--from POSITION] [--to POSITION] [--cycle] [--click]
// [--soundfont FILE|default] [--server NAME] [--json]`: plays a project's
// range through the running JACK server into the system's playback ports.
//
// On a terminal, space stops and starts and `q` (or Ctrl-C) quits; the
// position shows on one line of stderr. Reaching the end stops playback
// and goes back to the start of the range. Without a terminal it returns
// at the end of the range; with --cycle, once the loop has played through
// one whole pass (from --from to the right locator, then the locators'
// range once more), so that a script hears the wrap once and finishes.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addPlayCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
