#pragma once
// Writes a new audio file from 32-bit float samples, interleaved. The file
// is written as a temporary file beside the target and renamed over it
// only when close() succeeds, so a failure leaves an older file at the
// target byte for byte.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "audio/files/AudioFile.h"
#include "audio/files/AudioFileHandler.h"
#include "foundation/FFileStream.h"

namespace vantor {

class AudioFileWriter {
 public:
  AudioFileWriter() = default;
  // Abandons an unfinished file (its temporary file is removed).
  ~AudioFileWriter();
  AudioFileWriter(const AudioFileWriter&) = delete;
  AudioFileWriter& operator=(const AudioFileWriter&) = delete;

  // Starts a file at path with file's format, cue entries and attribute
  // records, through the handler registered for file.typeName ("WAVE",
  // "AIFF", "AIFC", "SDII"). False, with the reason in error(), when the
  // target or its companion file is write protected ("The file is write
  // protected and cannot be replaced!"), the format cannot be stored or
  // the file cannot be made.
  [[nodiscard]] bool open(const std::string& path, const AudioFile& file);
  // Lets the next open() replace a write-protected target (and companion);
  // the new file keeps the old one's mode, so it stays write protected.
  void setReplaceProtected(bool replace) { replaceProtected_ = replace; }
  // Whether the file at path exists and nobody may write it by its mode.
  static bool isWriteProtected(const std::string& path);
  // Appends frames frames (frames × channels floats). False when a write
  // failed; "There is not enough disk space for this operation!" when the
  // disk was full.
  [[nodiscard]] bool writeFrames(const float* samples, int64_t frames);
  // Writes the real sizes, syncs and puts the file in place, with its
  // companion file where the format has one (written to a temporary file
  // and renamed likewise; should the file's own rename then fail, the old
  // companion is put back). False leaves the target as it was.
  [[nodiscard]] bool close();
  // Drops the unfinished file.
  void abandon();

  // The file as written so far: its data start, and after close() its length.
  const AudioFile& file() const { return file_; }
  const std::string& error() const { return error_; }

  // Bytes converted and written at once (at least one frame).
  static constexpr int64_t kBlockBytes = int64_t{1} << 18;

 private:
  bool fail(const std::string& message);
  // The message for a failed write, by the errno it left.
  bool failWrite(int error);
  // Writes the companion's bytes to a synced temporary file beside it.
  bool writeCompanion(const AudioFileCompanion& companion, std::string* temporary);
  // Renames the companion's temporary file and then the file's over their
  // targets; false, with the old companion back, when either fails.
  bool putInPlace(const std::optional<AudioFileCompanion>& companion, const std::string& companionTemporary);

  FFileStream stream_;
  std::string target_;
  std::string temporary_;
  AudioFile file_;
  const AudioFileHandler* handler_ = nullptr;
  SampleEncoding encoding_;
  std::vector<uint8_t> block_;
  int64_t blockFrames_ = 1;
  int64_t frames_ = 0;
  std::string error_;
  bool replaceProtected_ = false;
  // The modes of the protected files being replaced, given to the new ones.
  std::optional<unsigned> targetMode_;
  std::optional<unsigned> companionMode_;
};

}  // namespace vantor
