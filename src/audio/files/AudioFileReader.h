#pragma once
// Reads the samples of an audio file as 32-bit float, interleaved, a block
// of frames at a time. The header is read through the handler that
// recognises the file; plain samples are read from the file in large blocks
// (never the whole file at once) and converted straight into the caller's
// buffer, and those of compressed formats come from the handler's decoder.
// A block serves the reads that follow it, so that small reads do not cost
// a system call each; a seek inside the block reads nothing.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audio/files/AudioFile.h"
#include "audio/files/AudioFileHandler.h"

namespace vantor {

class AudioFileReader {
 public:
  AudioFileReader() = default;
  ~AudioFileReader();
  AudioFileReader(const AudioFileReader&) = delete;
  AudioFileReader& operator=(const AudioFileReader&) = delete;

  // Opens path and reads its header. False when the file cannot be opened
  // (error() holds the system's reason) or no handler can read it (error()
  // is "Error: Invalid or unsupported file!", or the handler's own reason);
  // the reader is then closed.
  [[nodiscard]] bool open(const std::string& path);
  void close();

  const AudioFile& file() const { return file_; }
  const AudioFileHandler* handler() const { return handler_; }
  const std::string& error() const { return error_; }

  // Reads up to frames frames from the current position into samples
  // (frames × channels floats). Returns the frames read: fewer only at the
  // end of the data, or -1 when the file could not be read.
  int64_t readFrames(float* samples, int64_t frames);
  // Moves to a frame between 0 and the length; false beyond it.
  [[nodiscard]] bool seekFrame(int64_t frame);
  int64_t framePosition() const { return position_; }

  // Bytes read from the file at once, at most: fewer where the data ends.
  static constexpr int64_t kBlockBytes = int64_t{1} << 18;

 private:
  bool openSource();
  bool openPlain(const std::string& path);
  int64_t readPlain(float* samples, int64_t frames);
  // Reads the block of frames that starts at the current position, never
  // past the data. Returns the whole frames read: 0 where the file was cut
  // short, -1 when the read failed.
  int64_t fillBlock();

  int fd_ = -1;
  std::unique_ptr<AudioSampleSource> source_;
  AudioFile file_;
  const AudioFileHandler* handler_ = nullptr;
  SampleEncoding encoding_;
  // The stored bytes of frames blockFirst_ to blockFirst_ + blockFrames_.
  std::vector<uint8_t> block_;
  int64_t blockFirst_ = 0;
  int64_t blockFrames_ = 0;
  int64_t position_ = 0;
  std::string error_;
};

}  // namespace vantor
