#pragma once
// Writing files so that a failure never damages the file already there: the
// new content goes to a temporary file beside the target, which is flushed,
// fsynced and then renamed over the target; the folder is synced last so the
// rename survives a crash. Every write makes its own temporary file (a
// unique name from mkstemp), so two programs saving the same target at once
// never write into each other's temporary: the target ends as one of the
// two complete files.

#include <functional>
#include <string>

#include "foundation/FStream.h"

namespace vantor {

class PSafeFile {
 public:
  // Writes the whole content into the stream; false when anything failed.
  using Writer = std::function<bool(FStream&)>;

  // The name pattern of temporary files beside target: ".<name>.XXXXXX.tmp"
  // in target's folder, the X replaced by a unique part for each write.
  static std::string temporaryPatternFor(const std::string& target);
  // True when fileName (no folder) is a temporary file of target's.
  static bool isTemporaryOf(const std::string& fileName, const std::string& target);

  // Writes a new temporary file beside target and syncs it to disk. On failure
  // no temporary file is left and *error tells why ("open: Permission
  // denied"); target is never touched.
  [[nodiscard]] static bool writeTemporary(const std::string& target, const Writer& writer, std::string* temporary,
                                           std::string* error);
  // Renames temporary over target (a target file's permission bits are kept)
  // and syncs the folder. A target that exists and is neither a regular file
  // nor a folder (a device, a FIFO, a socket) is never replaced. On failure
  // target is unchanged and temporary is left for the caller to use or
  // discard.
  [[nodiscard]] static bool commit(const std::string& temporary, const std::string& target, std::string* error);
  static void discard(const std::string& temporary);
  // writeTemporary, then commit; on failure target is unchanged and no
  // temporary file is left.
  [[nodiscard]] static bool write(const std::string& target, const Writer& writer, std::string* error);

  // The file a symbolic link finally points to, so that saving through a
  // link replaces the linked file and keeps the link (also a link to a file
  // not yet there: the save makes it); other paths unchanged.
  static std::string resolveLink(const std::string& path);
  // True when path exists and may not be written: the system refuses write
  // access, or its mode has no write bit at all (which also holds for the
  // super-user, whom the system never refuses).
  static bool isReadOnly(const std::string& path);
  static bool exists(const std::string& path);
  // True when path exists (links followed) and is something other than a
  // regular file or a folder: a device, a FIFO or a socket.
  static bool isSpecial(const std::string& path);
  static bool isDirectory(const std::string& path);
  // The folder of a path ("." for a bare name).
  static std::string folderOf(const std::string& path);

  // Test seam: while not 0, creating a temporary file fails with this errno
  // value, as a full disk or a vanished folder would make it fail.
  static void failTemporariesWith(int error);
};

}  // namespace vantor
