#pragma once
// `vantor demo PROJECT.vpr [--force] [--json]`: the main job. Builds the
// demonstration project (cli/DemoProject.h), renders it with the built-in
// synthesizer to PROJECT.wav beside it, draws the render's waveform into
// PROJECT.png, saves the project, and shows the project, the render's
// loudness and where each file is. The voice it synthesizes goes to
// Audio/Demo Voice.wav in the project's folder. Existing files (project,
// render, picture, voice) are replaced only with --force; a failure removes
// the files this run made and leaves the project unsaved.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addDemoCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
