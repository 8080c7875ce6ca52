#pragma once
// `vantor process FILE.vpr CLIP PROCESS [--param "KEY=VALUE" ...]
// [--from FRAME] [--to FRAME | --region NAME ...] [--new-version] [--add-regions]
// [--add-events TRACK] [--strip-silence] [--json]`:
// runs an offline process over a range of a pool clip, writes the result as
// a new file in the project's folder, enters it in the clip's history and
// saves the project. --region processes each named region of the clip in
// one action; regions that share frames are asked about ("Skip Doubles"
// processes every frame once, "Cancel" nothing). An analysis ("Compute DC Offset", "Detect Silence")
// prints what it found; Detect Silence with --add-regions adds its regions
// to the clip, --add-events also places them on a track, --strip-silence
// keeps only them in the events that play it.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addProcessCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
