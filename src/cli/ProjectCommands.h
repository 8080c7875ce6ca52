#pragma once
// `vantor new`, `vantor info`, `vantor time` and `vantor demo`: create a
// project, describe one, convert positions through one, and the main job
// that builds, saves and shows a small project of its own.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addProjectCommands(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
