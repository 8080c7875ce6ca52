// `vantor demo`: the main job makes its project, render, picture and voice
// in a fresh folder; the project opens with what the job built; the render
// (read back by libsndfile) runs to the end of the song and its tail and is
// sound throughout; files are replaced only when forced; a failure leaves
// no file behind.

#include <gtest/gtest.h>
#include <sndfile.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "support/PngReader.h"

namespace vantor {
namespace {

using nlohmann::json;
using test::runVantor;
using test::slurp;
using test::TempFolder;

struct Sound {
  int channels = 0;
  int rate = 0;
  std::vector<float> samples;  // interleaved
};

Sound readSound(const std::string& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) return {};
  Sound sound{info.channels, info.samplerate, std::vector<float>(static_cast<size_t>(info.frames * info.channels))};
  sf_readf_float(file, sound.samples.data(), info.frames);
  sf_close(file);
  return sound;
}

// The loudest sample of each whole second.
std::vector<float> peaksPerSecond(const Sound& sound) {
  std::vector<float> peaks;
  const size_t second = static_cast<size_t>(sound.rate * sound.channels);
  for (size_t at = 0; at + second <= sound.samples.size(); at += second) {
    float peak = 0;
    for (size_t i = at; i < at + second; ++i) peak = std::max(peak, std::fabs(sound.samples[i]));
    peaks.push_back(peak);
  }
  return peaks;
}

TEST(CliDemo, MakesEveryFileAndTheProjectOpensWithWhatItBuilt) {
  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  const auto r = runVantor({"demo", file});
  ASSERT_EQ(r.status, 0) << r.err;
  for (const std::string& path :
       {file, (dir / "song.wav").string(), (dir / "song.png").string(), (dir / "Audio" / "Demo Voice.wav").string()}) {
    EXPECT_TRUE(std::filesystem::is_regular_file(path)) << path;
    EXPECT_NE(r.out.find(path), std::string::npos) << path << "\n" << r.out;
  }
  EXPECT_NE(r.out.find("LUFS"), std::string::npos) << r.out;

  const auto opened = runVantor({"info", file, "--json"});
  ASSERT_EQ(opened.status, 0) << opened.err;
  const json j = json::parse(opened.out);
  const struct {
    const char* name;
    double volume;
    int pan;
  } tracks[] = {{"Drums", -3, 0}, {"Bass", -4, -10}, {"Chords", -9, 25}, {"Voice", -5, -20}};
  ASSERT_EQ(j["tracks"].size(), std::size(tracks));
  for (size_t i = 0; i < std::size(tracks); ++i) {
    EXPECT_EQ(j["tracks"][i]["name"], tracks[i].name);
    EXPECT_EQ(j["tracks"][i]["volume"].get<double>(), tracks[i].volume) << tracks[i].name;
    EXPECT_EQ(j["tracks"][i]["pan"].get<int>(), tracks[i].pan) << tracks[i].name;
    EXPECT_EQ(j["tracks"][i]["parts"].size(), 1u) << tracks[i].name;
  }
  // The voice's four tones, each kept as an event of its own.
  EXPECT_EQ(j["tracks"][3]["parts"][0]["events"], 4);
  EXPECT_EQ(j["tracks"][0]["parts"][0]["end"]["bars"], "11.1.1.0");
  ASSERT_EQ(j["tempo"]["events"].size(), 3u);
  EXPECT_EQ(j["tempo"]["events"][2]["function"], "ramp");
  EXPECT_EQ(j["signatures"].size(), 2u);
  EXPECT_EQ(j["markers"].size(), 3u);
  EXPECT_TRUE(j["locators"]["cycle"].get<bool>());

  // The render runs to the end of bar 10 and a second of tail, stereo, with
  // sound in every second of the song and the tail dying away.
  const json end = json::parse(runVantor({"time", file, "11.1.1.0", "--json"}).out);
  const Sound render = readSound((dir / "song.wav").string());
  ASSERT_EQ(render.channels, 2);
  const auto frames = static_cast<int64_t>(render.samples.size() / 2);
  EXPECT_EQ(frames, std::llround((end["seconds"].get<double>() + 1.0) * render.rate));
  const std::vector<float> peaks = peaksPerSecond(render);
  ASSERT_GE(peaks.size(), 18u);
  for (size_t s = 0; s + 1 < static_cast<size_t>(end["seconds"].get<double>()); ++s) {
    EXPECT_GT(peaks[s], 0.05f) << "second " << s;
  }
  EXPECT_LT(peaks.back(), 1.0f);

  const auto picture = test::readPng((dir / "song.png").string());
  ASSERT_TRUE(picture.has_value());
  EXPECT_EQ(picture->width, 1000);
  EXPECT_EQ(picture->height, 200);
  const Sound voice = readSound((dir / "Audio" / "Demo Voice.wav").string());
  EXPECT_EQ(voice.channels, 1);
  EXPECT_EQ(voice.samples.size(), static_cast<size_t>(8 * voice.rate));
}

TEST(CliDemo, ReplacesFilesOnlyWhenForcedAndLeavesNothingAfterAFailure) {
  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"demo", file}).status, 0);
  // Any of its files refuses a second run, which then writes nothing.
  const std::string render = slurp(dir / "song.wav");
  std::filesystem::remove(file);
  const auto again = runVantor({"demo", file});
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("song.wav\" already exists (use --force to replace it)"), std::string::npos) << again.err;
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(slurp(dir / "song.wav"), render);

  const auto forced = runVantor({"demo", file, "--force", "--json"});
  ASSERT_EQ(forced.status, 0) << forced.err;
  const json j = json::parse(forced.out);
  EXPECT_EQ(j["project"], file);
  EXPECT_EQ(j["stretches"], 4);
  EXPECT_GT(j["quantized"].get<int>(), 100);  // of 206 notes, placed up to 18 pulses off
  EXPECT_LE(j["quantized"].get<int>(), j["notes"].get<int>());
  EXPECT_GT(j["loudnessLufs"].get<double>(), -40.0);
  EXPECT_LT(j["peakDb"].get<double>(), 0.0);
  EXPECT_EQ(j["info"]["tracks"].size(), 4u);

  // A render that cannot be written (a folder stands in its place): exit 1,
  // and neither the project nor the voice is left behind.
  TempFolder other;
  std::filesystem::create_directory(other / "x.wav");
  const auto failed = runVantor({"demo", (other / "x.vpr").string(), "--force"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_FALSE(failed.err.empty());
  EXPECT_FALSE(std::filesystem::exists(other / "x.vpr"));
  EXPECT_FALSE(std::filesystem::exists(other / "x.png"));
  EXPECT_FALSE(std::filesystem::exists(other / "Audio"));
}

}  // namespace
}  // namespace vantor
