#include "foundation/FFileStream.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vantor {

namespace {
constexpr size_t kWriteBuffer = 1 << 20;
}

FFileStream::~FFileStream() { (void)close(); }

void FFileStream::setError(const char* what) { lastError_ = std::string(what) + ": " + std::strerror(errno); }

bool FFileStream::open(const std::string& path, Mode mode) {
  (void)close();
  failed_ = false;
  lastError_.clear();
  mode_ = mode;
  position_ = 0;
  released_ = 0;
  buffer_.clear();
  if (mode == Mode::kWrite) {
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd_ < 0) {
      setError("open");
      return false;
    }
    buffer_.reserve(kWriteBuffer);
    bufferStart_ = 0;
    fileSize_ = 0;
    opened_ = true;
    return true;
  }
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    setError("open");
    return false;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    if (S_ISDIR(info.st_mode)) errno = EISDIR;
    setError("open");
    ::close(fd);
    return false;
  }
  fileSize_ = static_cast<int64_t>(info.st_size);
  if (fileSize_ > 0) {
    // A private read-only mapping: pages are read on first touch. Safe saves
    // replace a project file by renaming a new one over it, so the mapped
    // file itself is never cut short under us.
    void* map = ::mmap(nullptr, static_cast<size_t>(fileSize_), PROT_READ, MAP_PRIVATE, fd, 0);
    if (map != MAP_FAILED) map_ = static_cast<uint8_t*>(map);
  }
  if (map_ == nullptr && fileSize_ > 0) {
    // No room to map it (a file of terabytes, a limited address space): the
    // file is read through pread instead, so a reader that refuses it after
    // its first bytes still does so.
    fd_ = fd;
  } else {
    ::close(fd);
  }
  // Read only: the write limit stays at the window's start.
  setWindow(map_, map_ + (map_ != nullptr ? fileSize_ : 0), map_);
  opened_ = true;
  return true;
}

bool FFileStream::adoptForWriting(int fd) {
  (void)close();
  failed_ = false;
  lastError_.clear();
  mode_ = Mode::kWrite;
  position_ = 0;
  buffer_.clear();
  if (fd < 0) return false;
  fd_ = fd;
  buffer_.reserve(kWriteBuffer);
  bufferStart_ = 0;
  fileSize_ = 0;
  opened_ = true;
  return true;
}

bool FFileStream::flush() {
  if (mode_ != Mode::kWrite || fd_ < 0 || buffer_.empty()) return !failed_;
  size_t done = 0;
  while (done < buffer_.size()) {
    const ssize_t put = ::pwrite(fd_, buffer_.data() + done, buffer_.size() - done,
                                 static_cast<off_t>(bufferStart_ + static_cast<int64_t>(done)));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) {
      setError("write");
      failed_ = true;
      break;
    }
    done += static_cast<size_t>(put);
  }
  bufferStart_ += static_cast<int64_t>(buffer_.size());
  buffer_.clear();
  return !failed_;
}

bool FFileStream::writeDirect(const uint8_t* bytes, int64_t count) {
  int64_t done = 0;
  while (done < count) {
    const ssize_t put =
        ::pwrite(fd_, bytes + done, static_cast<size_t>(count - done), static_cast<off_t>(bufferStart_ + done));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) {
      setError("write");
      failed_ = true;
      return false;
    }
    done += put;
  }
  bufferStart_ += count;
  return true;
}

bool FFileStream::close(bool sync) {
  if (!opened_) return !failed_;
  opened_ = false;
  if (mode_ == Mode::kRead) {
    if (map_ != nullptr) ::munmap(map_, static_cast<size_t>(fileSize_));
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    map_ = nullptr;
    setWindow(nullptr, nullptr, nullptr);
    return true;
  }
  bool ok = flush();
  if (ok && sync && ::fsync(fd_) != 0) {
    setError("fsync");
    ok = false;
  }
  if (::close(fd_) != 0 && ok) {
    setError("close");
    ok = false;
  }
  fd_ = -1;
  if (!ok) failed_ = true;
  return ok;
}

int64_t FFileStream::position() const { return mode_ == Mode::kRead && map_ != nullptr ? cursor_ - map_ : position_; }

int64_t FFileStream::readBytes(void* destination, int64_t count) {
  if (mode_ != Mode::kRead || !opened_ || count <= 0) return 0;
  if (map_ == nullptr) return readUnmapped(destination, count);
  const int64_t n = std::min(count, readLimit_ - cursor_);
  if (n <= 0) return 0;
  std::memcpy(destination, cursor_, static_cast<size_t>(n));
  cursor_ += n;
  return n;
}

int64_t FFileStream::readUnmapped(void* destination, int64_t count) {
  int64_t done = 0;
  auto* bytes = static_cast<uint8_t*>(destination);
  count = std::min(count, fileSize_ - position_);
  while (fd_ >= 0 && done < count) {
    const ssize_t got =
        ::pread(fd_, bytes + done, static_cast<size_t>(count - done), static_cast<off_t>(position_ + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += got;
  }
  position_ += done;
  return done;
}

int64_t FFileStream::writeBytes(const void* source, int64_t count) {
  if (mode_ != Mode::kWrite || fd_ < 0 || failed_ || count <= 0) return 0;
  // The buffer always holds the bytes from bufferStart_ up to position_.
  const auto* bytes = static_cast<const uint8_t*>(source);
  if (buffer_.size() + static_cast<size_t>(count) > kWriteBuffer && !flush()) return 0;
  if (static_cast<size_t>(count) >= kWriteBuffer) {
    // Large blocks (a whole archive) go to the file from where they lie.
    if (!flush() || !writeDirect(bytes, count)) return 0;
  } else {
    buffer_.insert(buffer_.end(), bytes, bytes + count);
  }
  position_ += count;
  fileSize_ = std::max(fileSize_, position_);
  return count;
}

bool FFileStream::seek(int64_t position) {
  if (!opened_ || position < 0 || position > fileSize_) return false;
  if (mode_ == Mode::kRead) {
    if (map_ != nullptr) cursor_ = map_ + position;
    position_ = position;
    return true;
  }
  if (!flush()) return false;
  bufferStart_ = position;
  position_ = position;
  return true;
}

void FFileStream::releaseBefore(const uint8_t* cursor) {
  if (map_ == nullptr || cursor < map_ || cursor > map_ + fileSize_) return;
  // The mapping starts on a page boundary and the step is a whole number of
  // pages. The pages are the file's own (a private mapping never written),
  // so a later read of them faults them in again from the file.
  const int64_t upTo = (cursor - map_) & ~(kReleaseStep - 1);
  if (upTo <= released_) return;
  (void)::madvise(map_ + released_, static_cast<size_t>(upTo - released_), MADV_DONTNEED);
  released_ = upTo;
}

int64_t FFileStream::remaining() const {
  if (mode_ != Mode::kRead) return kUnknown;
  if (map_ == nullptr) return std::max<int64_t>(0, fileSize_ - position_);
  return std::max<int64_t>(0, readLimit_ - cursor_);
}

}  // namespace vantor
