#pragma once
// Writing files so that a failure never damages the file already there: the
// new content goes to a temporary file beside the target, which is flushed,
// fsynced and then renamed over the target; the folder is synced last so the
// rename survives a crash.

#include <functional>
#include <string>

#include "foundation/FStream.h"

namespace vantor {

class PSafeFile {
 public:
  // Writes the whole content into the stream; false when anything failed.
  using Writer = std::function<bool(FStream&)>;

  // The temporary file beside target: ".<name>.tmp" in target's folder.
  static std::string temporaryPathFor(const std::string& target);

  // Writes the temporary file beside target and syncs it to disk. On failure
  // no temporary file is left and *error tells why ("open: Permission
  // denied"); target is never touched.
  [[nodiscard]] static bool writeTemporary(const std::string& target, const Writer& writer, std::string* temporary,
                                           std::string* error);
  // Renames temporary over target (a target file's permission bits are kept)
  // and syncs the folder. On failure target is unchanged and temporary is
  // left for the caller to use or discard.
  [[nodiscard]] static bool commit(const std::string& temporary, const std::string& target, std::string* error);
  static void discard(const std::string& temporary);
  // writeTemporary, then commit; on failure target is unchanged and no
  // temporary file is left.
  [[nodiscard]] static bool write(const std::string& target, const Writer& writer, std::string* error);

  // The file a symbolic link finally points to, so that saving through a
  // link replaces the linked file and keeps the link; other paths unchanged.
  static std::string resolveLink(const std::string& path);
  // True when path exists and may not be written: the system refuses write
  // access, or its mode has no write bit at all (which also holds for the
  // super-user, whom the system never refuses).
  static bool isReadOnly(const std::string& path);
  static bool exists(const std::string& path);
  static bool isDirectory(const std::string& path);
  // The folder of a path ("." for a bare name).
  static std::string folderOf(const std::string& path);
};

}  // namespace vantor
