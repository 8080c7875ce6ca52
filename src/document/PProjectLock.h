#pragma once
// The advisory lock that marks a project file as open for writing, so that
// two sessions (or a session and an edit) never save the same project over
// each other.
//
// The lock is an flock on a lock file beside the project, ".<name>.lock",
// not on the project file itself: every save renames a new file over the
// project, and a lock on the replaced file would go with it. The holder
// removes the lock file when it lets go; a lock file left behind by a
// program that crashed holds no lock (the system dropped it) and is simply
// taken over. Programs that only read a project (info, dump) take no lock.

#include <string>

namespace vantor {

class PProjectLock {
 public:
  enum class Result { kAcquired, kBusy, kUnavailable };

  PProjectLock() = default;
  ~PProjectLock() { release(); }
  PProjectLock(const PProjectLock&) = delete;
  PProjectLock& operator=(const PProjectLock&) = delete;

  // Takes the lock of projectPath (an absolute path with links resolved, so
  // that every name of one file shares its lock) without waiting; a lock
  // held before is let go first. kBusy when another holder has it, also
  // another PProjectLock of this process; kUnavailable (*error tells why)
  // when no lock file can be made there, as in a read-only folder.
  [[nodiscard]] Result acquire(const std::string& projectPath, std::string* error);
  // Lets the lock go and removes its file; nothing when none is held.
  void release();
  // Exchanges the locks of two holders.
  void swap(PProjectLock& other) noexcept;

  bool isHeld() const { return fd_ >= 0; }
  // The project file whose lock is held; empty when none.
  const std::string& projectPath() const { return projectPath_; }

  static std::string lockPathFor(const std::string& projectPath);

 private:
  int fd_ = -1;
  std::string projectPath_;
};

}  // namespace vantor
