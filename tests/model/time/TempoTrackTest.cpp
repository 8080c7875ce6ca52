#include "model/time/MTempoTrack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "model/MModelInit.h"
#include "model/TempoTestSupport.h"
#include "model/time/MTimeSignatureEvent.h"

namespace vantor {
namespace {

using namespace testing_tempo;

// One tempo change as the tests describe it.
struct Change {
  double ppq;
  double bpm;
  int32_t func;
};

// A track holding exactly the given changes (the default change is removed).
FRef<MTempoTrackNode> makeTrack(const std::vector<Change>& changes) {
  auto track = makeRef<MTempoTrackNode>();
  FRef<MAccessor> accessor = track->getWriteAccessor();
  FRef<MEvent> first = accessor->remove(accessor->at(0));
  for (const Change& c : changes) {
    if (!accessor->insert(makeRef<MTempoEvent>(c.ppq, c.bpm, c.func))) return nullptr;
  }
  return track;
}

// The tempo a change really holds: 60 / SPB with SPB kept as a float.
double storedBpm(double bpm) { return 60.0 / static_cast<double>(static_cast<float>(60.0 / bpm)); }

// An independent model of a tempo map: BPM as a function of pulses (linear
// within ramps), seconds by Simpson's rule over 60 / (480 * BPM(p)).
class ReferenceMap {
 public:
  explicit ReferenceMap(std::vector<Change> changes) : changes_(std::move(changes)) {
    for (Change& c : changes_) c.bpm = storedBpm(c.bpm);
  }

  double bpm(double p) const {
    if (p <= changes_.front().ppq) return changes_.front().bpm;
    size_t i = 0;
    while (i + 1 < changes_.size() && changes_[i + 1].ppq <= p) ++i;
    if (i + 1 == changes_.size() || changes_[i + 1].func != MTempoFunc::kRamp) return changes_[i].bpm;
    const Change& a = changes_[i];
    const Change& b = changes_[i + 1];
    return a.bpm + (b.bpm - a.bpm) * (p - a.ppq) / (b.ppq - a.ppq);
  }

  // Seconds from pulse 0 to p (p >= 0), integrating each smooth piece apart.
  double seconds(double p) const {
    std::vector<double> cuts = {0.0};
    for (const Change& c : changes_) {
      if (c.ppq > 0 && c.ppq < p) cuts.push_back(c.ppq);
    }
    cuts.push_back(p);
    double total = 0;
    for (size_t k = 0; k + 1 < cuts.size(); ++k) total += simpson(cuts[k], cuts[k + 1]);
    return total;
  }

 private:
  double simpson(double from, double to) const {
    const int n = 2000;
    const double h = (to - from) / n;
    if (h == 0) return 0;
    // Sample just inside the piece so a jump at its end is not seen.
    auto f = [&](double x) { return 60.0 / (480.0 * bpm(std::min(std::max(x, from), to - h * 1e-9))); };
    double sum = f(from) + f(to);
    for (int i = 1; i < n; ++i) sum += f(from + i * h) * (i % 2 == 1 ? 4 : 2);
    return sum * h / 3;
  }

  std::vector<Change> changes_;
};

class TempoTrackTest : public ::testing::Test {
 protected:
  void SetUp() override { initializeModel(); }
};

TEST_F(TempoTrackTest, JumpsConvertBothWaysByHand) {
  // 120 BPM from 0, 60 BPM from 1920, 240 BPM from 3840.
  // Times: 1920 pulses = 4 beats * 0.5 s = 2 s; then 4 beats * 1 s: 6 s.
  auto track = makeTrack({{0, 120, 0}, {1920, 60, 0}, {3840, 240, 0}});
  ASSERT_TRUE(track);
  EXPECT_EQ(track->tempoEvent(1)->getTime(), 2.0);
  EXPECT_EQ(track->tempoEvent(2)->getTime(), 6.0);
  struct Row {
    double pulses;
    double seconds;
  };
  const Row rows[] = {
      {0, 0},       {480, 0.5},    {1920, 2.0},        {2400, 3.0},  // 2 s + one beat at 1 s
      {3840, 6.0},  {4320, 6.25},  {9600, 9.0},                      // 6 + 12 beats * 0.25
      {-480, -0.5}, {-1920, -2.0}, {1.5, 1.5 / 960.0},
  };
  for (const Row& row : rows) {
    EXPECT_NEAR(track->secondsAt(row.pulses), row.seconds, 1e-12) << row.pulses;
    EXPECT_NEAR(track->pulsesAt(row.seconds), row.pulses, 1e-9) << row.seconds;
  }
}

TEST_F(TempoTrackTest, RampFrom120To60IsFourTimesLnTwoSeconds) {
  // BPM(p) = 120 - p / 32 over 1920 pulses. Seconds =
  // integral of 60 / (480 * (120 - p / 32)) dp = 4 * ln(120 / 60).
  auto track = makeTrack({{0, 120, 0}, {1920, 60, MTempoFunc::kRamp}});
  ASSERT_TRUE(track);
  const double expected = 4.0 * std::log(2.0);
  EXPECT_NEAR(track->secondsAt(1920), expected, 1e-12);
  EXPECT_NEAR(track->tempoEvent(1)->getTime(), expected, 1e-12);
  // Halfway: 4 * ln(120 / 90).
  EXPECT_NEAR(track->secondsAt(960), 4.0 * std::log(120.0 / 90.0), 1e-12);
  EXPECT_NEAR(track->pulsesAt(4.0 * std::log(120.0 / 90.0)), 960.0, 1e-9);
  EXPECT_NEAR(track->bpmAt(960), 90.0, 1e-12);
  // After the ramp 60 BPM holds: one more beat is one second.
  EXPECT_NEAR(track->secondsAt(2400), expected + 1.0, 1e-12);
}

TEST_F(TempoTrackTest, RampsAndJumpsMatchNumericalIntegration) {
  const std::vector<Change> changes = {{0, 120, 0},     {1920, 60, 1},  {3840, 180, 1}, {4000, 97.3, 0}, {5760, 100, 1},
                                       {7000.5, 40, 1}, {9000, 250, 1}, {9600, 250, 1}, {12000, 33.3, 0}};
  auto track = makeTrack(changes);
  ASSERT_TRUE(track);
  const ReferenceMap reference(changes);
  for (double p = 0; p <= 14000; p += 137.25) {
    const double expected = reference.seconds(p);
    EXPECT_NEAR(track->secondsAt(p), expected, 1e-9) << p;
    EXPECT_NEAR(track->pulsesAt(expected), p, 1e-6) << p;
    EXPECT_NEAR(track->bpmAt(p), reference.bpm(p), 1e-9) << p;
  }
  // Every change's "Time" is the integral up to its position.
  for (size_t i = 0; i < track->tempoCount(); ++i) {
    EXPECT_NEAR(track->tempoEvent(i)->getTime(), reference.seconds(track->tempoEvent(i)->getStart()), 1e-9) << i;
  }
}

// Maps whose first change is not at 0, or that hold none, or that ramp
// from 0: before the first change its tempo extends backwards, and pulse 0
// is always second 0.
TEST_F(TempoTrackTest, TimeBeforeTheFirstChangeByHand) {
  struct Row {
    const char* name;
    std::vector<Change> changes;
    double pulses;
    double seconds;
    double tolerance;
  };
  const Row rows[] = {
      {"empty map is 120 BPM", {}, 960, 1.0, 0},
      {"only 60 BPM at 960", {{960, 60, 0}}, 960, 2.0, 0},
      {"only 60 BPM at 960", {{960, 60, 0}}, 480, 1.0, 0},
      {"only 60 BPM at 960", {{960, 60, 0}}, 1440, 3.0, 0},
      {"only 60 BPM at 960", {{960, 60, 0}}, -480, -1.0, 0},
      // Before 0 the ramp does not count: 90 BPM, 2/3 s per beat (SPB a float).
      {"ramp 90 to 180", {{0, 90, 0}, {1920, 180, MTempoFunc::kRamp}}, -1440, -2.0, 1e-4},
      {"ramp 90 to 180", {{0, 90, 0}, {1920, 180, MTempoFunc::kRamp}}, 0, 0, 0},
  };
  for (const Row& row : rows) {
    auto track = makeTrack(row.changes);
    ASSERT_TRUE(track) << row.name;
    EXPECT_NEAR(track->pulsesAt(row.seconds), row.pulses, row.tolerance) << row.name << " " << row.pulses;
    EXPECT_NEAR(track->secondsAt(row.pulses), row.seconds, row.tolerance * 1e-3) << row.name << " " << row.pulses;
  }
  EXPECT_EQ(makeTrack({})->tempoEventAt(100), nullptr);
}

TEST_F(TempoTrackTest, RampBetweenEqualTempiIsAJump) {
  auto ramp = makeTrack({{0, 100, 0}, {1920, 100, MTempoFunc::kRamp}, {3840, 50, 0}});
  auto jump = makeTrack({{0, 100, 0}, {1920, 100, MTempoFunc::kJump}, {3840, 50, 0}});
  ASSERT_TRUE(ramp && jump);
  for (double p : {500.0, 2500.0, 5000.0}) {
    EXPECT_EQ(ramp->secondsAt(p), jump->secondsAt(p)) << p;
    EXPECT_EQ(ramp->pulsesAt(p / 480.0), jump->pulsesAt(p / 480.0)) << p;
  }
  // 8 beats at 0.6 s (as a float) up to 3840.
  EXPECT_NEAR(ramp->secondsAt(3840.0), 8 * static_cast<double>(0.6f), 1e-12);
}

TEST_F(TempoTrackTest, RehearsalModeHoldsOneTempoEverywhere) {
  auto track = makeTrack({{0, 120, 0}, {1920, 60, MTempoFunc::kRamp}});
  ASSERT_TRUE(track);
  const double before = track->secondsAt(3000);
  track->setRehearsalTempo(90.0f);
  track->setRehearsalMode(true);
  // 90 BPM: 2/3 s per beat.
  EXPECT_NEAR(track->secondsAt(480), 2.0 / 3.0, 1e-12);
  EXPECT_NEAR(track->secondsAt(3000), 3000.0 / 480.0 * 2.0 / 3.0, 1e-12);
  EXPECT_NEAR(track->pulsesAt(2.0), 1440.0, 1e-9);
  EXPECT_EQ(track->bpmAt(2000), 90.0);
  std::vector<double> in = {0, 480, 960};
  std::vector<double> out(3);
  track->secondsAt(in, out);
  EXPECT_NEAR(out[2], 4.0 / 3.0, 1e-12);
  track->setRehearsalMode(false);
  EXPECT_EQ(track->secondsAt(3000), before);
  track->setRehearsalTempo(0.2f);
  EXPECT_EQ(track->getRehearsalTempo(), 1.0f);
}

TEST_F(TempoTrackTest, TimesFollowEveryEdit) {
  auto track = makeTrack({{0, 120, 0}, {1920, 60, 0}, {3840, 240, 0}});
  ASSERT_TRUE(track);
  FRef<MAccessor> accessor = track->getWriteAccessor();
  MTempoEvent* last = track->tempoEvent(2);
  ASSERT_EQ(last->getTime(), 6.0);

  // Insert 240 BPM at 960: 2 beats * 0.5 + 2 beats * 0.25 = 1.5 s at 1920,
  // then 4 beats * 1 s: 5.5 s.
  auto inserted = makeRef<MTempoEvent>(960.0, 240.0);
  ASSERT_TRUE(accessor->insert(inserted));
  EXPECT_EQ(inserted->getTime(), 1.0);
  EXPECT_EQ(last->getTime(), 5.5);

  // Move it to 0.0 + 1440 (remove, move, insert): 3 beats * 0.5 + 1 beat * 0.25 + 4 = 5.75 s.
  FRef<MEvent> taken = accessor->remove(inserted.get());
  ASSERT_TRUE(taken);
  EXPECT_EQ(last->getTime(), 6.0);  // removed: back to the first map
  taken->setStart(1440.0);
  ASSERT_TRUE(accessor->insert(taken));
  EXPECT_EQ(last->getTime(), 5.75);

  // Change a tempo in place: 120 -> 60 BPM at 0: 3 beats * 1 s + 0.25 + 4 = 7.25 s.
  track->tempoEvent(0)->setBPM(60.0);
  EXPECT_EQ(last->getTime(), 7.25);

  // Change the function in place: 60 BPM at 0 ramps to 240 BPM at 1440,
  // slope = 180 BPM over 3 beats = 60 BPM per beat, seconds =
  // (60 / slope) * ln(240 / 60) = ln(4); then 0.25 s and 4 s as before.
  inserted->setFunc(MTempoFunc::kRamp);
  EXPECT_NEAR(last->getTime(), std::log(4.0) + 0.25 + 4.0, 1e-12);

  // A position set while held puts the change back in order.
  inserted->setStart(3000.0);
  EXPECT_EQ(track->tempoEvent(2), inserted.get());
  EXPECT_EQ(track->tempoEvent(3), last);
}

// On random maps: a round trip stays below a billionth of a pulse, seconds
// never decrease, and batch conversions (sorted or not) equal single ones.
TEST_F(TempoTrackTest, RandomMapsRoundTripMonotonicallyAndBatchesEqualSingles) {
  for (unsigned seed : {1u, 7u, 42u, 1234u, 99991u}) {
    std::mt19937 random(seed);
    std::vector<Change> changes;
    double position = 0;
    // Tempi and lengths of real songs: a double in seconds then resolves
    // far below a billionth of a pulse (about 1e-13 s at 600 s).
    std::uniform_real_distribution<double> bpm(20, 300);
    for (int i = 0; i < 250; ++i) {
      changes.push_back({position, bpm(random), static_cast<int32_t>(random() % 2)});
      // Mostly whole pulses; sometimes two changes at one position, sometimes fractions.
      const unsigned kind = random() % 10;
      position += kind == 0 ? 0.0 : kind == 1 ? (random() % 100000) / 64.0 : static_cast<double>(random() % 4000);
    }
    auto track = makeTrack(changes);
    ASSERT_TRUE(track);
    std::uniform_real_distribution<double> pulses(-5000, position + 10000);
    std::vector<double> shuffled(4000);
    for (double& p : shuffled) p = pulses(random);
    std::vector<double> ordered = shuffled;
    std::sort(ordered.begin(), ordered.end());
    double previous = -std::numeric_limits<double>::infinity();
    for (double p : ordered) {
      const double s = track->secondsAt(p);
      ASSERT_NEAR(track->pulsesAt(s), p, 1e-9) << "seed " << seed << " pulses " << p;
      ASSERT_GE(s, previous) << "seconds must not decrease, seed " << seed;
      previous = s;
    }
    for (const std::vector<double>* input : {&ordered, &shuffled}) {
      std::vector<double> seconds(input->size());
      track->secondsAt(*input, seconds);
      std::vector<double> back(input->size());
      track->pulsesAt(seconds, back);
      for (size_t i = 0; i < input->size(); ++i) {
        ASSERT_EQ(seconds[i], track->secondsAt((*input)[i])) << "seed " << seed << " " << i;
        ASSERT_EQ(back[i], track->pulsesAt(seconds[i])) << "seed " << seed << " " << i;
      }
    }
    // Only the smaller of the two sizes is converted.
    std::vector<double> small(2, -1.0);
    track->secondsAt(ordered, small);
    EXPECT_EQ(small[1], track->secondsAt(ordered[1]));
  }
}

TEST_F(TempoTrackTest, ArchiveRoundTripIsByteForByteAndReplacesTheDefault) {
  auto track = makeTrack({{0, 120, 0}, {1920, 60, 1}, {3840.5, 180, 1}, {5000, 90, 0}});
  ASSERT_TRUE(track);
  track->setName("Tempo");
  track->setRehearsalTempo(93.5f);
  track->setRehearsalMode(true);
  const std::vector<uint8_t> bytes = archiveBytes(track.get());
  ASSERT_FALSE(bytes.empty());
  FRef<MTempoTrackNode> back = readBackAs<MTempoTrackNode>(bytes);
  ASSERT_TRUE(back);
  ASSERT_EQ(back->tempoCount(), 4u);  // not 5: the constructor's change is gone
  EXPECT_EQ(back->getName(), "Tempo");
  EXPECT_EQ(back->getRehearsalTempo(), 93.5f);
  EXPECT_TRUE(back->isRehearsalMode());
  EXPECT_EQ(archiveBytes(back.get()), bytes);
  back->setRehearsalMode(false);
  track->setRehearsalMode(false);
  for (double p : {-100.0, 0.0, 1000.0, 3000.0, 3840.5, 4500.0, 8000.0}) {
    EXPECT_EQ(back->secondsAt(p), track->secondsAt(p)) << p;
  }
  // The last bytes are "RehearsalTempo" (float) and "RehearsalMode" (16-bit).
  EXPECT_EQ(bigEndian16(bytes, bytes.size() - 2), 0x0001);
  const uint32_t bits = bigEndian32(bytes, bytes.size() - 6);
  float tempo = 0;
  std::memcpy(&tempo, &bits, sizeof tempo);
  EXPECT_EQ(tempo, 93.5f);
}

TEST_F(TempoTrackTest, DamagedTrackFailsTheRead) {
  auto track = makeRef<MTempoTrackNode>();
  std::vector<uint8_t> bytes = archiveBytes(track.get());
  // A rehearsal tempo of 0 BPM.
  std::vector<uint8_t> zero = bytes;
  for (size_t i = zero.size() - 6; i < zero.size() - 2; ++i) zero[i] = 0;
  EXPECT_FALSE(readBackAs<MTempoTrackNode>(zero));
  // A member that is no tempo event.
  auto foreign = makeRef<MTempoTrackNode>();
  foreign->array().insert(makeRef<MTimeSignatureEvent>());
  EXPECT_FALSE(readBackAs<MTempoTrackNode>(archiveBytes(foreign.get())));
  // Cut short.
  std::vector<uint8_t> truncated(bytes.begin(), bytes.end() - 3);
  EXPECT_FALSE(readBackAs<MTempoTrackNode>(truncated));
}

TEST_F(TempoTrackTest, AccessorTakesOnlyTempoEvents) {
  auto track = makeRef<MTempoTrackNode>();
  FRef<MAccessor> accessor = track->getWriteAccessor();
  ASSERT_TRUE(accessor);
  EXPECT_FALSE(accessor->insert(makeRef<MTimeSignatureEvent>()));
  EXPECT_EQ(track->tempoCount(), 1u);
  FRef<MAccessor> reader = track->getReadAccessor();
  EXPECT_FALSE(reader->insert(makeRef<MTempoEvent>(480.0, 90.0)));
  track->setReadOnly(true);
  EXPECT_FALSE(track->getWriteAccessor());
}

TEST_F(TempoTrackTest, LookupOfTheChangeInForce) {
  auto track = makeTrack({{0, 120, 0}, {960, 100, 0}, {960, 80, 0}, {1920, 60, 0}});
  ASSERT_TRUE(track);
  EXPECT_EQ(track->tempoEventAt(-5)->getBPM(), 120.0);
  EXPECT_EQ(track->tempoEventAt(959.5)->getBPM(), 120.0);
  // Two changes at 960: the later one holds.
  EXPECT_EQ(track->tempoEventAt(960)->getBPM(), 80.0);
  EXPECT_NEAR(track->secondsAt(1440), 0.5 * 2 + 0.75, 1e-12);
  EXPECT_EQ(track->tempoEventAt(1e9)->getBPM(), 60.0);
}

TEST_F(TempoTrackTest, ReadersConvertAtTheSameTime) {
  auto track = makeTrack({{0, 120, 0}, {1920, 60, 1}, {3840, 180, 1}, {5000, 90, 0}});
  ASSERT_TRUE(track);
  std::vector<double> expected;
  for (int i = 0; i < 1000; ++i) expected.push_back(track->secondsAt(i * 7.5));
  const MTempoTrackNode& shared = *track;
  std::vector<int> mismatches(4, 0);
  std::vector<std::thread> readers;
  for (int t = 0; t < 4; ++t) {
    readers.emplace_back([&, t] {
      for (int round = 0; round < 20; ++round) {
        for (int i = 0; i < 1000; ++i) {
          if (shared.secondsAt(i * 7.5) != expected[i]) ++mismatches[t];
        }
      }
    });
  }
  for (std::thread& reader : readers) reader.join();
  for (int count : mismatches) EXPECT_EQ(count, 0);
}

}  // namespace
}  // namespace vantor
