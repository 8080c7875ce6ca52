#pragma once
// The `vantor` command line: subcommands in the manner of git, --help on
// every level; exit 0 on success, 1 on a data error, 2 on a usage error.

#include <iosfwd>

namespace vantor::cli {

// terminal: where a person types the answers to questions (a write-protected
// target, "Replace original or create new file?", ...); nullptr runs as a
// script, where every question takes its default.
int runCli(int argc, char** argv, std::ostream& out, std::ostream& err, std::istream* terminal = nullptr);

}  // namespace vantor::cli
