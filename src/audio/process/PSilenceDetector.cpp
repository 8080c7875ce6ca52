#include "audio/process/PSilenceDetector.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace vantor {

namespace {

// The per-frame level of a block, in loops the vectoriser can take: the
// largest absolute value over the channels (raw mode) or their sum
// (smoothed mode).
template <bool kSum>
void frameLevels(const float* samples, int64_t frames, int channels, float* levels) {
  if (channels == 1) {
    for (int64_t i = 0; i < frames; ++i) levels[i] = std::fabs(samples[i]);
  } else if (channels == 2) {
    for (int64_t i = 0; i < frames; ++i) {
      const float left = std::fabs(samples[2 * i]);
      const float right = std::fabs(samples[2 * i + 1]);
      levels[i] = kSum ? left + right : std::max(left, right);
    }
  } else {
    for (int64_t i = 0; i < frames; ++i) {
      const float* frame = samples + i * channels;
      float level = std::fabs(frame[0]);
      for (int c = 1; c < channels; ++c)
        level = kSum ? level + std::fabs(frame[c]) : std::max(level, std::fabs(frame[c]));
      levels[i] = level;
    }
  }
}

// The offset of the first of frames levels that matches, or frames when none
// does. Groups of 16 are tested without a branch per level.
template <typename Match>
int64_t firstFrame(const float* levels, int64_t frames, Match match) {
  constexpr int64_t kGroup = 16;
  int64_t i = 0;
  for (; i + kGroup <= frames; i += kGroup) {
    int matches = 0;
    for (int64_t k = 0; k < kGroup; ++k) matches += match(levels[i + k]) ? 1 : 0;
    if (matches != 0) break;
  }
  while (i < frames && !match(levels[i])) ++i;
  return i;
}

}  // namespace

PSilenceDetector::PSilenceDetector(const Parameters& parameters, int channels)
    : parameters_(parameters), channels_(channels) {
  assert(channels > 0);
  assert(parameters.smoothing >= 0.0f && parameters.smoothing < 1.0f);
}

void PSilenceDetector::process(const float* samples, int64_t frames) {
  if (frames <= 0) return;
  computeLevels(samples, frames);
  float* levels = levels_.data();
  if (parameters_.mode == Mode::kSmoothed) {
    // The smoothing runs through every frame in order; it cannot be vectorised.
    const float c = parameters_.smoothing;
    float s = smoothed_;
    for (int64_t i = 0; i < frames; ++i) levels[i] = s = c * s + (1.0f - c) * levels[i];
    smoothed_ = s;
  }
  stepThrough(levels, frames);
}

// The state machine over a block of levels. Most frames change nothing but
// a counter: while closed, every frame at or below the open threshold; while
// open, every frame above the close threshold (it cannot close). Those
// runs are skipped in a scan and counted at once; the frames that may change
// the state go through step().
void PSilenceDetector::stepThrough(const float* levels, int64_t frames) {
  const float openThreshold = parameters_.openThreshold;
  const float closeThreshold = parameters_.closeThreshold;
  int64_t i = 0;
  while (i < frames) {
    int64_t run = 0;
    if (!open_) {
      run = firstFrame(levels + i, frames - i, [openThreshold](float level) { return level > openThreshold; });
      framesSinceClose_ += run;
    } else {
      run = firstFrame(levels + i, frames - i, [closeThreshold](float level) { return level <= closeThreshold; });
      openFrames_ += run;
    }
    position_ += run;
    i += run;
    if (i < frames) step(levels[i++]);
  }
}

void PSilenceDetector::computeLevels(const float* samples, int64_t frames) {
  if (levels_.size() < static_cast<size_t>(frames)) levels_.resize(static_cast<size_t>(frames));
  if (parameters_.mode == Mode::kRaw) {
    frameLevels<false>(samples, frames, channels_, levels_.data());
  } else {
    frameLevels<true>(samples, frames, channels_, levels_.data());
  }
}

// One frame of the detection's state machine. The asymmetry is deliberate:
// opening needs a level strictly above the open threshold, closing a level
// at or below the close threshold, and the minimum open length counts every
// frame since the opening, loud or quiet.
void PSilenceDetector::step(float level) {
  if (!open_) {
    if (level > parameters_.openThreshold) {
      open_ = true;
      if (!regions_.empty() && framesSinceClose_ < parameters_.minClosedFrames) {
        // Too short a gap: the previous region goes on, its count with it.
        openFrames_ = lastRegionFrames_;
      } else {
        openFrames_ = 1;
        regions_.push_back({position_, position_});
      }
    }
    ++framesSinceClose_;
  } else {
    ++openFrames_;
    if (level <= parameters_.closeThreshold && openFrames_ >= parameters_.minOpenFrames) {
      lastRegionFrames_ = openFrames_;
      open_ = false;
      openFrames_ = 0;
      framesSinceClose_ = 0;
      regions_.back().end = position_;
    }
  }
  ++position_;
}

void PSilenceDetector::finish() {
  if (!open_) return;
  regions_.back().end = position_;
  open_ = false;
}

float PSilenceDetector::smoothingForTimeConstant(double timeConstantMs, double sampleRate) {
  const double frames = timeConstantMs * sampleRate / 1000.0;
  if (!(frames > 0.0)) return 0.0f;
  // At rates far beyond any real one c would round to 1, a level that never moves.
  return std::min(static_cast<float>(std::exp(-1.0 / frames)), std::nextafter(1.0f, 0.0f));
}

int64_t millisecondsToFrames(double milliseconds, double sampleRate) {
  // A header may claim any rate; beyond 2^62 frames is beyond any file, and
  // a region widened by that much still fits in 64 bits.
  constexpr double kMostFrames = 4611686018427387904.0;  // 2^62
  const double frames = milliseconds * sampleRate / 1000.0;
  if (!(frames > 0.0)) return 0;
  return frames < kMostFrames ? static_cast<int64_t>(frames) : static_cast<int64_t>(kMostFrames);
}

std::vector<SilenceRegion> widenRegions(const std::vector<SilenceRegion>& regions, int64_t preRoll, int64_t postRoll,
                                        int64_t lengthFrames) {
  std::vector<SilenceRegion> widened;
  widened.reserve(regions.size());
  for (size_t i = 0; i < regions.size(); ++i) {
    SilenceRegion region{std::max<int64_t>(0, regions[i].start - preRoll),
                         std::min(lengthFrames, regions[i].end + postRoll)};
    if (i + 1 < regions.size()) region.end = std::min(region.end, regions[i + 1].start);
    if (!widened.empty()) region.start = std::max(region.start, widened.back().end);
    widened.push_back(region);
  }
  return widened;
}

}  // namespace vantor
