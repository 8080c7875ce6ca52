#pragma once
// `vantor new`, `vantor info` and `vantor time`: create a project, describe
// one, and convert positions through one.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addProjectCommands(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
