#pragma once
// Reads one audio segment's samples sequentially at the plan's sample rate:
// the clip's current material through PClipReader, converted with libsoxr
// when the clip's file rate differs from the plan's. The conversion is
// deterministic: a seek to the same offset always yields the same samples,
// whatever was read before, which the disk thread of real-time playback
// relies on when it refills after a locate.
//
// Threads: any thread but the audio thread (it opens and reads files).

#include <cstdint>
#include <memory>
#include <string>

#include "render/RPlaybackPlan.h"

namespace vantor {

class RSegmentStream {
 public:
  // Keeps a copy of the segment; does not open files yet.
  RSegmentStream(const RAudioSegment& segment, int planRate);
  ~RSegmentStream();
  RSegmentStream(const RSegmentStream&) = delete;
  RSegmentStream& operator=(const RSegmentStream&) = delete;

  // Positions the stream `offset` frames (plan rate) into the segment, 0 <=
  // offset <= length. False with error() set when the clip cannot be read.
  [[nodiscard]] bool seek(int64_t offset);
  // Reads up to `frames` frames (interleaved, the segment's channels) from
  // the position on and advances it; returns the frames read, fewer only at
  // the segment's end or on an error (error() then says which).
  int64_t read(float* out, int64_t frames);
  // The position in frames from the segment's start.
  int64_t position() const;
  const std::string& error() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vantor
