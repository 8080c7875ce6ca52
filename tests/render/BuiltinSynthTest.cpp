#include "render/instruments/RBuiltinSynth.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "render/RInstrumentFactory.h"
#include "render/RenderTestSupport.h"

namespace vantor {
namespace {

using namespace rendertest;

constexpr int kRate = 48000;

double noteHz(int note) { return 440.0 * std::pow(2.0, (note - 69) / 12.0); }

// One note of `program` held for `holdFrames`, rendered for `frames`.
Stereo playNote(int program, int note, int velocity, int holdFrames, int frames, std::vector<Timed> before = {}) {
  RBuiltinSynth synth(kRate);
  std::vector<Timed> messages = std::move(before);
  messages.push_back({0, 0xc0, static_cast<uint8_t>(program), 0});
  messages.push_back({0, 0x90, static_cast<uint8_t>(note), static_cast<uint8_t>(velocity)});
  messages.push_back({holdFrames, 0x80, static_cast<uint8_t>(note), 0});
  return renderTimed(synth, messages, frames);
}

// One program from each family of eight, the families' timbres all heard.
std::vector<int> everyFamily() {
  std::vector<int> programs;
  for (int p = 0; p < 128; p += 8) programs.push_back(p);
  for (int p : {4, 45, 47}) programs.push_back(p);
  return programs;
}

// The pitch of samples[from, from + 0.4 s) is `hz`: stronger there than a
// whole tone either side and than an octave below.
::testing::AssertionResult soundsAt(const std::vector<float>& samples, size_t from, double hz) {
  const size_t count = kRate * 2 / 5;
  const double at = magnitudeAt(samples, from, count, hz, kRate);
  for (double off : {hz * std::pow(2.0, -2.0 / 12), hz * std::pow(2.0, 2.0 / 12), hz / 2}) {
    const double there = magnitudeAt(samples, from, count, off, kRate);
    if (!(at > 4.0 * there)) {
      return ::testing::AssertionFailure() << hz << " Hz: " << at << ", " << off << " Hz: " << there;
    }
  }
  return ::testing::AssertionSuccess();
}

TEST(BuiltinSynth, NotesSoundAtTheirPitch) {
  for (int program : everyFamily()) {
    for (int note : {40, 60, 81}) {
      const Stereo out = playNote(program, note, 100, kRate, kRate);
      // From 50 ms on: past any attack.
      EXPECT_TRUE(soundsAt(out.left, kRate / 20, noteHz(note))) << "program " << program << " note " << note;
    }
  }
}

TEST(BuiltinSynth, PitchBendMovesTwoSemitonesOrTheRangeSet) {
  // Full bend up (16383) is 2 x 8191 / 8192 semitones. RPN 0 (CC101 0,
  // CC100 0) with data entry 12 makes the range an octave: bend 0 then
  // sounds an octave down.
  const Stereo up = playNote(80, 69, 100, kRate, kRate / 2, {{0, 0xe0, 0x7f, 0x7f}});
  EXPECT_TRUE(soundsAt(up.left, 2400, 440.0 * std::pow(2.0, 2.0 * 8191.0 / 8192.0 / 12.0)));
  const Stereo down = playNote(80, 69, 100, kRate, kRate / 2,
                               {{0, 0xb0, 101, 0}, {0, 0xb0, 100, 0}, {0, 0xb0, 6, 12}, {0, 0xe0, 0, 0}});
  EXPECT_TRUE(soundsAt(down.left, 2400, 220.0));
}

TEST(BuiltinSynth, FortePeaksNearMinus12dBFS) {
  for (int program : everyFamily()) {
    const Stereo out = playNote(program, 60, 100, kRate, kRate);
    EXPECT_NEAR(decibels(peak(out.left)), -12.0, 3.0) << "program " << program;
  }
  for (int note : {35, 36, 38, 39, 40, 41, 42, 45, 46, 49, 51, 56, 60, 75, 81}) {
    RBuiltinSynth synth(kRate);
    const Stereo out = renderTimed(synth, {{0, 0x99, static_cast<uint8_t>(note), 100}}, kRate);
    EXPECT_NEAR(decibels(std::max(peak(out.left), peak(out.right))), -12.0, 4.0) << "drum " << note;
  }
}

TEST(BuiltinSynth, NoteOffReleasesSmoothlyToSilence) {
  for (int program : everyFamily()) {
    RBuiltinSynth synth(kRate);
    const int off = kRate / 4;
    const Stereo out = renderTimed(synth, {{0, 0xc0, static_cast<uint8_t>(program), 0}, {0, 0x90, 64, 110}, {off, 0x80, 64, 0}},
                                   4 * kRate);
    const float before = peak(out.left, off - 480, off);
    // Still sounding 2 ms after the key is up (a release, not a cut) ...
    EXPECT_GT(peak(out.left, off + 96, off + 192), 0.1f * before) << "program " << program;
    // ... and silent, the voice free, within 3 s.
    EXPECT_EQ(peak(out.left, 3 * kRate), 0.0f) << "program " << program;
    EXPECT_EQ(synth.activeVoices(), 0) << "program " << program;
  }
}

TEST(BuiltinSynth, DrumChannelPlaysTheKit) {
  // On channel 10 a kick is low and a closed hi-hat hiss is high; the same
  // keys on channel 1 are ordinary notes. Keys outside the kit are silent.
  auto play = [](std::vector<Timed> messages, int frames) {
    RBuiltinSynth synth(kRate);
    return renderTimed(synth, messages, frames);
  };
  const Stereo kick = play({{0, 0x99, 36, 100}}, kRate / 10);
  const Stereo hat = play({{0, 0x99, 42, 100}}, kRate / 10);
  const Stereo none = play({{0, 0x99, 20, 100}, {0, 0x99, 100, 100}}, kRate / 10);
  const Stereo tonal = play({{0, 0x90, 42, 100}}, kRate / 2);
  EXPECT_LT(crossingsPerSecond(kick.left, 0, 2400, kRate), 400.0);
  EXPECT_GT(crossingsPerSecond(hat.left, 0, 1200, kRate), 3000.0);
  EXPECT_GT(peak(kick.left), 0.1f);
  EXPECT_EQ(peak(none.left), 0.0f);
  EXPECT_TRUE(soundsAt(tonal.left, 2400, noteHz(42)));

  // A closed hi-hat chokes an open one within about 15 ms.
  RBuiltinSynth choke(kRate);
  const Stereo cut = renderTimed(choke, {{0, 0x99, 46, 100}, {4800, 0x99, 42, 1}}, 9600);
  RBuiltinSynth ring(kRate);
  const Stereo open = renderTimed(ring, {{0, 0x99, 46, 100}}, 9600);
  EXPECT_LT(peak(cut.right, 4800 + 960), 0.05f * peak(open.right, 4800 + 960));
}

TEST(BuiltinSynth, ControllersMoveTheLevelTheRightWay) {
  auto level = [](std::vector<Timed> messages) {
    RBuiltinSynth synth(kRate);
    messages.push_back({0, 0x90, 60, 100});
    const Stereo out = renderTimed(synth, messages, kRate / 4);
    return std::pair(peak(out.left, 2400), peak(out.right, 2400));
  };
  const auto standard = level({});
  EXPECT_EQ(standard.first, standard.second);  // centred
  // Velocity.
  RBuiltinSynth soft(kRate), hard(kRate);
  EXPECT_LT(peak(renderTimed(soft, {{0, 0x90, 60, 40}}, kRate / 4).left), 0.5f * standard.first);
  EXPECT_GT(peak(renderTimed(hard, {{0, 0x90, 60, 127}}, kRate / 4).left), standard.first);
  // CC7 and CC11 on the squared curve: 50 of 100 is a quarter, 64 of 127 about a quarter.
  EXPECT_NEAR(level({{0, 0xb0, 7, 50}}).first / standard.first, 0.25, 0.02);
  EXPECT_NEAR(level({{0, 0xb0, 11, 64}}).first / standard.first, (64.0 / 127) * (64.0 / 127), 0.02);
  EXPECT_EQ(level({{0, 0xb0, 7, 0}}).first, 0.0f);
  // CC10 hard left, then hard right.
  const auto left = level({{0, 0xb0, 10, 0}});
  const auto right = level({{0, 0xb0, 10, 127}});
  EXPECT_GT(left.first, standard.first);
  EXPECT_LT(left.second, 1e-6f);
  EXPECT_LT(right.first, 0.01f * right.second);
  // CC121 resets expression but keeps the volume.
  EXPECT_NEAR(level({{0, 0xb0, 7, 50}, {0, 0xb0, 11, 10}, {0, 0xb0, 121, 0}}).first, level({{0, 0xb0, 7, 50}}).first, 1e-6f);
}

TEST(BuiltinSynth, SustainHoldsAndSoundOffSilencesAtOnce) {
  const int off = kRate / 10, lift = kRate / 2;
  RBuiltinSynth synth(kRate);
  const Stereo held = renderTimed(
      synth, {{0, 0xb0, 64, 127}, {0, 0x90, 72, 100}, {off, 0x80, 72, 0}, {lift, 0xb0, 64, 0}}, 2 * kRate);
  EXPECT_GT(peak(held.left, lift - 480, lift), 0.02f);  // held past its note-off
  EXPECT_EQ(synth.activeVoices(), 0);                  // released when the pedal lifted

  for (uint8_t controller : {120, 123}) {
    RBuiltinSynth s(kRate);
    const Stereo out = renderTimed(s, {{0, 0xc0, 48, 0}, {0, 0x90, 60, 100}, {0, 0x91, 64, 100}, {4800, 0xb0, controller, 0}}, 3 * kRate);
    // Channel 1 stops (at once for sound off, after a release for notes
    // off); channel 2 rings on.
    if (controller == 120) {
      EXPECT_EQ(s.activeVoices(), 1);
    }
    EXPECT_GT(peak(out.left, 4800 + 24000), 0.02f);
  }
  RBuiltinSynth s(kRate);
  const Stereo out = renderTimed(s, {{0, 0x90, 60, 100}, {0, 0x90, 64, 100}, {0, 0xb0, 120, 0}}, 480);
  EXPECT_EQ(peak(out.left), 0.0f);
}

TEST(BuiltinSynth, RandomSplitsRenderTheSameSamples) {
  // 250 random messages in 1 s keep all 64 voices busy (stealing included).
  std::mt19937 random(11);
  constexpr int64_t kFrames = kRate;
  const std::vector<Timed> messages = randomMessages(random, kFrames, 250);
  RBuiltinSynth synth(kRate);
  const Stereo reference = renderTimed(synth, messages, kFrames);
  EXPECT_GT(peak(reference.left), 0.05f);
  for (int maxBlock : {1, 64, 1000, 8192}) {
    RBuiltinSynth split(kRate);
    const Stereo out = renderTimed(split, messages, kFrames, randomCuts(random, kFrames, maxBlock));
    ASSERT_EQ(out.left, reference.left) << maxBlock;
    ASSERT_EQ(out.right, reference.right) << maxBlock;
  }
  // reset() rewinds everything, noise included: the same messages again
  // give the same samples.
  synth.reset();
  EXPECT_EQ(synth.activeVoices(), 0);
  const Stereo again = renderTimed(synth, messages, kFrames);
  EXPECT_EQ(again.left, reference.left);
}

TEST(BuiltinSynth, AStolenVoiceFadesInsteadOfJumping) {
  // A voice playing a loud low saw is taken for a new note. The steepest
  // step the note makes on its own is its attack's; the cut-off note would
  // step by its whole level (about 0.25) without the fade.
  const synth::ChannelMix mix;
  synth::RSynthVoice voice;
  std::vector<float> left(9600, 0.0f), right(9600, 0.0f);
  voice.startNote(synth::timbreForProgram(80), 0, 40, 127, kRate, 1, 1, mix);
  voice.render(left.data(), right.data(), 4800, mix);
  float before = 0.0f;
  for (size_t i = 1; i < 4800; ++i) before = std::max(before, std::fabs(left[i] - left[i - 1]));
  float worst = 0.0f;
  for (int attempt = 0; attempt < 8; ++attempt) {
    // Steal at several points of the waveform.
    std::fill(left.begin(), left.end(), 0.0f);
    synth::RSynthVoice v;
    v.startNote(synth::timbreForProgram(80), 0, 40, 127, kRate, 1, 1, mix);
    v.render(left.data(), right.data(), 4800 + 37 * attempt, mix);
    v.startNote(synth::timbreForProgram(0), 0, 90, 100, kRate, 2, 2, mix);
    v.render(left.data() + 4800 + 37 * attempt, right.data(), 480, mix);
    const size_t at = 4800 + 37 * attempt;
    worst = std::max(worst, std::fabs(left[at] - left[at - 1]));
  }
  EXPECT_GT(peak(left, 0, 4800), 0.2f);
  EXPECT_LT(worst, std::max(0.05f, 1.5f * before));
}

TEST(BuiltinSynth, FactoryMakesItAndItAddsToTheBuffer) {
  std::string error;
  std::unique_ptr<RInstrument> made = RStandardInstrumentFactory().create({}, kRate, &error);
  ASSERT_TRUE(made);
  made->midi(0x90, 60, 100);
  std::vector<float> alone(480, 0.0f), onTop(480, 1.0f), right(480, 0.0f);
  made->render(alone.data(), right.data(), 480);
  made->reset();
  made->midi(0x90, 60, 100);
  made->render(onTop.data(), right.data(), 480);
  for (size_t i = 0; i < alone.size(); ++i) ASSERT_FLOAT_EQ(onTop[i], 1.0f + alone[i]);
}

}  // namespace
}  // namespace vantor
