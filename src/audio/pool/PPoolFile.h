#pragma once
// Pool files ("Import Pool...", "Save Pool...", "Export Pool..."): a pool
// kept apart from any project, as a library. The file is the project
// container with its own form type, "KPOL", and one root, "Pool", whose
// archive holds a PAudioPool (clips, clusters with their file records,
// regions, media tree) exactly as a project stores its pool. Files are
// named by their paths as they are; the audio itself is not copied.
//
// "Save Pool..." writes the whole pool; "Export Pool..." writes only the
// clips chosen (with a media tree of just those). An opened pool file is
// titled "Library - " and its name, the project's own pool "Pool - " and
// the project's name.

#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "foundation/FStream.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

inline constexpr uint32_t kPoolFormType = fourCC("KPOL");
inline constexpr const char* kPoolRootName = "Pool";

// Writes pool to path, safely (a temporary file renamed over the target).
// False with *error (the system's text) when it could not be written; an
// older file at path is then unchanged.
[[nodiscard]] bool writePoolFile(const PAudioPool& pool, const std::string& path, std::string* error);
// "Export Pool...": a new pool of clips only (sharing their clusters),
// written as writePoolFile does.
[[nodiscard]] bool exportPoolFile(const std::vector<FRef<PAudioClip>>& clips, const std::string& path,
                                  std::string* error);
// Reads a pool file; nullptr with *error ("Error: Can not open file!", or
// "Error: Invalid or unsupported file!" for anything but a readable pool
// file) when it cannot be read.
FRef<PAudioPool> readPoolFile(const std::string& path, std::string* error);

// "Import Pool...": the library's clips enter pool as new clips (new pool
// IDs, the same files) in a new folder named after the library file, whose
// "Document Path" is that file. One undoable action; nullptr for an empty
// library.
FRef<MCommand> makeImportPoolCommand(PAudioPool& pool, const PAudioPool& library, const std::string& libraryPath);

// "Library - NAME" for a pool file, "Pool - NAME" for a project's pool.
std::string poolTitle(const std::string& name, bool library);
// Asks "Do you want to save this library?" ("Yes", "No"); true for yes.
bool askSaveLibrary(FUserMessages& messages);

}  // namespace vantor
