#pragma once
// Carries a working object through a range of frames: the analysis pass when
// the work needs one, then the processing pass, block by block, never holding
// more than one block of the range in memory. The runner takes care of the
// work's latency (see PAudioWork), so the sink receives exactly the range's
// length, lined up with the input.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "audio/process/PAudioWork.h"

namespace vantor {

// Where the frames of the range come from; rewound before each pass.
class PFrameSource {
 public:
  virtual ~PFrameSource() = default;
  // Back to the range's first frame; false when that failed.
  [[nodiscard]] virtual bool rewind() = 0;
  // Up to frames interleaved frames into out; the frames read (fewer only
  // at the range's end), or -1 on a read failure.
  virtual int64_t read(float* out, int64_t frames) = 0;
};

// Frames held in memory (interleaved).
class PBufferSource : public PFrameSource {
 public:
  PBufferSource(const float* samples, int64_t frames, int channels)
      : samples_(samples), frames_(frames), channels_(channels) {}
  bool rewind() override {
    position_ = 0;
    return true;
  }
  int64_t read(float* out, int64_t frames) override;

 private:
  const float* samples_;
  int64_t frames_;
  int channels_;
  int64_t position_ = 0;
};

struct PRunOptions {
  // Block lengths in frames, used in turn (tests vary them; at least 1).
  std::vector<int64_t> blockFrames{8192};
  // Told "Processing" with the fraction done (0 to 1) of both passes.
  std::function<void(double fraction)> progress;
};

// Receives the processed frames in order; false stops the run.
using PFrameSink = std::function<bool(const float* samples, int64_t frames)>;

// Runs work over lengthFrames frames of format from source into sink. False
// with the reason in *error when the work cannot be prepared, the source
// cannot be read or the sink refused (its own reason is kept then).
[[nodiscard]] bool runWork(PAudioWork& work, const AudioFormat& format, int64_t lengthFrames, PFrameSource& source,
                           const PFrameSink& sink, std::string* error, const PRunOptions& options = {});

// The processed copy of samples (interleaved, format.channels channels);
// empty with *error set on a failure.
std::vector<float> runWorkOnBuffer(PAudioWork& work, const AudioFormat& format, const std::vector<float>& samples,
                                   std::string* error, const PRunOptions& options = {});

}  // namespace vantor
