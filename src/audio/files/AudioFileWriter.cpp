#include "audio/files/AudioFileWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "audio/files/AudioFileMessages.h"
#include "audio/files/SampleCodec.h"

namespace vantor {

namespace {

// The permission bits of a write-protected file at path; none when it is
// missing or may be written.
std::optional<unsigned> protectedMode(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0) return std::nullopt;
  return static_cast<unsigned>(info.st_mode & 07777);
}

// The new file's mode: the replaced protected file's, else the usual one.
void giveMode(const std::string& path, const std::optional<unsigned>& mode, mode_t mask) {
  (void)::chmod(path.c_str(), mode ? static_cast<mode_t>(*mode) : (0666 & ~mask));
}

}  // namespace

// Write protection is the file's own mode, whoever runs the program.
bool AudioFileWriter::isWriteProtected(const std::string& path) { return protectedMode(path).has_value(); }

AudioFileWriter::~AudioFileWriter() { abandon(); }

bool AudioFileWriter::fail(const std::string& message) {
  error_ = message;
  abandon();
  return false;
}

bool AudioFileWriter::failWrite(int error) {
  if (error == ENOSPC || error == EDQUOT) return fail(kNotEnoughDiskSpaceMessage);
  return fail(stream_.lastError().empty() ? std::strerror(error) : stream_.lastError());
}

void AudioFileWriter::abandon() {
  if (stream_.isOpen()) (void)stream_.close();
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
  temporary_.clear();
  handler_ = nullptr;
}

bool AudioFileWriter::open(const std::string& path, const AudioFile& file) {
  abandon();
  error_.clear();
  file_ = file;
  file_.path = path;
  frames_ = 0;
  handler_ = AudioFileHandlers::byTypeName(file.typeName);
  if (handler_ == nullptr || !handler_->canWrite() || !file.format.isWritable()) return fail(kInvalidAudioFileMessage);
  const std::optional<AudioFileCompanion> companion = handler_->companion(file_);
  targetMode_ = protectedMode(path);
  companionMode_ = companion ? protectedMode(companion->path) : std::nullopt;
  if (!replaceProtected_ && (targetMode_ || companionMode_)) return fail(kWriteProtectedMessage);
  std::string pattern = path + ".XXXXXX";
  const int fd = ::mkstemp(pattern.data());
  // A full disk can refuse the temporary file itself.
  if (fd < 0) return failWrite(errno);
  temporary_ = pattern;
  target_ = path;
  if (!stream_.adoptForWriting(fd)) return fail(std::strerror(errno));
  if (!handler_->writeHeader(stream_, &file_)) {
    const int error = errno;
    return stream_.failed() ? failWrite(error) : fail(kInvalidAudioFileMessage);
  }
  encoding_ = file_.encoding();
  blockFrames_ = std::max<int64_t>(1, kBlockBytes / file_.format.blockAlign());
  block_.resize(static_cast<size_t>(blockFrames_ * file_.format.blockAlign()));
  return true;
}

bool AudioFileWriter::writeFrames(const float* samples, int64_t frames) {
  if (handler_ == nullptr) return false;
  const int channels = file_.format.channels;
  const int64_t frameBytes = file_.format.blockAlign();
  for (int64_t done = 0; done < frames;) {
    const int64_t count = std::min(blockFrames_, frames - done);
    encodeSamples(samples + done * channels, block_.data(), static_cast<size_t>(count * channels), encoding_);
    if (!stream_.writeRaw(block_.data(), count * frameBytes)) return failWrite(errno);
    done += count;
  }
  frames_ += frames;
  return true;
}

bool AudioFileWriter::close() {
  if (handler_ == nullptr) return false;
  if (!handler_->finish(stream_, &file_, frames_)) {
    // finish refuses only sizes beyond the container's 32-bit fields.
    return stream_.failed() ? failWrite(errno) : fail(kFileTooLargeMessage);
  }
  if (!stream_.close(true)) return failWrite(errno);
  // mkstemp makes the file readable by its owner alone; a new audio file
  // gets the usual mode, one that replaces a protected file that file's.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  giveMode(temporary_, targetMode_, mask);
  const std::optional<AudioFileCompanion> companion = handler_->companion(file_);
  std::string companionTemporary;
  if (companion) {
    if (!writeCompanion(*companion, &companionTemporary)) return false;
    giveMode(companionTemporary, companionMode_, mask);
  }
  if (!putInPlace(companion, companionTemporary)) return false;
  temporary_.clear();
  handler_ = nullptr;
  return true;
}

bool AudioFileWriter::writeCompanion(const AudioFileCompanion& companion, std::string* temporary) {
  std::string pattern = companion.path + ".XXXXXX";
  const int fd = ::mkstemp(pattern.data());
  if (fd < 0) return failWrite(errno);
  FFileStream stream;
  if (!stream.adoptForWriting(fd)) return failWrite(errno);
  const bool written = stream.writeRaw(companion.bytes.data(), static_cast<int64_t>(companion.bytes.size()));
  if (!stream.close(true) || !written) {
    const int error = errno;
    ::unlink(pattern.c_str());
    return failWrite(error);
  }
  *temporary = pattern;
  return true;
}

bool AudioFileWriter::putInPlace(const std::optional<AudioFileCompanion>& companion,
                                 const std::string& companionTemporary) {
  if (!companion) {
    return std::rename(temporary_.c_str(), target_.c_str()) == 0 || failWrite(errno);
  }
  // The old companion stays reachable under a second name until the new
  // file is in place.
  std::string backup = companion->path + ".old.XXXXXX";
  const int fd = ::mkstemp(backup.data());
  if (fd >= 0) ::close(fd);
  const bool hadOld = fd >= 0 && ::unlink(backup.c_str()) == 0 && ::link(companion->path.c_str(), backup.c_str()) == 0;
  if (std::rename(companionTemporary.c_str(), companion->path.c_str()) != 0) {
    const int error = errno;
    ::unlink(companionTemporary.c_str());
    if (hadOld) ::unlink(backup.c_str());
    return failWrite(error);
  }
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    const int error = errno;
    if (hadOld) {
      (void)std::rename(backup.c_str(), companion->path.c_str());
    } else {
      ::unlink(companion->path.c_str());
    }
    return failWrite(error);
  }
  if (hadOld) ::unlink(backup.c_str());
  return true;
}

}  // namespace vantor
