#pragma once
// The bash completion of `vantor`, written from the program's own reference
// (cli/CliReference.h).

#include <iosfwd>

#include "cli/CliReference.h"

namespace vantor::cli {

// A script that completes subcommands, their options, and the shell's verbs
// after `edit -e`; other words complete as file names. It needs nothing but
// bash (the bash-completion package loads it by the command's name).
void writeBashCompletion(const CliReference& reference, std::ostream& out);

}  // namespace vantor::cli
