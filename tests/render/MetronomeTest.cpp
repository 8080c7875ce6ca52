#include "render/RMetronome.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "model/MModelInit.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "render/RenderTestSupport.h"

namespace vantor {
namespace {

using namespace rendertest;

struct Sig {
  int32_t position;
  uint16_t numerator;
  uint16_t denominator;
};

struct Tempo {
  double ppq;
  double bpm;
  int32_t func;
};

// A project whose tempo and signature tracks hold exactly these changes.
FRef<MRoot> makeProject(const std::vector<Tempo>& tempi, const std::vector<Sig>& signatures) {
  initializeModel();
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  FRef<MAccessor> tempo = project.getTempoNode()->getWriteAccessor();
  FRef<MEvent> firstTempo = tempo->remove(tempo->at(0));
  for (const Tempo& t : tempi) EXPECT_TRUE(tempo->insert(makeRef<MTempoEvent>(t.ppq, t.bpm, t.func)));
  FRef<MAccessor> sig = project.getSignatureNode()->getWriteAccessor();
  FRef<MEvent> firstSig = sig->remove(sig->at(0));
  for (const Sig& s : signatures) {
    EXPECT_TRUE(sig->insert(makeRef<MTimeSignatureEvent>(s.position, s.numerator, s.denominator)));
  }
  return root;
}

struct Beat {
  int64_t pulses;
  bool accent;
};

// Beats from `start` to `end` with a beat and a bar length, in pulses.
void addBeats(std::vector<Beat>& beats, int64_t start, int64_t end, int64_t beat, int64_t bar) {
  for (int64_t p = start; p < end; p += beat) beats.push_back({p, (p - start) % bar == 0});
}

TEST(MetronomeClicks, FollowTheRampAndTheSignatureChanges) {
  // 120 BPM ramping down to 60 at bar 3 (3840), a jump to 90 at 7680;
  // 4/4, then 3/4 at 3840, then 6/8 at 6720 (two 3/4 bars later).
  FRef<MRoot> root = makeProject({{0, 120, MTempoFunc::kJump}, {3840, 60, MTempoFunc::kRamp}, {7680, 90, MTempoFunc::kJump}},
                                 {{0, 4, 4}, {3840, 3, 4}, {6720, 6, 8}});
  constexpr int kRate = 44100;
  constexpr int64_t kEnd = 30 * kRate;

  // Over the ramp the tempo is b(p) = 120 - p / 64 BPM, so
  //   t(p) = integral of 60 / (480 b(q)) dq from 0 to p = 8 ln(120 / (120 - p / 64)),
  // 8 ln 2 s at 3840; then a beat a second to 7680, then 2/3 s a beat.
  auto seconds = [](double p) {
    const double rampEnd = 8.0 * std::log(2.0);
    if (p <= 3840) return 8.0 * std::log(120.0 / (120.0 - p / 64.0));
    if (p <= 7680) return rampEnd + (p - 3840) / 480.0;
    return rampEnd + 8.0 + (p - 7680) / 480.0 * (60.0 / 90.0);
  };
  std::vector<Beat> beats;
  addBeats(beats, 0, 3840, 480, 1920);
  addBeats(beats, 3840, 6720, 480, 1440);
  addBeats(beats, 6720, 200000, 240, 1440);  // eighth notes

  const std::vector<RClick> clicks = metronomeClicks(*root->getProject(), kRate, kEnd);
  size_t expected = 0;
  while (std::llround(seconds(static_cast<double>(beats[expected].pulses)) * kRate) < kEnd) ++expected;
  ASSERT_EQ(clicks.size(), expected);
  for (size_t i = 0; i < clicks.size(); ++i) {
    const int64_t frame = std::llround(seconds(static_cast<double>(beats[i].pulses)) * kRate);
    // The tempo track keeps tempi as float seconds per beat: a frame either way.
    EXPECT_NEAR(clicks[i].frame, frame, 1) << "beat " << i << " at pulse " << beats[i].pulses;
    EXPECT_EQ(clicks[i].accent, beats[i].accent) << "beat " << i;
  }

  // The end is exclusive: a click exactly at endFrame is left out.
  const std::vector<RClick> upTo = metronomeClicks(*root->getProject(), kRate, clicks[20].frame);
  ASSERT_EQ(upTo.size(), 20u);
  EXPECT_TRUE(std::equal(upTo.begin(), upTo.end(), clicks.begin(),
                         [](const RClick& a, const RClick& b) { return a.frame == b.frame && a.accent == b.accent; }));
  EXPECT_TRUE(metronomeClicks(*root->getProject(), kRate, 0).empty());
}

TEST(MetronomeClicks, BarsFollowEachSignatureFromItsOwnPosition) {
  // At 120 BPM a quarter note is 0.5 s: 480 pulses = 24000 frames at 48 kHz.
  struct Row {
    const char* name;
    std::vector<Sig> signatures;
    std::vector<Beat> beats;  // the first ones, worked by hand
  };
  const Row rows[] = {
      // 3/4 off the bar line of 4/4 starts a bar of its own where it stands.
      {"3/4 at 2400", {{0, 4, 4}, {2400, 3, 4}},
       {{0, true}, {480, false}, {960, false}, {1440, false}, {1920, true}, {2400, true}, {2880, false}, {3360, false},
        {3840, true}}},
      // Half-note beats.
      {"2/2", {{0, 2, 2}}, {{0, true}, {960, false}, {1920, true}, {2880, false}}},
      // A first signature after 0: its bars (1200 pulses) reach back before
      // it, the one heard first from -200, so its beats fall at 40, 280, ...
      {"5/8 at 1000", {{1000, 5, 8}},
       {{40, false}, {280, false}, {520, false}, {760, false}, {1000, true}, {1240, false}}},
      // Two signatures at one position: the later one rules.
      {"7/8 and 3/4 at 0", {{0, 7, 8}, {0, 3, 4}}, {{0, true}, {480, false}, {960, false}, {1440, true}}},
  };
  for (const Row& row : rows) {
    FRef<MRoot> root = makeProject({{0, 120, MTempoFunc::kJump}}, row.signatures);
    const int64_t end = row.beats.back().pulses * 50 + 1;  // 24000 / 480 frames a pulse
    const std::vector<RClick> clicks = metronomeClicks(*root->getProject(), 48000, end);
    ASSERT_EQ(clicks.size(), row.beats.size()) << row.name;
    for (size_t i = 0; i < clicks.size(); ++i) {
      EXPECT_EQ(clicks[i].frame, row.beats[i].pulses * 50) << row.name << " beat " << i;
      EXPECT_EQ(clicks[i].accent, row.beats[i].accent) << row.name << " beat " << i;
    }
  }
}

TEST(MetronomeClicks, AnHourIsOneBatchedPass) {
  // 120 BPM 4/4 for an hour: 7200 beats, every fourth accented, sorted.
  FRef<MRoot> root = makeProject({{0, 120, MTempoFunc::kJump}}, {{0, 4, 4}});
  const std::vector<RClick> clicks = metronomeClicks(*root->getProject(), 48000, int64_t{3600} * 48000);
  ASSERT_EQ(clicks.size(), 7200u);
  for (size_t i = 0; i < clicks.size(); ++i) {
    ASSERT_EQ(clicks[i].frame, static_cast<int64_t>(i) * 24000);
    ASSERT_EQ(clicks[i].accent, i % 4 == 0);
  }
}

// The metronome driven like an instrument: a note-on is a trigger, its
// key 1 an accent.
class MetronomeAsInstrument : public RInstrument {
 public:
  explicit MetronomeAsInstrument(int rate) : metronome_(rate) {}
  void midi(uint8_t, uint8_t data1, uint8_t) noexcept override { metronome_.trigger(data1 == 1); }
  void render(float* left, float* right, int frames) noexcept override { metronome_.render(left, right, frames); }
  void reset() noexcept override { metronome_.reset(); }

 private:
  RMetronome metronome_;
};

TEST(Metronome, ClickStartsAtItsTriggerFrameAndEnds) {
  for (int rate : {44100, 48000, 96000}) {
    for (bool accent : {false, true}) {
      MetronomeAsInstrument click(rate);
      const Stereo out = renderTimed(click, {{100, 0x90, static_cast<uint8_t>(accent), 100}}, rate / 10);
      size_t first = 0;
      while (first < out.left.size() && out.left[first] == 0.0f) ++first;
      EXPECT_EQ(first, 100u) << rate;
      EXPECT_EQ(out.left, out.right);
      // Silent again 20 ms after the trigger.
      const size_t end = 100 + static_cast<size_t>(0.020 * rate);
      EXPECT_EQ(peak(out.left, end), 0.0f) << rate;
      EXPECT_GT(peak(out.left, 100, end), 0.1f);
    }
  }
}

TEST(Metronome, AccentIsHigherAndLouder) {
  MetronomeAsInstrument plain(48000), accent(48000);
  const Stereo p = renderTimed(plain, {{0, 0x90, 0, 100}}, 960);
  const Stereo a = renderTimed(accent, {{0, 0x90, 1, 100}}, 960);
  EXPECT_GT(decibels(peak(a.left)) - decibels(peak(p.left)), 2.0);
  EXPECT_GT(crossingsPerSecond(a.left, 0, 480, 48000), 1.2 * crossingsPerSecond(p.left, 0, 480, 48000));
}

TEST(Metronome, SplitInvariantAndOverlapsRestartWithoutAJump) {
  std::mt19937 random(7);
  constexpr int kFrames = 48000;
  // Clicks 2 to 30 ms apart: many restart a click that still sounds.
  std::vector<Timed> triggers;
  std::uniform_int_distribution<int> gap(96, 1440);
  for (int64_t at = 10; at < kFrames; at += gap(random)) {
    triggers.push_back({at, 0x90, static_cast<uint8_t>(random() % 2), 100});
  }
  MetronomeAsInstrument whole(48000);
  const Stereo reference = renderTimed(whole, triggers, kFrames);
  for (int maxBlock : {1, 17, 256, 4096}) {
    MetronomeAsInstrument split(48000);
    const Stereo out = renderTimed(split, triggers, kFrames, randomCuts(random, kFrames, maxBlock));
    ASSERT_EQ(out.left, reference.left) << maxBlock;
  }
  // Cutting a click dead would jump by up to its full level (0.5); the
  // steepest a click itself moves is 2 pi 1500 / 48000 x 0.5 = 0.098.
  float jump = 0.0f;
  for (size_t i = 1; i < reference.left.size(); ++i) jump = std::max(jump, std::fabs(reference.left[i] - reference.left[i - 1]));
  EXPECT_LT(jump, 0.12f);

  whole.reset();
  std::vector<float> left(4800, 0.0f), right(4800, 0.0f);
  whole.render(left.data(), right.data(), 4800);
  EXPECT_EQ(peak(left), 0.0f);
}

}  // namespace
}  // namespace vantor
