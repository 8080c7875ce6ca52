// The engine over plans built from projects: where audio and MIDI land,
// fades, mute and solo, the mixer's levels, and output that does not depend
// on how the frames are split into blocks.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "PlaybackTestSupport.h"
#include "render/RMetronome.h"

namespace vantor {
namespace {

using test::rampSample;

class RPlaybackEngineTest : public test::RenderTest {};

// The frames holding the impulses of the fake instrument.
std::vector<int64_t> impulseFrames(const std::vector<float>& samples) {
  std::vector<int64_t> frames;
  for (size_t i = 0; i < samples.size(); ++i) {
    if (samples[i] != 0) frames.push_back(static_cast<int64_t>(i));
  }
  return frames;
}

TEST_F(RPlaybackEngineTest, NotesLandOnTheirFramesAcrossATempoRamp) {
  // 120 BPM ramping linearly (in pulses) to 60 BPM at pulse 1920, then 60.
  // Inside the ramp bpm(p) = 120 - 60 p / 1920 and the time is the integral
  // of 60 / (480 bpm) dp: t(p) = -4 ln(bpm(p) / 120); after it 4 ln 2 +
  // (p - 1920) / 480 s. The MIDI part starts at 480 and is 4800 long, so
  // the note at 5400 lies outside it and is not played.
  setTempo(120, 1920, 60);
  MTrackEvent* keys = addTrack("MIDI", "Keys");
  const std::vector<double> at = {0, 480, 1200, 1440, 2400, 4000, 5400};
  addNotes(keys, 480, 4800, at);
  const auto seconds = [](double p) {
    if (p <= 1920) return -4 * std::log((120 - 60 * p / 1920) / 120);
    return 4 * std::log(2.0) + (p - 1920) / 480;
  };
  std::vector<int64_t> expected;
  for (double p : at) {
    if (p < 4800) expected.push_back(std::llround(seconds(480 + p) * 48000));
  }
  const auto p = plan();
  ASSERT_EQ(p->sampleRate, 48000);
  const test::Stereo out = render(p, expected.back() + 100);
  EXPECT_EQ(impulseFrames(out.left), expected);
}

TEST_F(RPlaybackEngineTest, ClicksLandOnTheBeatsAcrossATempoRamp) {
  // 4/4, 120 BPM ramping to 60 at pulse 1920 as above: beats at 480 k
  // pulses, accented every fourth. The click sound itself may begin
  // silently, so each beat's first audible frame is its frame plus the
  // first audible frame of a click rendered alone.
  setTempo(120, 1920, 60);
  RMetronome alone(48000);
  alone.trigger(true);
  std::vector<float> l(960), r(960);
  alone.render(l.data(), r.data(), 960);
  const auto first = std::find_if(l.begin(), l.end(), [](float v) { return v != 0; }) - l.begin();
  ASSERT_LT(first, 960);
  const auto seconds = [](double p) {
    if (p <= 1920) return -4 * std::log((120 - 60 * p / 1920) / 120);
    return 4 * std::log(2.0) + (p - 1920) / 480;
  };
  doc->arrangement()->getTransport()->setRightLocator(480 * 7);
  const auto p = plan();
  std::vector<int64_t> expected;
  for (int beat = 0; beat < 7; ++beat) expected.push_back(std::llround(seconds(480 * beat) * 48000) + first);
  ASSERT_EQ(p->clicks.size(), 7u);
  EXPECT_TRUE(p->clicks[0].accent && p->clicks[4].accent && !p->clicks[1].accent);
  for (bool on : {true, false}) {
    RDirectSegmentSource source(*p);
    RPlaybackEngine engine;
    std::string error;
    ASSERT_TRUE(engine.prepare(p, &source, test::ImpulseFactory(), 1000, &error));
    engine.setClick(on);
    std::vector<float> out(static_cast<size_t>(expected.back() + 2000)), right(1000);
    for (size_t at = 0; at < out.size(); at += 1000) {
      engine.process(out.data() + at, right.data(), static_cast<int>(std::min<size_t>(1000, out.size() - at)));
    }
    // Onsets: audible frames after at least 0.1 s of silence.
    std::vector<int64_t> onsets;
    int64_t silent = 4800;
    for (size_t i = 0; i < out.size(); ++i) {
      if (out[i] != 0 && silent >= 4800) onsets.push_back(static_cast<int64_t>(i));
      silent = out[i] == 0 ? silent + 1 : 0;
    }
    EXPECT_EQ(onsets, on ? expected : std::vector<int64_t>{});
  }
}

TEST_F(RPlaybackEngineTest, AnAudioEventStartsWithTheRightSampleAndFadesAsItsCurvesSay) {
  // At 120 BPM (480 pulses to the beat) pulse 480 is 0.5 s: frame 24000. The event plays the clip
  // from frame 1000 for 4000 frames, panned hard left (gain 1 on the left).
  auto clip = makeClip("count", 48000, 1, 10000, [](int64_t i, int) { return rampSample(i); });
  MTrackEvent* voice = addTrack("Audio", "Voice");
  voice->setAttribute(MTrackAttribute::kPan, -100);
  MAudioEvent* event = addAudioEvent(voice, clip, 480, 1000, 4000);
  event->setFadeIn(100, MFadeCurve::kLinear);
  event->setFadeOut(300, MFadeCurve::kSine);
  const test::Stereo out = render(plan(), 30000);
  EXPECT_EQ(out.left[23999], 0.0f);
  EXPECT_EQ(out.left[28000], 0.0f);
  for (int64_t i = 0; i < 4000; ++i) {
    // Fade in: frame i of 100 at i / 100; fade out: the last frame silent,
    // frame 3999 - k at sin(π/2 · k / 300).
    double gain = i < 100 ? i / 100.0 : 1.0;
    if (i >= 3700) gain = std::sin(std::numbers::pi / 2 * static_cast<double>(3999 - i) / 300.0);
    ASSERT_NEAR(out.left[static_cast<size_t>(24000 + i)], rampSample(1000 + i) * gain, 1e-7) << i;
    ASSERT_EQ(out.right[static_cast<size_t>(24000 + i)], 0.0f) << i;
  }
}

TEST_F(RPlaybackEngineTest, AutomaticFadesApplyWhereTheEventHasNoneAndThePartCutsTheEvent) {
  // A 2 ms automatic fade in (96 frames at 48 kHz), off for fade outs; the
  // part ends at pulse 240 (0.25 s = 12000 frames), cutting the event that
  // would run to 20000.
  project().getAutoFadeSetting()->setFadeInOn(true);
  project().getAutoFadeSetting()->setFadeInLength(2.0);
  auto clip = makeClip("dc", 48000, 1, 20000, [](int64_t, int) { return 0.5f; });
  MTrackEvent* voice = addTrack("Audio", "Voice");
  voice->setAttribute(MTrackAttribute::kPan, -100);
  addAudioEvent(voice, clip, 0, 0, 20000, 240);
  const auto p = plan();
  ASSERT_EQ(p->segments.size(), 1u);
  EXPECT_EQ(p->segments[0].length, 12000);
  EXPECT_EQ(p->segments[0].fadeIn.length, 96);
  const test::Stereo out = render(p, 13000);
  EXPECT_FLOAT_EQ(out.left[48], 0.25f);
  EXPECT_FLOAT_EQ(out.left[96], 0.5f);
  EXPECT_FLOAT_EQ(out.left[11999], 0.5f);
  EXPECT_EQ(out.left[12000], 0.0f);
}

TEST_F(RPlaybackEngineTest, MuteSoloVolumeAndPanGiveTheExpectedLevels) {
  // Constant clips: mono 0.5 and stereo (0.5, 0.25).
  auto mono = makeClip("mono", 48000, 1, 1000, [](int64_t, int) { return 0.5f; });
  auto stereo = makeClip("stereo", 48000, 2, 1000, [](int64_t, int c) { return c == 0 ? 0.5f : 0.25f; });
  struct Case {
    const char* what;
    bool stereo;
    int32_t volume;  // hundredths of a dB
    int32_t pan;     // percent
    double left, right;
  };
  const double r = std::sqrt(0.5);  // cos(π/4): -3 dB
  const Case cases[] = {
      {"mono centre -3 dB each side", false, 0, 0, 0.5 * r, 0.5 * r},
      {"mono hard right", false, 0, 100, 0, 0.5},
      {"mono at -50 %: cos(π/8), sin(π/8)", false, 0, -50, 0.5 * std::cos(std::numbers::pi / 8),
       0.5 * std::sin(std::numbers::pi / 8)},
      {"mono at -6.02 dB halves", false, -602, -100, 0.5 * std::pow(10.0, -6.02 / 20), 0},
      {"stereo centre unity", true, 0, 0, 0.5, 0.25},
      {"stereo balance 50 % right", true, 0, 50, 0.25, 0.25},
      {"stereo balance hard left", true, 0, -100, 0.5, 0},
      {"stereo +6 dB", true, 600, 0, 0.5 * std::pow(10.0, 0.3), 0.25 * std::pow(10.0, 0.3)},
      {"volume off is silence", true, MTrackAttribute::kVolumeOff, 0, 0, 0},
  };
  for (const Case& c : cases) {
    SetUp();
    MTrackEvent* track = addTrack("Audio", "T");
    track->setAttribute(MTrackAttribute::kVolume, c.volume);
    track->setAttribute(MTrackAttribute::kPan, c.pan);
    addAudioEvent(track, c.stereo ? stereo : mono, 0, 0, 1000);
    const test::Stereo out = render(plan(), 1000);
    EXPECT_NEAR(out.left[500], c.left, 1e-5) << c.what;
    EXPECT_NEAR(out.right[500], c.right, 1e-5) << c.what;
  }
}

TEST_F(RPlaybackEngineTest, MutedAndUnsoloedTracksAreAbsent) {
  // Four hard-left tracks with clips of 1, 2, 4 and 8 (/16): the sum says
  // which sounded. "Inner" sits in a folder that the cases mute or solo.
  MTrackEvent* tracks[4];
  MTrackEvent* folder = addTrack("Folder", "Group");
  for (int i = 0; i < 4; ++i) {
    const float level = static_cast<float>(1 << i) / 16.0f;
    auto clip = makeClip("c" + std::to_string(i), 48000, 1, 100, [level](int64_t, int) { return level; });
    tracks[i] = addTrack("Audio", "T" + std::to_string(i),
                         i == 3 ? static_cast<MFolderTrack*>(folder)->getTrackList() : nullptr);
    tracks[i]->setAttribute(MTrackAttribute::kPan, -100);
    addAudioEvent(tracks[i], clip, 0, 0, 100);
  }
  const auto heard = [&] { return std::lround(render(plan(), 100).left[50] * 16); };
  EXPECT_EQ(heard(), 15);
  tracks[1]->setFlag(MEventFlag::kMuted, true);
  EXPECT_EQ(heard(), 13);
  folder->setFlag(MEventFlag::kMuted, true);
  EXPECT_EQ(heard(), 5);
  folder->setFlag(MEventFlag::kMuted, false);
  tracks[2]->setAttribute(MTrackAttribute::kSolo, 1);
  EXPECT_EQ(heard(), 4);
  folder->setAttribute(MTrackAttribute::kSolo, 1);
  EXPECT_EQ(heard(), 12);
  tracks[2]->setFlag(MEventFlag::kMuted, true);  // soloed but muted: silent
  EXPECT_EQ(heard(), 8);
}

TEST_F(RPlaybackEngineTest, RandomBlockSizesGiveIdenticalOutput) {
  // Audio with fades (one clip at 44.1 kHz, converted), notes through the
  // fake instrument and the metronome across a ramp: one pass in 4096-frame blocks and
  // several in random blocks of 1 to 4096 frames must agree sample for sample.
  setTempo(140, 3840, 90);
  project().getAutoFadeSetting()->setFadeOutOn(true);
  auto fast = makeClip("fast", 48000, 2, 30000, [](int64_t i, int c) { return std::sin(0.01f * i + c); });
  auto slow = makeClip("slow", 44100, 1, 30000, [](int64_t i, int) { return std::sin(0.003f * i); });
  MTrackEvent* a = addTrack("Audio", "A");
  MTrackEvent* b = addTrack("Audio", "B");
  b->setAttribute(MTrackAttribute::kPan, 30);
  addAudioEvent(a, fast, 100, 500, 20000)->setFadeIn(3000, MFadeCurve::kExponential);
  addAudioEvent(a, slow, 2000, 0, 25000);
  addAudioEvent(b, slow, 700, 4000, 20000)->setFadeOut(5000, MFadeCurve::kLogarithmic);
  MTrackEvent* keys = addTrack("MIDI", "Keys");
  std::vector<double> notes;
  for (int i = 0; i < 40; ++i) notes.push_back(i * 97.0);
  addNotes(keys, 0, 4000, notes);
  const auto p = plan();
  ASSERT_EQ(p->segments.size(), 3u);
  EXPECT_EQ(p->segments[1].fileRate, 44100);
  const int64_t frames = 70000;
  const test::Stereo whole = render(p, frames, [] { return 4096; }, true);
  std::mt19937 random(7);
  for (int pass = 0; pass < 3; ++pass) {
    std::uniform_int_distribution<int> size(1, pass == 0 ? 64 : 4096);
    const test::Stereo split = render(p, frames, [&] { return size(random); }, true);
    ASSERT_EQ(split.left, whole.left) << pass;
    ASSERT_EQ(split.right, whole.right) << pass;
  }
  EXPECT_GT(*std::max_element(whole.left.begin(), whole.left.end()), 0.5f);
}

TEST_F(RPlaybackEngineTest, ALocateContinuesAsIfPlayedFromTheStart) {
  auto clip = makeClip("count", 48000, 1, 20000, [](int64_t i, int) { return rampSample(i); });
  MTrackEvent* voice = addTrack("Audio", "Voice");
  addAudioEvent(voice, clip, 0, 0, 20000);
  MTrackEvent* keys = addTrack("MIDI", "Keys");
  addNotes(keys, 0, 1920, {100, 200, 300});
  const auto p = plan();
  const test::Stereo whole = render(p, 20000);
  RDirectSegmentSource source(*p);
  RPlaybackEngine engine;
  test::ImpulseFactory factory;
  std::string error;
  ASSERT_TRUE(engine.prepare(p, &source, factory, 512, &error));
  std::vector<float> left(512), right(512);
  engine.process(left.data(), right.data(), 512);
  engine.locate(15000);
  EXPECT_EQ(engine.position(), 15000);
  engine.process(left.data(), right.data(), 500);
  EXPECT_TRUE(std::equal(left.begin(), left.begin() + 500, whole.left.begin() + 15000));
  // Back before a note (pulse 300 at 120 BPM is frame 15000): it sounds again.
  engine.locate(12400);
  std::vector<float> again(3000);
  for (size_t at = 0; at < again.size(); at += 500) {
    engine.process(again.data() + at, right.data(), 500);
  }
  EXPECT_TRUE(std::equal(again.begin(), again.end(), whole.left.begin() + 12400));
  EXPECT_NE(again[15000 - 12400], whole.left[14999]);
}

TEST_F(RPlaybackEngineTest, AnInstrumentThatCannotBeMadeFailsThePreparation) {
  MTrackEvent* keys = addTrack("MIDI", "Keys");
  addNotes(keys, 0, 1920, {0});
  RPlanOptions options;
  options.instrument = {RInstrumentChoice::Kind::kSoundFont, "broken.sf2"};
  const auto p = plan(options);
  RDirectSegmentSource source(*p);
  RPlaybackEngine engine;
  std::string error;
  EXPECT_FALSE(engine.prepare(p, &source, test::ImpulseFactory(), 256, &error));
  EXPECT_EQ(error, "The SoundFont broken.sf2 could not be loaded");
  // A track bound to the built-in synthesizer keeps it.
  keys->getTrack()->setDevice({"vantor synth", 0});
  EXPECT_TRUE(engine.prepare(plan(options), &source, test::ImpulseFactory(), 256, &error));
}

}  // namespace
}  // namespace vantor
