#include "document/PSafeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "foundation/FFileStream.h"

namespace vantor {

namespace {

std::string systemError(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

int injectedTemporaryFailure = 0;

constexpr const char* kTemporarySuffix = ".tmp";
constexpr size_t kUniqueLength = 6;  // the XXXXXX of mkstemp

// The process's file-creation mask, read without changing it (umask() can
// only be read by setting it, which would race with other threads).
mode_t currentUmask() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("Umask:", 0) == 0) return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8));
  }
  return 022;
}

// A new, uniquely named file beside target, opened for writing; -1 (errno
// set) when it cannot be made.
int createTemporary(const std::string& target, std::string* path) {
  if (injectedTemporaryFailure != 0) {
    errno = injectedTemporaryFailure;
    return -1;
  }
  std::string pattern = PSafeFile::temporaryPatternFor(target);
  const int fd = ::mkostemps(pattern.data(), static_cast<int>(std::strlen(kTemporarySuffix)), O_CLOEXEC);
  if (fd < 0) return -1;
  // mkstemp makes the file private (0600); a new target gets the mode any
  // new file of the user gets. An existing target's mode is kept by commit.
  (void)::fchmod(fd, 0666 & ~currentUmask());
  *path = pattern;
  return fd;
}

// Makes a finished rename durable. Failure is not reported: the data is in
// place, only its survival of a power cut is less certain.
void syncFolder(const std::string& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  (void)::fsync(fd);
  ::close(fd);
}

}  // namespace

std::string PSafeFile::folderOf(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  return parent.empty() ? std::string(".") : parent.string();
}

std::string PSafeFile::temporaryPatternFor(const std::string& target) {
  const std::filesystem::path p(target);
  return (p.parent_path() / ("." + p.filename().string() + "." + std::string(kUniqueLength, 'X') + kTemporarySuffix))
      .string();
}

bool PSafeFile::isTemporaryOf(const std::string& fileName, const std::string& target) {
  const std::string prefix = "." + std::filesystem::path(target).filename().string() + ".";
  const std::string suffix = kTemporarySuffix;
  return fileName.size() == prefix.size() + kUniqueLength + suffix.size() && fileName.rfind(prefix, 0) == 0 &&
         fileName.compare(fileName.size() - suffix.size(), suffix.size(), suffix) == 0;
}

void PSafeFile::failTemporariesWith(int error) { injectedTemporaryFailure = error; }

bool PSafeFile::exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

bool PSafeFile::isSpecial(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode);
}

bool PSafeFile::isDirectory(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool PSafeFile::isReadOnly(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return false;
  return (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.c_str(), W_OK) != 0;
}

std::string PSafeFile::resolveLink(const std::string& path) {
  // Followed link by link, so that a link to a file not yet there leads to
  // that file (which a save then makes) instead of being replaced itself.
  constexpr int kMaxLinks = 40;  // the system's own bound on link chains
  std::filesystem::path current(path);
  std::error_code ec;
  if (!std::filesystem::is_symlink(current, ec)) return path;
  for (int hop = 0; hop < kMaxLinks && std::filesystem::is_symlink(current, ec); ++hop) {
    const std::filesystem::path next = std::filesystem::read_symlink(current, ec);
    if (ec) return path;
    current = next.is_absolute() ? next : current.parent_path() / next;
  }
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(current, ec);
  return ec ? current.lexically_normal().string() : resolved.string();
}

bool PSafeFile::writeTemporary(const std::string& target, const Writer& writer, std::string* temporary,
                               std::string* error) {
  // mkstemp creates the file exclusively: nothing planted under its name
  // (a link, another writer's temporary) is ever written through.
  const int fd = createTemporary(target, temporary);
  if (fd < 0) {
    *error = systemError("open");
    return false;
  }
  FFileStream stream;
  (void)stream.adoptForWriting(fd);
  const bool written = writer(stream) && !stream.failed();
  const bool closed = stream.close(true);
  if (written && closed) return true;
  *error = stream.lastError().empty() ? std::string("the data could not be written") : stream.lastError();
  discard(*temporary);
  return false;
}

bool PSafeFile::commit(const std::string& temporary, const std::string& target, std::string* error) {
  struct stat info {};
  if (::stat(target.c_str(), &info) == 0) {
    if (S_ISREG(info.st_mode)) {
      (void)::chmod(temporary.c_str(), info.st_mode & 07777);
    } else if (!S_ISDIR(info.st_mode)) {
      // rename would put a regular file in the place of a device or FIFO.
      *error = "rename: " + target + " is not a regular file";
      return false;
    }
  }
  if (::rename(temporary.c_str(), target.c_str()) != 0) {
    *error = systemError("rename");
    return false;
  }
  syncFolder(folderOf(target));
  return true;
}

void PSafeFile::discard(const std::string& temporary) { (void)::unlink(temporary.c_str()); }

bool PSafeFile::write(const std::string& target, const Writer& writer, std::string* error) {
  std::string temporary;
  if (!writeTemporary(target, writer, &temporary, error)) return false;
  if (commit(temporary, target, error)) return true;
  discard(temporary);
  return false;
}

}  // namespace vantor
