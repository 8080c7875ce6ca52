#pragma once
// The working object of an offline process: it is prepared for one run over
// a range of a clip and then fed the range's samples block by block, as
// 32-bit float interleaved frames. It keeps its state across blocks, so any
// division of the range into blocks gives the same result.
//
// A run has up to two passes over the same frames:
//  1. analysis (only when needsAnalysis()): analyze() sees every frame, then
//     endAnalysis() once; normalising and DC removal learn their values here;
//  2. processing: process() turns input frames into output frames.
// A work whose output lags its input (block convolution) says so through
// latencyFrames(); the runner (PWorkRunner) feeds that many silent frames
// after the range and drops as many from the front, so the output lines up
// with the input and has the range's length. Tails that reach beyond the
// range (echo, reverberation) are cut at the range's end.

#include <cstdint>
#include <string>

#include "audio/files/AudioFormat.h"

namespace vantor {

class PAudioWork {
 public:
  virtual ~PAudioWork() = default;

  // Resets the work for a run over lengthFrames frames of format. False,
  // with the reason in the process's words in error(), when the work cannot
  // run on that format (the run must then not start).
  [[nodiscard]] virtual bool prepare(const AudioFormat& format, int64_t lengthFrames);
  const std::string& error() const { return error_; }

  virtual bool needsAnalysis() const { return false; }
  // Analysis pass: frames × channels interleaved samples, in order.
  virtual void analyze(const float* in, int64_t frames);
  virtual void endAnalysis() {}

  // Processing pass: writes frames × channels samples to out. in and out
  // may be the same buffer.
  virtual void process(const float* in, float* out, int64_t frames) = 0;
  virtual int64_t latencyFrames() const { return 0; }

  int channels() const { return channels_; }
  double sampleRate() const { return sampleRate_; }
  int64_t lengthFrames() const { return lengthFrames_; }

 protected:
  bool fail(std::string reason) {
    error_ = std::move(reason);
    return false;
  }

 private:
  int channels_ = 0;
  double sampleRate_ = 0;
  int64_t lengthFrames_ = 0;
  std::string error_;
};

}  // namespace vantor
