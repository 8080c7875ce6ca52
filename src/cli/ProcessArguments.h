#pragma once
// What `vantor process` and `vantor history` share: finding a clip of the
// project's pool, a process by name, and parameters given as
// --param "KEY=VALUE" (the key is the parameter's stored name, e.g.
// "Gain=6" or "Echo length=120"; a choice takes its name or number).

#include <string>
#include <vector>

#include "audio/pool/PAudioClip.h"
#include "audio/process/PAudioProcess.h"
#include "cli/CliContext.h"

namespace vantor {
class MProject;
class PDocument;
}  // namespace vantor

namespace vantor::cli {

// The clip named text (or, for a number, with that pool ID); reports
// "there is no clip ..." and returns nullptr otherwise.
PAudioClip* findClip(CliContext& context, const MProject& project, const std::string& text);

// A process by class name ("PGain") or display name ("Gain", any case);
// nullptr with *error naming the processes when none matches.
FRef<PAudioProcess> findProcess(const std::string& name, std::string* error);

// Sets each "KEY=VALUE" on process; false with the reason in *error.
[[nodiscard]] bool applyParameters(PAudioProcess& process, const std::vector<std::string>& parameters,
                                   std::string* error);

// The parameter list of process for --help texts and errors: "Gain (dB, -96
// to 48, default 0), ...".
std::string describeParameters(const PAudioProcess& process);

// Where results of processes are written: the project's working
// directory, or the folder of its file when that is missing.
std::string resultFolder(const PDocument& document);

// "Replace original or create new file?". A process never changes a file:
// "Replace" processes the clip itself (its history gains an entry), "New
// File" processes a new version of it and leaves the clip as it was.
// --replace or --new-version answer it; otherwise the user is asked, and a
// script takes "Replace". True for "New File".
bool wantsNewFile(FUserMessages& messages, bool replace, bool newVersion);

// A progress line on stderr ("Processing 42%") when it is a terminal.
std::function<void(double)> terminalProgress(CliContext& context);

}  // namespace vantor::cli
