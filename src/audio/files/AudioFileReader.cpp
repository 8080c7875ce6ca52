#include "audio/files/AudioFileReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "audio/files/AudioFileMessages.h"
#include "audio/files/SampleCodec.h"
#include "foundation/FFileStream.h"

namespace vantor {

AudioFileReader::~AudioFileReader() { close(); }

void AudioFileReader::close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  source_.reset();
  blockFrames_ = 0;
  file_ = AudioFile{};
  handler_ = nullptr;
  position_ = 0;
}

bool AudioFileReader::open(const std::string& path) {
  close();
  error_.clear();
  {
    FFileStream stream;
    if (!stream.open(path, FFileStream::Mode::kRead)) {
      error_ = std::strerror(errno);
      return false;
    }
    file_.path = path;
    handler_ = AudioFileHandlers::recognizeFile(stream, path);
    if (handler_ == nullptr || !handler_->readHeader(stream, &file_)) {
      error_ = handler_ != nullptr ? handler_->refusal(path) : kInvalidAudioFileMessage;
      close();
      return false;
    }
  }
  return handler_->decodesSamples() ? openSource() : openPlain(path);
}

bool AudioFileReader::openSource() {
  source_ = handler_->openSamples(file_);
  if (source_ == nullptr) {
    error_ = kInvalidAudioFileMessage;
    close();
    return false;
  }
  return true;
}

bool AudioFileReader::openPlain(const std::string& path) {
  if (!isSupportedEncoding(file_.encoding())) {
    error_ = kInvalidAudioFileMessage;
    close();
    return false;
  }
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) {
    error_ = std::strerror(errno);
    close();
    return false;
  }
  (void)::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
  encoding_ = file_.encoding();
  return true;
}

bool AudioFileReader::seekFrame(int64_t frame) {
  if ((fd_ < 0 && !source_) || frame < 0 || frame > file_.lengthFrames) return false;
  if (source_ && !source_->seekFrame(frame)) return false;
  position_ = frame;
  return true;
}

int64_t AudioFileReader::readFrames(float* samples, int64_t frames) {
  if (!source_) return readPlain(samples, frames);
  frames = std::clamp<int64_t>(frames, 0, file_.lengthFrames - position_);
  const int64_t got = source_->readFrames(samples, frames);
  if (got > 0) position_ += got;
  return got;
}

int64_t AudioFileReader::readPlain(float* samples, int64_t frames) {
  if (fd_ < 0) return -1;
  const int64_t frameBytes = file_.format.blockAlign();
  const int channels = file_.format.channels;
  frames = std::clamp<int64_t>(frames, 0, file_.lengthFrames - position_);
  int64_t done = 0;
  while (done < frames) {
    int64_t offset = position_ - blockFirst_;
    if (offset < 0 || offset >= blockFrames_) {
      const int64_t filled = fillBlock();
      if (filled < 0) return -1;
      if (filled == 0) break;  // the file was cut short since it was opened
      offset = 0;
    }
    const int64_t count = std::min(blockFrames_ - offset, frames - done);
    decodeSamples(block_.data() + offset * frameBytes, samples + done * channels, static_cast<size_t>(count * channels),
                  encoding_);
    done += count;
    position_ += count;
  }
  return done;
}

int64_t AudioFileReader::fillBlock() {
  const int64_t frameBytes = file_.format.blockAlign();
  const int64_t frames = std::min(std::max<int64_t>(1, kBlockBytes / frameBytes), file_.lengthFrames - position_);
  const int64_t bytes = frames * frameBytes;
  if (block_.size() < static_cast<size_t>(bytes)) block_.resize(static_cast<size_t>(bytes));
  blockFrames_ = 0;
  int64_t got = 0;
  while (got < bytes) {
    const ssize_t n = ::pread(fd_, block_.data() + got, static_cast<size_t>(bytes - got),
                              static_cast<off_t>(file_.dataStart + (position_ * frameBytes) + got));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    got += n;
  }
  blockFirst_ = position_;
  blockFrames_ = got / frameBytes;
  return blockFrames_;
}

}  // namespace vantor
