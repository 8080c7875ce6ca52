#pragma once
// `vantor history FILE.vpr CLIP [--remove N | --modify N | --replace N
// PROCESS | --freeze] [--param "KEY=VALUE" ...] [--json]`: lists the
// offline process history of a pool clip, or changes it (entries numbered
// from 1) and saves the project. Removing, modifying and replacing run the
// later entries again; freezing renders the clip into one file and clears
// the history. The questions before each change are answered by --yes in
// scripts.

#include <CLI/CLI.hpp>

#include "cli/CliContext.h"

namespace vantor::cli {

void addHistoryCommand(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
