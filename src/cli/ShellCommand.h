#pragma once
// `vantor shell FILE`: a session of edit lines with undo, from a terminal
// (with a prompt) or from standard input; `vantor edit FILE -e LINE...`: the
// same lines in one go, saved only when every line succeeded.

#include <CLI/CLI.hpp>

#include <istream>

#include "cli/CliContext.h"

namespace vantor::cli {

void addShellCommands(CLI::App& app, CliContext& context, std::istream& in, int* exitCode);

}  // namespace vantor::cli
