#pragma once
// The `vantor` command line: subcommands in the manner of git, --help on
// every level; exit 0 on success, 1 on a data error, 2 on a usage error.

#include <iosfwd>

namespace vantor::cli {

int runCli(int argc, char** argv, std::ostream& out, std::ostream& err);

}  // namespace vantor::cli
