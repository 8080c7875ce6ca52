#pragma once
// Converts one audio file into a new one of another container, sample width
// and sample rate, a block of frames at a time (never the whole file in
// memory). The rate is converted through libsoxr; the new file is written
// through AudioFileWriter, so a failed or cancelled conversion leaves the
// target as it was.
//
// Rounding and dither: samples travel as 32-bit float. A 24-bit or 32-bit
// integer result is rounded to the nearest value. A result of 16 bits or
// fewer gets triangular (TPDF) dither of ±1 step before rounding whenever
// its samples are finer than the result can hold: a wider or float source,
// or any rate conversion; a block whose samples all are values of the
// result already (digital silence, 16-bit material stored as 24 bits) is
// left undithered and so comes through exactly. A plain change of container
// or a widening keeps every sample exactly, and 16 bits to 16 bits stays
// bit for bit. The dither noise comes from a fixed seed, so the same
// conversion gives the same file.

#include <cstdint>
#include <functional>
#include <string>

#include "audio/files/AudioFile.h"

namespace vantor {

// The sample widths a conversion writes: the user's "Sample Width" choices
// "16 Bit", "24 Bit" and "32 Bit Float", or the source's own.
enum class SampleWidth : int { kSource = 0, kInteger16, kInteger24, kFloat32 };

struct AudioConversion {
  // The container: "WAVE", "AIFF", "AIFC" or "SDII". Empty keeps the
  // source's when a handler can write it, else makes WAVE.
  std::string typeName;
  // SDII stores integers only: a float result becomes 24-bit there.
  SampleWidth width = SampleWidth::kSource;
  // Hz; 0 keeps the source's rate.
  double sampleRate = 0.0;
  // Triangular dither where a result of 16 bits or fewer loses precision
  // (see above); false rounds only.
  bool dither = true;
  // Replaces a write-protected target (which keeps its mode) instead of
  // refusing it.
  bool replaceProtected = false;
};

class AudioFileConverter {
 public:
  // Told, after each block, the source frames read so far and the source's
  // length in frames; returning false cancels the conversion.
  using Progress = std::function<bool(int64_t doneFrames, int64_t totalFrames)>;

  // Writes targetPath from sourcePath (the two may be the same file). A
  // changed rate scales the length to round(frames × new / old) and the
  // cue positions likewise. False, with error() and errorPath() set, when
  // the source cannot be read, the target cannot be written, the rate
  // ratio is beyond 1:256 either way, or progress cancelled; the target
  // is then left as it was.
  [[nodiscard]] bool convert(const std::string& sourcePath, const std::string& targetPath,
                             const AudioConversion& conversion, const Progress& progress = {});

  // The file written by the last successful conversion: its container,
  // format, length and cue entries.
  const AudioFile& result() const { return result_; }
  // The reason for the last failure, in the system's words, and the file
  // it concerns (the source or the target).
  const std::string& error() const { return error_; }
  const std::string& errorPath() const { return errorPath_; }

  // The description of the file a conversion of source makes: container,
  // format and cue entries (the path is left empty).
  static AudioFile targetFor(const AudioFile& source, const AudioConversion& conversion);

  // Frames read, converted and written at once.
  static constexpr int64_t kBlockFrames = 16384;

 private:
  bool fail(const std::string& path, const std::string& message);

  AudioFile result_;
  std::string error_;
  std::string errorPath_;
};

}  // namespace vantor
