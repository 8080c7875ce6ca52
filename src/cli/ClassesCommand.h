#pragma once
// `vantor classes [--json]`: every registered class with its base, version
// and stored name, each concrete one created by name to prove it can be.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addClassesCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
