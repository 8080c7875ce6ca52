#include "audio/process/PWaveformImage.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vantor {

namespace {

constexpr int64_t kBlockSamples = int64_t{1} << 16;

// The smallest and largest sample of every column and channel.
struct ColumnRanges {
  int width;
  int channels;
  std::vector<float> low;   // [column × channels + channel]
  std::vector<float> high;  // low > high: no frame seen yet

  ColumnRanges(int w, int c)
      : width(w),
        channels(c),
        low(static_cast<size_t>(w) * c, std::numeric_limits<float>::infinity()),
        high(static_cast<size_t>(w) * c, -std::numeric_limits<float>::infinity()) {}

  // With fewer frames than columns some columns get none: they show the
  // frame of the column before them (column 0 always has frame 0).
  void fillEmpty() {
    for (size_t i = static_cast<size_t>(channels); i < low.size(); ++i) {
      if (low[i] > high[i]) {
        low[i] = low[i - static_cast<size_t>(channels)];
        high[i] = high[i - static_cast<size_t>(channels)];
      }
    }
  }
};

// Frame f belongs to column floor(f × width / length); column x thus holds
// frames from ceil(x × length / width) on.
int64_t columnStart(int64_t column, int64_t length, int width) { return (column * length + width - 1) / width; }

bool readColumns(AudioFileReader& reader, ColumnRanges* ranges, const PWaveformImage::Progress& progress) {
  const int64_t length = reader.file().lengthFrames;
  const int channels = ranges->channels;
  const int64_t blockFrames = std::max<int64_t>(1, kBlockSamples / channels);
  std::vector<float> block(static_cast<size_t>(blockFrames * channels));
  if (!reader.seekFrame(0)) return false;
  int64_t frame = 0;
  int64_t column = 0;
  int64_t nextStart = columnStart(1, length, ranges->width);
  while (frame < length) {
    const int64_t got = reader.readFrames(block.data(), blockFrames);
    if (got <= 0) return false;
    for (int64_t i = 0; i < got; ++i, ++frame) {
      while (frame >= nextStart) nextStart = columnStart(++column + 1, length, ranges->width);
      float* low = &ranges->low[static_cast<size_t>(column * channels)];
      float* high = &ranges->high[static_cast<size_t>(column * channels)];
      const float* sample = &block[static_cast<size_t>(i * channels)];
      for (int c = 0; c < channels; ++c) {
        const float v = std::isnan(sample[c]) ? 0.0f : sample[c];
        low[c] = std::min(low[c], v);
        high[c] = std::max(high[c], v);
      }
    }
    if (progress) progress(frame);
  }
  ranges->fillEmpty();
  return true;
}

// Tints the background of the columns whose frames meet a region (regions
// sorted, as detection gives them).
void drawRegions(PRgbImage& image, const std::vector<SilenceRegion>& regions, int64_t length) {
  size_t r = 0;
  for (int x = 0; x < image.width && length > 0; ++x) {
    int64_t start = columnStart(x, length, image.width);
    int64_t end = columnStart(x + 1, length, image.width);
    if (start == end) start = end - 1;  // an empty column shows the frame before it
    while (r < regions.size() && regions[r].end <= start) ++r;
    bool meets = false;
    for (size_t k = r; k < regions.size() && regions[k].start < end && !meets; ++k) {
      meets = regions[k].end > regions[k].start;
    }
    if (!meets) continue;
    for (int y = 0; y < image.height; ++y) image.set(x, y, PWaveformImage::kRegionBackground);
  }
}

}  // namespace

bool PWaveformImage::fits(int width, int height, int channels) {
  return width >= 1 && width <= kMaxWidth && height >= 1 && height <= kMaxHeight && channels >= 1 && height >= channels;
}

int PWaveformImage::rowFor(float v, int top, int height) {
  v = std::isnan(v) ? 0.0f : std::clamp(v, -1.0f, 1.0f);
  return top + static_cast<int>(std::lround((1.0 - v) * (height - 1) / 2.0));
}

bool PWaveformImage::render(AudioFileReader& reader, int width, int height, const std::vector<SilenceRegion>& regions,
                            PRgbImage* image, const Progress& progress) {
  const int channels = reader.file().format.channels;
  if (!fits(width, height, channels)) return false;
  const int64_t length = reader.file().lengthFrames;
  ColumnRanges ranges(width, channels);
  if (length > 0 && !readColumns(reader, &ranges, progress)) return false;

  PRgbImage picture(width, height, kBackground);
  drawRegions(picture, regions, length);
  for (int c = 0; c < channels; ++c) {
    const int top = c * height / channels;
    const int laneHeight = (c + 1) * height / channels - top;
    const int zero = rowFor(0.0f, top, laneHeight);
    for (int x = 0; x < width; ++x) picture.set(x, zero, kZeroLine);
    for (int x = 0; length > 0 && x < width; ++x) {
      const size_t i = static_cast<size_t>(x) * channels + c;
      const int from = rowFor(ranges.high[i], top, laneHeight);
      const int to = rowFor(ranges.low[i], top, laneHeight);
      for (int y = from; y <= to; ++y) picture.set(x, y, kWave);
    }
  }
  *image = std::move(picture);
  return true;
}

}  // namespace vantor
