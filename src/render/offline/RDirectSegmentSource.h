#pragma once
// The segment source of the offline render: each segment that sounds is
// read through its own RSegmentStream straight from the files, opened when
// the segment is first read and reopened after a jump. Not real-time safe
// (it reads files in read()); the real-time engine uses the streamed source.

#include <memory>
#include <string>
#include <vector>

#include "render/RPlaybackPlan.h"
#include "render/RSegmentSource.h"
#include "render/engine/RSegmentStream.h"

namespace vantor {

class RDirectSegmentSource : public RSegmentSource {
 public:
  // Reads the segments of `plan`, which must outlive the source.
  explicit RDirectSegmentSource(const RPlaybackPlan& plan);
  ~RDirectSegmentSource() override;

  void locate(int64_t frame) noexcept override;
  // Fills `out` from the segment's stream; a segment whose material ends
  // early is padded with silence. False (and `out` silent from the failure
  // on) when the clip cannot be read: error() then says why.
  bool read(size_t index, int64_t offset, float* out, int frames) noexcept override;

  // The first failure met, in the system's words; "" while all went well.
  const std::string& error() const { return error_; }

 private:
  const RPlaybackPlan& plan_;
  std::vector<std::unique_ptr<RSegmentStream>> streams_;  // by segment index
  std::string error_;
};

}  // namespace vantor
