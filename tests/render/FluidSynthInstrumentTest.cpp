#include "render/instruments/RFluidSynthInstrument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

#include "document/DocumentTestSupport.h"
#include "render/RInstrumentFactory.h"
#include "render/RenderTestSupport.h"
#include "render/instruments/RSharedSoundFont.h"

namespace vantor {
namespace {

using namespace rendertest;

constexpr int kRate = 48000;
constexpr const char* kSoundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";

std::unique_ptr<RInstrument> makeInstrument(const std::string& path, std::string* error = nullptr) {
  return RStandardInstrumentFactory().create({RInstrumentChoice::Kind::kSoundFont, path}, kRate, error);
}

class FluidSynthInstrumentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kSoundFont)) GTEST_SKIP() << kSoundFont << " is not installed";
  }
};

TEST_F(FluidSynthInstrumentTest, RandomSplitsRenderTheSameSamples) {
  std::mt19937 random(5);
  constexpr int64_t kFrames = kRate;
  const std::vector<Timed> messages = randomMessages(random, kFrames, 200);
  std::unique_ptr<RInstrument> whole = makeInstrument(kSoundFont);
  ASSERT_TRUE(whole);
  const Stereo reference = renderTimed(*whole, messages, kFrames);
  EXPECT_GT(peak(reference.left), 0.01f);
  for (int maxBlock : {1, 100, 5000}) {
    std::unique_ptr<RInstrument> split = makeInstrument(kSoundFont);
    const Stereo out = renderTimed(*split, messages, kFrames, randomCuts(random, kFrames, maxBlock));
    ASSERT_EQ(out.left, reference.left) << maxBlock;
    ASSERT_EQ(out.right, reference.right) << maxBlock;
  }
}

TEST_F(FluidSynthInstrumentTest, MessagesTakeEffectAtTheNextStepOf64Frames) {
  // A note given at frame f starts at the first multiple of 64 at or after f.
  for (int64_t at : {0, 10, 64, 100}) {
    std::unique_ptr<RInstrument> synth = makeInstrument(kSoundFont);
    const Stereo out = renderTimed(*synth, {{at, 0x90, 60, 110}}, 1024);
    size_t first = 0;
    while (first < out.left.size() && out.left[first] == 0.0f) ++first;
    const int64_t step = (at + 63) / 64 * 64;
    EXPECT_GE(static_cast<int64_t>(first), step) << at;
    EXPECT_LT(static_cast<int64_t>(first), step + 8) << at;
  }
}

TEST_F(FluidSynthInstrumentTest, ResetSilencesRestoresAndAddsToTheBuffer) {
  std::unique_ptr<RInstrument> synth = makeInstrument(kSoundFont);
  const Stereo before =
      renderTimed(*synth, {{0, 0xc0, 40, 0}, {0, 0xb0, 7, 30}, {0, 0x90, 60, 110}, {0, 0x99, 49, 110}}, 4096);
  ASSERT_GT(peak(before.left), 0.01f);
  synth->reset();
  // Frames already made for the current step of 64 may still follow; here
  // the position is on a step, so silence starts at once. The output is
  // added: the buffer's 0.5 stays.
  std::vector<float> after(4096, 0.5f), right(4096, 0.0f);
  synth->render(after.data(), right.data(), 4096);
  for (float x : after) ASSERT_EQ(x, 0.5f);
  // Program and volume are back to their defaults: a note sounds as on a
  // new instrument, but for its first step (a reused FluidSynth voice
  // starts its filter from the previous note's setting).
  std::unique_ptr<RInstrument> fresh = makeInstrument(kSoundFont);
  const Stereo again = renderTimed(*synth, {{0, 0x90, 60, 110}}, 4096);
  const Stereo first = renderTimed(*fresh, {{0, 0x90, 60, 110}}, 4096);
  EXPECT_GT(peak(first.left), 0.01f);
  EXPECT_TRUE(std::equal(again.left.begin() + 64, again.left.end(), first.left.begin() + 64));
}

TEST_F(FluidSynthInstrumentTest, TracksShareOneLoadOfTheSoundFont) {
  std::shared_ptr<RSharedSoundFont> first = RSharedSoundFont::acquire(kSoundFont);
  ASSERT_TRUE(first);
  // Another spelling of the same file finds the same load.
  const std::string other = std::string("/usr/share/sounds/../sounds/sf2/") + std::filesystem::path(kSoundFont).filename().string();
  EXPECT_EQ(RSharedSoundFont::acquire(other), first);
  {
    // Instruments made while it is held play the same notes alike, and
    // may go in any order.
    std::vector<std::unique_ptr<RInstrument>> tracks;
    for (int i = 0; i < 8; ++i) tracks.push_back(makeInstrument(kSoundFont));
    std::vector<Stereo> outs;
    for (auto& track : tracks) outs.push_back(renderTimed(*track, {{0, 0xc0, 24, 0}, {0, 0x90, 52, 100}}, 4800));
    for (const Stereo& out : outs) EXPECT_EQ(out.left, outs[0].left);
    tracks.erase(tracks.begin() + 3);
    tracks.erase(tracks.begin());
  }
  first.reset();
  // Released by everyone, it loads afresh (and still plays).
  ASSERT_TRUE(RSharedSoundFont::acquire(kSoundFont));
  std::unique_ptr<RInstrument> synth = makeInstrument(kSoundFont);
  EXPECT_GT(peak(renderTimed(*synth, {{0, 0x90, 60, 100}}, 4800).left), 0.01f);
}

TEST_F(FluidSynthInstrumentTest, InstrumentsComeAndGoOnSeveralThreads) {
  // Engines prepare on their own threads: the shared loads must hold up.
  std::vector<std::thread> threads;
  std::atomic<int> made{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&made] {
      for (int i = 0; i < 3; ++i) {
        std::unique_ptr<RInstrument> a = makeInstrument(kSoundFont);
        std::unique_ptr<RInstrument> b = makeInstrument(kSoundFont);
        if (a && b) ++made;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(made.load(), 12);
}

TEST(FluidSynthInstrument, AFileThatIsNoSoundFontGivesTheMessage) {
  test::TempDir dir;
  auto write = [&](const char* name, const std::string& bytes) {
    const std::string path = dir.file(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  };
  std::string riff("RIFF\x10\x00\x00\x00sfbkLIST\x04\x00\x00\x00INFO", 24);
  std::mt19937 random(3);
  std::string noise(4096, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  std::vector<std::string> paths = {dir.file("missing.sf2"), write("empty.sf2", ""), write("noise.sf2", noise),
                                    write("header.sf2", riff), dir.path()};
  if (std::filesystem::exists(kSoundFont)) {
    // A real SoundFont cut short: the sample chunk is missing.
    std::ifstream in(kSoundFont, std::ios::binary);
    std::string head(65536, '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    paths.push_back(write("truncated.sf2", head));
  }
  for (const std::string& path : paths) {
    std::string error = "untouched";
    EXPECT_FALSE(makeInstrument(path, &error)) << path;
    EXPECT_EQ(error, "Could not load the SoundFont \"" + path + "\".");
  }
  std::string error;
  EXPECT_FALSE(makeInstrument("", &error));
  EXPECT_EQ(error, "Could not load the SoundFont \"\".");
}

TEST(InstalledSoundFont, IsAnExistingFileOrNothing) {
  const std::string found = installedSoundFont();
  if (found.empty()) {
    EXPECT_FALSE(std::filesystem::exists("/usr/share/sounds/sf2/default-GM.sf2"));
  } else {
    EXPECT_TRUE(std::filesystem::is_regular_file(found));
    if (std::filesystem::exists("/usr/share/sounds/sf2/default-GM.sf2")) {
      EXPECT_EQ(found, "/usr/share/sounds/sf2/default-GM.sf2");
    }
  }
}

}  // namespace
}  // namespace vantor
