#pragma once
// The checks and questions before a change of a clip's edit history, in
// the system's words. Each function reports a refusal through messages (as
// an error) and asks its question there; it returns the command to perform,
// or nullptr when the change was refused or the user said no. Nothing is
// changed before the command is performed.

#include <cstddef>
#include <string>

#include "audio/pool/PAudioClip.h"
#include "audio/process/PAudioProcess.h"
#include "audio/process/PEditHistory.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

// The clip's history, or nullptr when it has none (or an empty one).
const PEditHistory* editHistoryOf(const PAudioClip& clip);

// The process of entry index with its stored parameters (to be changed for
// a modification); nullptr when there is no such entry or process.
FRef<PAudioProcess> entryProcess(const PAudioClip& clip, size_t index);

// Asks `Are you sure you want to remove "%s" ?`; "Remove not possible."
// for an entry that does not exist; "File has not been edited!" for a clip
// without history.
FRef<MCommand> prepareRemove(FRef<PAudioClip> clip, size_t index, const std::string& folder, FUserMessages& messages);
// modified: entryProcess() with other parameters. "Modification of a
// process without parameter is not possible." for a process without
// parameters, "Modify not possible." for another process or a missing entry.
FRef<MCommand> prepareModify(FRef<PAudioClip> clip, size_t index, FRef<PAudioProcess> modified,
                             const std::string& folder, FUserMessages& messages);
// "No action selected!" when by is null; asks `Are you sure you want to
// replace "%s" ?`.
FRef<MCommand> prepareReplace(FRef<PAudioClip> clip, size_t index, FRef<PAudioProcess> by, const std::string& folder,
                              FUserMessages& messages);
// Freezing cannot be undone once saved: asks "Are you sure? You can not
// undo this!" with "Sure" and "Cancel" (the default); "File has not been
// edited!" for a clip without history.
FRef<MCommand> prepareFreeze(FRef<PAudioClip> clip, const std::string& folder, FUserMessages& messages);

}  // namespace vantor
