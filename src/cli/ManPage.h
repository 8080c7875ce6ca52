#pragma once
// The man page vantor(1), written in roff from the program's own reference
// (cli/CliReference.h) and the hand-written page docs/vantor.1.in.

#include <iosfwd>
#include <string>
#include <string_view>

#include "cli/CliReference.h"

namespace vantor::cli {

// templateText is the hand-written page, in which @VERSION@ (anywhere) and
// the lines @OPTIONS@, @SUBCOMMANDS@, @SHELL_VERBS@ and @SETTINGS@ are
// replaced by the generated sections.
void writeManPage(const CliReference& reference, std::string_view templateText, std::ostream& out);

// Text as roff shows it literally: backslashes, minus signs and a leading
// control character escaped.
std::string roffText(std::string_view text);

}  // namespace vantor::cli
