#include "audio/pool/PFileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "audio/files/AudioFileMessages.h"

namespace vantor {

namespace {

constexpr size_t kBlockBytes = size_t{1} << 20;

std::string reasonOf(int error) {
  return error == ENOSPC || error == EDQUOT ? kNotEnoughDiskSpaceMessage : std::strerror(error);
}

bool writeAll(int fd, const uint8_t* bytes, size_t count) {
  while (count > 0) {
    const ssize_t put = ::write(fd, bytes, count);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    bytes += put;
    count -= static_cast<size_t>(put);
  }
  return true;
}

// Copies every byte of in to out; false with errno set.
bool pump(int in, int out) {
  std::vector<uint8_t> block(kBlockBytes);
  for (;;) {
    const ssize_t got = ::read(in, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    if (!writeAll(out, block.data(), static_cast<size_t>(got))) return false;
  }
}

}  // namespace

bool copyFileSafely(const std::string& from, const std::string& to, std::string* error) {
  const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) {
    *error = reasonOf(errno);
    return false;
  }
  std::string temporary = to + ".XXXXXX";
  const int out = ::mkstemp(temporary.data());
  if (out < 0) {
    *error = reasonOf(errno);
    ::close(in);
    return false;
  }
  bool ok = pump(in, out) && ::fsync(out) == 0;
  int failure = ok ? 0 : errno;
  ::close(in);
  if (::close(out) != 0 && ok) {
    ok = false;
    failure = errno;
  }
  if (ok && std::rename(temporary.c_str(), to.c_str()) != 0) {
    ok = false;
    failure = errno;
  }
  if (!ok) {
    ::unlink(temporary.c_str());
    *error = reasonOf(failure);
    return false;
  }
  // mkstemp makes the file readable by its owner only; a media file takes
  // the usual rights.
  (void)::chmod(to.c_str(), 0644);
  return true;
}

bool writeFileSafely(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error) {
  std::string temporary = path + ".XXXXXX";
  const int out = ::mkstemp(temporary.data());
  if (out < 0) {
    *error = reasonOf(errno);
    return false;
  }
  bool ok = writeAll(out, bytes.data(), bytes.size()) && ::fsync(out) == 0;
  int failure = ok ? 0 : errno;
  if (::close(out) != 0 && ok) {
    ok = false;
    failure = errno;
  }
  if (ok && std::rename(temporary.c_str(), path.c_str()) != 0) {
    ok = false;
    failure = errno;
  }
  if (!ok) {
    ::unlink(temporary.c_str());
    *error = reasonOf(failure);
    return false;
  }
  (void)::chmod(path.c_str(), 0644);
  return true;
}

std::string freeFilePath(const std::string& folder, const std::string& name) {
  namespace fs = std::filesystem;
  const fs::path base = fs::path(folder) / name;
  std::error_code ec;
  if (!fs::exists(base, ec)) return base.string();
  const std::string stem = base.stem().string(), ext = base.extension().string();
  for (int n = 1;; ++n) {
    const fs::path candidate = fs::path(folder) / (stem + "-" + std::to_string(n) + ext);
    if (!fs::exists(candidate, ec)) return candidate.string();
  }
}

}  // namespace vantor
