#pragma once
// "Import Medium...": entering audio files in the pool. Each file is read
// through the file handlers (a file none reads is refused with "Error:
// Invalid or unsupported file!"), copied into the project folder's audio
// folder when the options say so, and entered as a clip of its whole
// length, named after the file.
//
// The preference "On Import Audiofile" decides the options: "Do Nothing"
// leaves the files where they are, "Copy to Project Folder" copies them,
// "Copy and Convert" copies them and converts those whose format differs
// from the project's, and "Open Options Dialog" asks the user ("Copy File
// to Working Directory", "Convert if needed").
//
// All or nothing: when one file fails, the user is told why, the copies
// already made are deleted and no command results.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

enum class PImportAction { kDoNothing = 0, kOpenOptionsDialog = 1, kCopyToProjectFolder = 2, kCopyAndConvert = 3 };

// The choice's text ("Do Nothing", "Open Options Dialog", "Copy to Project
// Folder", "Copy and Convert") and back; nullopt for an unknown text.
const char* importActionName(PImportAction action);
std::optional<PImportAction> importActionFromName(std::string_view name);

struct PImportOptions {
  bool copy = false;       // "Copy File to Working Directory"
  bool convert = false;    // "Convert if needed": to the project's rate and sample size
  double projectRate = 0;  // Hz; 0 takes each file's own
  int projectBits = 0;     // 0 takes each file's own
};

// The options the preference's choice stands for; "Open Options Dialog"
// asks through messages (per option, "Yes" or "No"). fileCount chooses
// "Copy File..." or "Copy Files to Working Directory".
PImportOptions importOptionsFor(PImportAction action, FUserMessages& messages, size_t fileCount);

// The folder media are copied to: "Audio" in the working directory.
std::string audioFolderOf(const PAudioPool& pool);

// Prepares the import of paths into pool: reads, copies and converts the
// files and returns the "Import Medium" command that enters their clips in
// folder (the root when null), or nullptr after telling the user why.
FRef<MCommand> makeImportMediumCommand(PAudioPool& pool, const std::vector<std::string>& paths,
                                       const PImportOptions& options, GTreeEntry* folder, FUserMessages& messages);

// A clip for the audio file at path as it lies (no copy): its cluster
// holds the file's record and description. nullptr with the system's
// message in *error when no handler reads it.
FRef<PAudioClip> makeClipOfFile(const std::string& path, std::string* error);

}  // namespace vantor
