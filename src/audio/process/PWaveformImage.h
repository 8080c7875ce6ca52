#pragma once
// A picture of an audio file's waveform: one lane per channel, stacked from
// the top, each as high as the picture divided by the channels. Every pixel
// column stands for an equal share of the frames and shows, as one
// vertical line, the range from the smallest to the largest sample of its
// share (full scale at the lane's edges, +1 at the top). Columns that
// touch a detected region have a tinted background; a grey line marks the
// zero level of each lane.

#include <cstdint>
#include <functional>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/process/PRgbImage.h"
#include "audio/process/PSilenceDetector.h"

namespace vantor {

class PWaveformImage {
 public:
  static constexpr PRgb kBackground = {255, 255, 255};
  static constexpr PRgb kRegionBackground = {255, 226, 160};
  static constexpr PRgb kZeroLine = {176, 176, 176};
  static constexpr PRgb kWave = {24, 64, 150};

  // Limits of the picture's size, so that it stays under 100 MB in memory.
  static constexpr int kMaxWidth = 8192;
  static constexpr int kMaxHeight = 4096;

  // Whether a width × height picture can show files of channels channels:
  // both sizes within 1 and the limits, and a lane at least a pixel high.
  static bool fits(int width, int height, int channels);

  // Called after each block read with the frames read so far.
  using Progress = std::function<void(int64_t frames)>;

  // Reads every frame of reader's file from its start, in blocks, and draws
  // the picture into *image (regions in frames, sorted). False when fits()
  // is false or the file could not be read to its end; *image is then
  // unchanged.
  [[nodiscard]] static bool render(AudioFileReader& reader, int width, int height,
                                   const std::vector<SilenceRegion>& regions, PRgbImage* image,
                                   const Progress& progress = {});

  // The row at which a lane starting at row top and height rows high shows
  // the sample value v (clamped to [-1, 1]; NaN as 0).
  static int rowFor(float v, int top, int height);
};

}  // namespace vantor
