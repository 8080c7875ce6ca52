// The waveform picture: pixels at places worked by hand, the column ranges
// against a plain per-frame oracle for lengths on both sides of the width,
// and the PNG read back through libpng.

#include "audio/process/PWaveformImage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "audio/AudioTestSupport.h"
#include "audio/process/PPngWriter.h"
#include "support/PngReader.h"

namespace vantor {
namespace {

// Writes samples (interleaved) as a 32-bit float WAVE and renders it.
PRgbImage render(const test::TempDir& dir, int channels, const std::vector<float>& samples, int width, int height,
                 const std::vector<SilenceRegion>& regions = {}) {
  const std::string path = dir.file("wave.wav");
  EXPECT_TRUE(test::writeOurs(path, test::makeFile("WAVE", 8000, channels, 32, SampleType::kFloat), samples));
  AudioFileReader reader;
  EXPECT_TRUE(reader.open(path));
  PRgbImage image;
  EXPECT_TRUE(PWaveformImage::render(reader, width, height, regions, &image));
  return image;
}

TEST(PWaveformImage, DrawsLanesRangesAndRegionsWhereWorkedByHand) {
  test::TempDir dir;
  // 1000 stereo frames in 100 columns: 10 frames a column. Left: ±1 for
  // frames below 500, then 0. Right: 0.5 on frames 200 to 299, else 0.
  std::vector<float> samples(2000, 0.0f);
  for (int f = 0; f < 500; ++f) samples[2 * f] = f % 2 == 0 ? 1.0f : -1.0f;
  for (int f = 200; f < 300; ++f) samples[2 * f + 1] = 0.5f;
  const PRgbImage image = render(dir, 2, samples, 100, 41, {{200, 300}});
  ASSERT_EQ(image.width, 100);
  ASSERT_EQ(image.height, 41);
  // Left lane: rows 0 to 19, so +1 -> row 0, -1 -> row 19, 0 -> row
  // lround(9.5) = 10. Right lane: rows 20 to 40, 0 -> 20 + 10 = 30,
  // 0.5 -> 20 + lround(0.5 × 20 / 2) = 25.
  for (int y = 0; y < 20; ++y) EXPECT_EQ(image.at(10, y), PWaveformImage::kWave) << y;
  EXPECT_EQ(image.at(70, 10), PWaveformImage::kWave);
  EXPECT_EQ(image.at(70, 9), PWaveformImage::kBackground);
  EXPECT_EQ(image.at(70, 0), PWaveformImage::kBackground);
  EXPECT_EQ(image.at(10, 30), PWaveformImage::kWave);
  EXPECT_EQ(image.at(10, 25), PWaveformImage::kBackground);
  // Columns 20 to 29 hold frames 200 to 299: the region, tinted, with the
  // wave at 0.5 and the zero line showing below it.
  EXPECT_EQ(image.at(25, 25), PWaveformImage::kWave);
  EXPECT_EQ(image.at(25, 26), PWaveformImage::kRegionBackground);
  EXPECT_EQ(image.at(25, 30), PWaveformImage::kZeroLine);
  EXPECT_EQ(image.at(20, 40), PWaveformImage::kRegionBackground);
  EXPECT_EQ(image.at(29, 35), PWaveformImage::kRegionBackground);
  EXPECT_EQ(image.at(19, 40), PWaveformImage::kBackground);
  EXPECT_EQ(image.at(30, 40), PWaveformImage::kBackground);
}

// The rows of column x in lane [top, top + height) that show the wave.
std::pair<int, int> waveRows(const PRgbImage& image, int x, int top, int height) {
  int first = -1, last = -1;
  for (int y = top; y < top + height; ++y) {
    if (image.at(x, y) != PWaveformImage::kWave) continue;
    if (first < 0) first = y;
    last = y;
  }
  return {first, last};
}

TEST(PWaveformImage, ColumnsShowTheRangeOfTheirFramesAtAnyLength) {
  test::TempDir dir;
  std::mt19937 random(5);
  std::uniform_real_distribution<float> value(-1.0f, 1.0f);
  const int width = 64, height = 33;
  for (const int length : {1, 5, 63, 64, 65, 1000, 70001}) {
    SCOPED_TRACE(length);
    std::vector<float> samples(static_cast<size_t>(length));
    for (float& s : samples) s = value(random);
    const PRgbImage image = render(dir, 1, samples, width, height);
    for (int x = 0; x < width; ++x) {
      // The oracle: frame f belongs to column f × width / length; a column
      // without frames shows the last frame before it.
      float low = 2.0f, high = -2.0f;
      for (int f = 0; f < length; ++f) {
        if (static_cast<int64_t>(f) * width / length != x) continue;
        low = std::min(low, samples[static_cast<size_t>(f)]);
        high = std::max(high, samples[static_cast<size_t>(f)]);
      }
      if (low > high) {
        for (int f = length - 1; f >= 0; --f) {
          if (static_cast<int64_t>(f) * width / length < x) {
            low = high = samples[static_cast<size_t>(f)];
            break;
          }
        }
      }
      EXPECT_EQ(waveRows(image, x, 0, height),
                std::make_pair(PWaveformImage::rowFor(high, 0, height), PWaveformImage::rowFor(low, 0, height)))
          << "column " << x;
    }
  }
}

TEST(PWaveformImage, RefusesSizesThatCannotShowTheFile) {
  EXPECT_TRUE(PWaveformImage::fits(1, 1, 1));
  EXPECT_FALSE(PWaveformImage::fits(0, 10, 1));
  EXPECT_FALSE(PWaveformImage::fits(10, 2, 3));  // a lane under a pixel
  EXPECT_FALSE(PWaveformImage::fits(PWaveformImage::kMaxWidth + 1, 10, 1));
  EXPECT_FALSE(PWaveformImage::fits(10, PWaveformImage::kMaxHeight + 1, 1));
  EXPECT_EQ(PWaveformImage::rowFor(std::nanf(""), 4, 11), 9);
  EXPECT_EQ(PWaveformImage::rowFor(-7.0f, 4, 11), 14);
}

TEST(PPngWriter, LibpngReadsBackEveryPixel) {
  test::TempDir dir;
  PRgbImage image(7, 5, {1, 2, 3});
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) image.set(x, y, {static_cast<uint8_t>(x * 30), static_cast<uint8_t>(y * 50), 9});
  }
  std::string error;
  ASSERT_TRUE(PPngWriter::write(dir.file("p.png"), image, &error)) << error;
  const auto back = test::readPng(dir.file("p.png"));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->width, 7);
  EXPECT_EQ(back->height, 5);
  EXPECT_EQ(back->rgb, image.pixels);

  // A folder that does not exist: refused, nothing left behind.
  EXPECT_FALSE(PPngWriter::write(dir.file("none/p.png"), image, &error));
  EXPECT_EQ(error, "No such file or directory");
  EXPECT_FALSE(std::filesystem::exists(dir.file("none")));
}

}  // namespace
}  // namespace vantor
