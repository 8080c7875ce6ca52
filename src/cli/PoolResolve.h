#pragma once
// "Find Missing Files..." for `vantor pool --resolve` and the shell verbs
// `pool resolve` and `pool locate`: the pool's missing paths go to the
// resolver, the locates the user typed come first, then the search under
// a folder through the path filter table; what was found is relinked as
// one undoable step.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "audio/pool/PPathFilterTable.h"
#include "audio/pool/PRelinkFilesCommand.h"
#include "cli/ShellSession.h"

namespace vantor::cli {

// "FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]": the filter runs to the first
// "=", the translation to the first ":" after it (so a filter may hold a
// drive letter, "C:\Audio=/mnt/audio:1"); the counts are 0 to 64. False
// with *error for any other text.
[[nodiscard]] bool parsePathFilter(const std::string& text, PPathFilter* out, std::string* error);

// "MISSING=NEWPATH", split at the first "=".
[[nodiscard]] bool parseLocate(const std::string& text, std::pair<std::string, std::string>* out);

struct ResolveRequest {
  // What the user located: a missing path, or a clip with one missing file
  // (by name or pool ID), and the file's new path.
  std::vector<std::pair<std::string, std::string>> locates;
  std::optional<std::string> folder;  // where to search, when at all
  PPathFilterTable filters;
};

struct ResolveOutcome {
  std::vector<std::pair<std::string, std::string>> relinked;  // missing path, new path
  std::vector<PRelinkRefusal> refused;
  std::vector<std::string> stillMissing;
  bool changed = false;  // the relink command was performed
};

// Runs request on the session's pool. False, with the error printed and
// nothing changed, when a locate names no missing file, a located file is
// refused, the folder cannot be read or the command fails. Files that the
// relink refuses are not failures: they are in outcome->refused and stay
// missing.
bool resolveMissingFiles(ShellSession& session, const ResolveRequest& request, ResolveOutcome* outcome);

// The outcome for people: "PATH -> NEWPATH" per relinked file, "refused:
// REASON" per refusal, "still missing: PATH" per file still missing, or
// "all files resolved!" when none is.
void printResolveOutcome(std::ostream& out, const ResolveOutcome& outcome);

}  // namespace vantor::cli
