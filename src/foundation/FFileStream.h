#pragma once
// A file as a stream. Opened for reading, the file is mapped into memory and
// read through the direct window: nothing is copied or allocated up front, so
// a huge or sparse file costs only the pages actually read (a header that
// does not fit is refused after its first bytes), and the pages a reader
// says it is done with (releaseBefore) are given back, so reading a large
// file front to back keeps only a few of its pages resident. Opened for
// writing, writes go through a large buffer and seeks flush it.

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FStream.h"

namespace vantor {

class FFileStream : public FStream {
 public:
  enum class Mode { kRead, kWrite };
  FFileStream() = default;
  ~FFileStream() override;

  // Opens path; for kWrite the file is created or truncated. False leaves
  // the stream closed, with errno-style detail in lastError().
  [[nodiscard]] bool open(const std::string& path, Mode mode);
  // Writes to fd, a new empty file opened for writing (as mkstemp gives
  // one); the stream owns it from now on and close() closes it. False (fd
  // closed) for a negative fd.
  [[nodiscard]] bool adoptForWriting(int fd);
  // Flushes, optionally fsyncs (sync = true) and closes. False when any
  // write, the flush or the sync failed.
  [[nodiscard]] bool close(bool sync = false);
  bool isOpen() const { return opened_; }
  // True once any write failed; the file is then not to be trusted.
  bool failed() const { return failed_; }
  const std::string& lastError() const { return lastError_; }

  int64_t readBytes(void* destination, int64_t count) override;
  int64_t writeBytes(const void* source, int64_t count) override;
  int64_t position() const override;
  [[nodiscard]] bool seek(int64_t position) override;
  int64_t remaining() const override;
  // Gives back the mapped pages before cursor, in steps of kReleaseStep.
  void releaseBefore(const uint8_t* cursor) override;

  // Bytes given back at once: large enough that a reader calling for every
  // record costs one system call per step, small against a project file.
  static constexpr int64_t kReleaseStep = int64_t{1} << 20;

 private:
  // Reading a file that could not be mapped: pread at position_.
  int64_t readUnmapped(void* destination, int64_t count);
  bool flush();
  // Writes count bytes at the buffer's start without copying them, after a
  // flush; the buffer then starts after them.
  bool writeDirect(const uint8_t* bytes, int64_t count);
  void setError(const char* what);

  Mode mode_ = Mode::kRead;
  bool opened_ = false;
  int fd_ = -1;
  std::vector<uint8_t> buffer_;  // pending bytes (write)
  uint8_t* map_ = nullptr;       // the mapped file (read); nullptr when empty or unmappable
  int64_t bufferStart_ = 0;      // file offset of buffer_[0] while writing
  int64_t position_ = 0;         // while writing, or reading an unmapped file
  int64_t fileSize_ = 0;
  int64_t released_ = 0;  // mapped bytes from the start whose pages were given back
  bool failed_ = false;
  std::string lastError_;
};

}  // namespace vantor
