#pragma once
// Silence detection: finds the stretches of a clip that are loud enough to
// keep, as regions of frames. The detector is fed the clip's samples block
// by block (32-bit float, interleaved) and keeps its state across blocks,
// so any division of the clip into blocks gives the same regions.

#include <cstdint>
#include <vector>

namespace vantor {

// One detected stretch: frames from start up to, not including, end.
struct SilenceRegion {
  int64_t start = 0;
  int64_t end = 0;
  bool operator==(const SilenceRegion&) const = default;
};

class PSilenceDetector {
 public:
  enum class Mode {
    // The level of a frame is the largest absolute sample over its channels.
    kRaw,
    // The level is the sum of the channels' absolute values, smoothed per
    // frame as s = c × s + (1 − c) × level; the tests are made on s.
    kSmoothed,
  };

  struct Parameters {
    // Linear amplitudes. A closed detector opens on a level strictly above
    // openThreshold; an open one closes on a level at or below closeThreshold.
    float openThreshold = 0.01f;
    float closeThreshold = 0.00316f;
    // Frames counted from the opening frame (as 1) up to and including the
    // frame that may close: a region closes no earlier than this.
    int64_t minOpenFrames = 0;
    // A region that opens while fewer frames than this have passed since the
    // previous one closed continues that region instead (the gap is bridged).
    int64_t minClosedFrames = 0;
    Mode mode = Mode::kRaw;
    // The smoothing coefficient c of kSmoothed, 0 ≤ c < 1.
    float smoothing = 0.0f;
  };

  PSilenceDetector(const Parameters& parameters, int channels);

  // Feeds frames × channels interleaved samples that follow the ones fed so far.
  void process(const float* samples, int64_t frames);
  // Ends a region still open at the end of the frames fed (the clip's end).
  // Call once, after the last block.
  void finish();

  int64_t framesProcessed() const { return position_; }
  // The regions in order, complete after finish(). Before it, the last one
  // may still be open (its end not yet known).
  const std::vector<SilenceRegion>& regions() const { return regions_; }

  // c = e^(−1 / (timeConstantMs × sampleRate / 1000)): the smoothed level
  // reaches 1 − 1/e of a step in timeConstantMs. 0 for a constant of 0;
  // always below 1.
  static float smoothingForTimeConstant(double timeConstantMs, double sampleRate);

 private:
  void computeLevels(const float* samples, int64_t frames);
  void stepThrough(const float* levels, int64_t frames);
  void step(float level);

  Parameters parameters_;
  int channels_;
  std::vector<float> levels_;  // the current block's level per frame
  float smoothed_ = 0.0f;
  int64_t position_ = 0;  // the frame the next call of step() looks at
  bool open_ = false;
  int64_t openFrames_ = 0;        // frames of the current open stretch
  int64_t lastRegionFrames_ = 0;  // the open count when the last region closed
  int64_t framesSinceClose_ = 0;
  // regions_[k] is the region being opened; k = regions_.size() - 1 while open.
  std::vector<SilenceRegion> regions_;
};

// Milliseconds (≥ 0) as frames at sampleRate: ms × rate / 1000, truncated,
// and at most 2^62.
int64_t millisecondsToFrames(double milliseconds, double sampleRate);

// Widens each region by preRoll frames before and postRoll frames after,
// within 0 and lengthFrames. Where widened regions would overlap, they are
// cut at the meeting point: the earlier region's post-roll goes up to the
// later region's start at most, and the later region's pre-roll stops at the
// earlier region's widened end. So the regions keep their number and order,
// and no detected frame is given to another region.
std::vector<SilenceRegion> widenRegions(const std::vector<SilenceRegion>& regions, int64_t preRoll, int64_t postRoll,
                                        int64_t lengthFrames);

}  // namespace vantor
