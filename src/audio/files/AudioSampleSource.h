#pragma once
// The samples of a file that are not stored as plain frames behind a
// header (compressed formats read through an outside decoder): a handler
// gives AudioFileReader one of these to decode them.

#include <cstdint>

namespace vantor {

class AudioSampleSource {
 public:
  virtual ~AudioSampleSource() = default;
  // Decodes up to frames frames from the current position into samples
  // (frames × channels floats, interleaved, full scale ±1). Returns the
  // frames decoded: fewer only at the end, or -1 when decoding failed.
  virtual int64_t readFrames(float* samples, int64_t frames) = 0;
  // Moves to a frame between 0 and the file's length; false when the
  // decoder cannot go there.
  [[nodiscard]] virtual bool seekFrame(int64_t frame) = 0;
};

}  // namespace vantor
