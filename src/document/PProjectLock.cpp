#include "document/PProjectLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

namespace vantor {

namespace {

// A lock file can vanish between opening and locking it (its holder let go
// and removed it); a few rounds always settle that race.
constexpr int kAttempts = 16;

bool sameFile(int fd, const std::string& path) {
  struct stat held {};
  struct stat named {};
  return ::fstat(fd, &held) == 0 && ::lstat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
         held.st_ino == named.st_ino;
}

// The holder's process number, for a person who wonders whose lock it is.
void noteHolder(int fd) {
  const std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(fd, 0) == 0) (void)!::pwrite(fd, pid.data(), pid.size(), 0);
}

}  // namespace

std::string PProjectLock::lockPathFor(const std::string& projectPath) {
  const std::filesystem::path p(projectPath);
  return (p.parent_path() / ("." + p.filename().string() + ".lock")).string();
}

PProjectLock::Result PProjectLock::acquire(const std::string& projectPath, std::string* error) {
  release();
  const std::string lockPath = lockPathFor(projectPath);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const int fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd < 0) {
      *error = std::string("lock: ") + std::strerror(errno);
      return Result::kUnavailable;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
      const int cause = errno;
      ::close(fd);
      if (cause == EWOULDBLOCK) return Result::kBusy;
      *error = std::string("lock: ") + std::strerror(cause);
      return Result::kUnavailable;
    }
    // Locked the file that still has the name: ours. Otherwise its holder
    // removed it meanwhile, and the name now belongs to a newer file.
    if (sameFile(fd, lockPath)) {
      fd_ = fd;
      projectPath_ = projectPath;
      noteHolder(fd);
      return Result::kAcquired;
    }
    ::close(fd);
  }
  return Result::kBusy;
}

void PProjectLock::release() {
  if (fd_ < 0) return;
  // Removed while still locked, so that nobody locks the file on its way out.
  (void)::unlink(lockPathFor(projectPath_).c_str());
  ::close(fd_);
  fd_ = -1;
  projectPath_.clear();
}

void PProjectLock::swap(PProjectLock& other) noexcept {
  std::swap(fd_, other.fd_);
  std::swap(projectPath_, other.projectPath_);
}

}  // namespace vantor
