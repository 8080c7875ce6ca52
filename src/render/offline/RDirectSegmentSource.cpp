#include "render/offline/RDirectSegmentSource.h"

#include <algorithm>

namespace vantor {

RDirectSegmentSource::RDirectSegmentSource(const RPlaybackPlan& plan) : plan_(plan), streams_(plan.segments.size()) {}

RDirectSegmentSource::~RDirectSegmentSource() = default;

void RDirectSegmentSource::locate(int64_t /*frame*/) noexcept {
  for (auto& stream : streams_) stream.reset();
}

bool RDirectSegmentSource::read(size_t index, int64_t offset, float* out, int frames) noexcept {
  if (index >= streams_.size() || frames <= 0) return false;
  const RAudioSegment& segment = plan_.segments[index];
  const size_t samples = static_cast<size_t>(frames) * static_cast<size_t>(std::max(1, segment.channels));
  std::fill(out, out + samples, 0.0f);
  auto& stream = streams_[index];
  try {
    if (!stream || stream->position() != offset) {
      stream = std::make_unique<RSegmentStream>(segment, plan_.sampleRate);
      if (!stream->seek(offset)) {
        if (error_.empty()) error_ = stream->error();
        stream.reset();
        return false;
      }
    }
    stream->read(out, frames);
  } catch (const std::exception&) {  // allocation failed
    if (error_.empty()) error_ = "Not enough memory to read the audio clips";
    stream.reset();
    return false;
  }
  if (!stream->error().empty()) {
    if (error_.empty()) error_ = stream->error();
    stream.reset();
    return false;
  }
  if (offset + frames >= segment.length) stream.reset();
  return true;
}

}  // namespace vantor
