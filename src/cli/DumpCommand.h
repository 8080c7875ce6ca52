#pragma once
// `vantor dump FILE [--json]`: the roots of a project file, each archive's
// header and class table, and the tree of its object records.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addDumpCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
