// `vantor waveform` on a generated file: the PNG read back with libpng and
// checked at pixels worked by hand, and the refusals with their exit codes.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/process/PWaveformImage.h"
#include "support/PngReader.h"

namespace vantor {
namespace {

using test::runVantor;
using test::TempFolder;

// 8 kHz mono float, 8000 frames: 0.5 on frames 2000 to 3999, else 0.
std::string writeBurst(const TempFolder& dir, int channels = 1) {
  const std::string path = (dir / "burst.wav").string();
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = 8000;
  file.format.channels = static_cast<int16_t>(channels);
  file.format.bitsPerSample = 32;
  file.format.sampleType = SampleType::kFloat;
  std::vector<float> samples(static_cast<size_t>(8000 * channels), 0.0f);
  for (int i = 2000 * channels; i < 4000 * channels; ++i) samples[static_cast<size_t>(i)] = 0.5f;
  AudioFileWriter writer;
  EXPECT_TRUE(writer.open(path, file) && writer.writeFrames(samples.data(), 8000) && writer.close());
  return path;
}

TEST(CliWaveform, DrawsTheWaveAndTintsTheDetectedRegion) {
  TempFolder dir;
  const std::string in = writeBurst(dir);
  const std::string png = (dir / "wave.png").string();
  const auto result = runVantor({"waveform", in, "-o", png, "--regions", "--width", "80", "--height", "41", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const nlohmann::json json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json.at("frames"), 8000);
  EXPECT_EQ(json.at("regions"), nlohmann::json::parse(R"([{"start": 2000, "end": 4000}])"));

  const auto picture = test::readPng(png);
  ASSERT_TRUE(picture);
  ASSERT_EQ(picture->width, 80);
  ASSERT_EQ(picture->height, 41);
  // 100 frames a column, so the region is columns 20 to 39. Rows: 0 at
  // lround(40 / 2) = 20, 0.5 at lround(0.5 × 40 / 2) = 10.
  EXPECT_EQ(picture->at(30, 10), PWaveformImage::kWave);
  EXPECT_EQ(picture->at(30, 11), PWaveformImage::kRegionBackground);
  EXPECT_EQ(picture->at(30, 20), PWaveformImage::kZeroLine);
  EXPECT_EQ(picture->at(20, 30), PWaveformImage::kRegionBackground);
  EXPECT_EQ(picture->at(39, 0), PWaveformImage::kRegionBackground);
  EXPECT_EQ(picture->at(19, 30), PWaveformImage::kBackground);
  EXPECT_EQ(picture->at(40, 30), PWaveformImage::kBackground);
  EXPECT_EQ(picture->at(10, 20), PWaveformImage::kWave);

  // Without --regions nothing is tinted; the text output names the picture.
  const auto plain = runVantor({"waveform", in, "-o", png, "--width", "80", "--height", "41"});
  ASSERT_EQ(plain.status, 0) << plain.err;
  EXPECT_EQ(plain.out, png + ": 80 x 41 pixels, 1 channels, 8000 frames\n");
  EXPECT_EQ(test::readPng(png)->at(30, 30), PWaveformImage::kBackground);
}

TEST(CliWaveform, RefusesBadInputAndLeavesNoPicture) {
  TempFolder dir;
  const std::string in = writeBurst(dir, 3);
  const std::string png = (dir / "out.png").string();
  std::ofstream(dir / "text.wav") << "not audio";
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err;  // the start of stderr; "" when only the status counts
  };
  const std::vector<Case> cases = {
      {{"waveform", (dir / "text.wav").string(), "-o", png},
       1,
       "\"" + (dir / "text.wav").string() + "\": Error: Invalid or unsupported file!\n"},
      {{"waveform", (dir / "none.wav").string(), "-o", png}, 1, "\"" + (dir / "none.wav").string() + "\": "},
      {{"waveform", in, "-o", png, "--height", "2"},
       1,
       "\"" + in + "\": 3 channels need a picture at least 3 pixels high\n"},
      {{"waveform", in, "-o", (dir / "no/such/folder.png").string()},
       1,
       "\"" + (dir / "no/such/folder.png").string() + "\": No such file or directory\n"},
      {{"waveform", in, "-o", png, "--open", "-30"}, 2, ""},
      {{"waveform", in, "-o", png, "--width", "0"}, 2, ""},
      {{"waveform", in}, 2, ""},
  };
  for (const Case& c : cases) {
    const auto result = runVantor(c.args);
    EXPECT_EQ(result.status, c.status) << c.args.back() << ": " << result.err;
    EXPECT_EQ(result.err.substr(0, c.err.size()), c.err);
    EXPECT_FALSE(std::filesystem::exists(png));
  }
  // Only the two inputs are left: no temporary picture either.
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) files += entry.is_regular_file() ? 1 : 0;
  EXPECT_EQ(files, 2);
}

}  // namespace
}  // namespace vantor
