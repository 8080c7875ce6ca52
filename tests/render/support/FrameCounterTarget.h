#pragma once
// A stand-in for the playback engine in transport tests: each frame it
// renders carries its timeline position (frame + 1 on the left, its negative
// on the right, so that silence is told apart from frame 0). After a locate
// it is not ready for `prerollCalls` calls of ready().

#include <cstdint>

#include "render/realtime/RJackTransport.h"

namespace vantor::test {

class FrameCounterTarget : public RPlayTarget {
 public:
  int maxFrames() const noexcept override { return 64; }
  void locate(int64_t frame) noexcept override {
    position = frame;
    notReady = prerollCalls;
  }
  bool ready() noexcept override { return notReady == 0 || --notReady == 0; }
  void process(float* left, float* right, int frames) noexcept override {
    if (frames > largestBlock) largestBlock = frames;
    for (int i = 0; i < frames; ++i, ++position) {
      left[i] = static_cast<float>(position + 1);
      right[i] = -left[i];
    }
  }
  int64_t position = 0;
  int prerollCalls = 0;
  int notReady = 0;
  int largestBlock = 0;
};

}  // namespace vantor::test
