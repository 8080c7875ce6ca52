#pragma once
// Where the engine gets the samples of a plan's audio segments: read from
// the files directly (the offline render), or from ring buffers that a disk
// thread fills ahead of the play position (real-time playback).

#include <cstddef>
#include <cstdint>

namespace vantor {

class RSegmentSource {
 public:
  virtual ~RSegmentSource() = default;

  // Playback continues from timeline frame `frame`. Called by the engine on
  // its own thread: the streamed source only posts the request here.
  virtual void locate(int64_t frame) noexcept = 0;
  // Reads `frames` frames of segment `index` of the plan, beginning
  // `offset` frames into the segment, interleaved in the segment's channel
  // count, at the plan's rate. False when the samples are not there (a
  // disk that fell behind, a file that went missing): `out` is then silent.
  virtual bool read(size_t index, int64_t offset, float* out, int frames) noexcept = 0;
};

}  // namespace vantor
