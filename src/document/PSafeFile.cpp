#include "document/PSafeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "foundation/FFileStream.h"

namespace vantor {

namespace {

std::string systemError(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

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

std::string PSafeFile::temporaryPathFor(const std::string& target) {
  const std::filesystem::path p(target);
  return (p.parent_path() / ("." + p.filename().string() + ".tmp")).string();
}

bool PSafeFile::exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
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
  std::error_code ec;
  if (!std::filesystem::is_symlink(path, ec)) return path;
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, ec);
  return ec ? path : resolved.string();
}

bool PSafeFile::writeTemporary(const std::string& target, const Writer& writer, std::string* temporary,
                               std::string* error) {
  *temporary = temporaryPathFor(target);
  // A stale temporary file (or a link planted in its place) is removed, not
  // written through.
  struct stat info {};
  if (::lstat(temporary->c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) (void)::unlink(temporary->c_str());
  FFileStream stream;
  if (!stream.open(*temporary, FFileStream::Mode::kWrite)) {
    *error = stream.lastError();
    return false;
  }
  const bool written = writer(stream) && !stream.failed();
  const bool closed = stream.close(true);
  if (written && closed) return true;
  *error = stream.lastError().empty() ? std::string("the data could not be written") : stream.lastError();
  discard(*temporary);
  return false;
}

bool PSafeFile::commit(const std::string& temporary, const std::string& target, std::string* error) {
  struct stat info {};
  if (::stat(target.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
    (void)::chmod(temporary.c_str(), info.st_mode & 07777);
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
