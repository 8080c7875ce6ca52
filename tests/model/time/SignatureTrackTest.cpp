#include "model/time/MSignatureTrack.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "foundation/FAttributes.h"
#include "model/MModelInit.h"
#include "model/TempoTestSupport.h"
#include "model/time/MTempoEvent.h"

namespace vantor {
namespace {

using namespace testing_tempo;

struct Sig {
  int32_t position;
  uint16_t numerator;
  uint16_t denominator;
};

// A track holding exactly the given signatures (the default one removed).
FRef<MSignatureTrackNode> makeTrack(const std::vector<Sig>& signatures) {
  auto track = makeRef<MSignatureTrackNode>();
  FRef<MAccessor> accessor = track->getWriteAccessor();
  FRef<MEvent> first = accessor->remove(accessor->at(0));
  for (const Sig& s : signatures) {
    if (!accessor->insert(makeRef<MTimeSignatureEvent>(s.position, s.numerator, s.denominator))) return nullptr;
  }
  return track;
}

std::vector<int32_t> positions(const MSignatureTrackNode& track) {
  std::vector<int32_t> result;
  for (size_t i = 0; i < track.signatureCount(); ++i) result.push_back(track.signature(i)->getPosition());
  return result;
}

class SignatureTrackTest : public ::testing::Test {
 protected:
  void SetUp() override { initializeModel(); }
};

// ---- The signature event ------------------------------------------------------

TEST_F(SignatureTrackTest, BarLengthDividesFirst) {
  struct Row {
    uint16_t numerator;
    uint16_t denominator;
    int32_t bar;
  };
  const Row rows[] = {
      {4, 4, 1920},    {3, 4, 1440}, {6, 8, 1440}, {7, 8, 1680},
      {5, 16, 600},    {3, 2, 2880}, {5, 7, 1370},  // 1920 / 7 = 274 first, * 5 = 1370 (not 9600 / 7 = 1371)
      {4, 0, 1920},                                 // denominator 0
      {13, 0, 1920},                                // denominator 0 ignores the numerator
      {0, 4, 1920},                                 // no pulses at all: a whole note
      {1, 4096, 1920},
  };
  for (const Row& row : rows) {
    MTimeSignatureEvent sig(0, row.numerator, row.denominator);
    EXPECT_EQ(sig.barLength(), row.bar) << row.numerator << "/" << row.denominator;
  }
  EXPECT_EQ(MTimeSignatureEvent(0, 6, 8).beatLength(), 240);
  EXPECT_EQ(MTimeSignatureEvent(0, 3, 2).beatLength(), 960);
  EXPECT_EQ(MTimeSignatureEvent(0, 4, 0).beatLength(), 480);
}

TEST_F(SignatureTrackTest, StartRoundsToWholePulsesAndMarksTheFirst) {
  struct Row {
    double start;
    int32_t position;
  };
  // Integer part of value + 0.5 (truncation towards zero).
  const Row rows[] = {
      {0.4, 0},  {0.5, 1},   {1919.5, 1920}, {1919.49, 1919},    {-0.4, 0},
      {-0.6, 0}, {-1.6, -1}, {-2.5, -2},     {1e12, 2147483647}, {std::numeric_limits<double>::quiet_NaN(), 0}};
  for (const Row& row : rows) {
    MTimeSignatureEvent sig(480, 4, 4);
    sig.setStart(row.start);
    EXPECT_EQ(sig.getPosition(), row.position) << row.start;
    EXPECT_EQ(sig.getStart(), static_cast<double>(row.position));
    EXPECT_EQ(sig.hasFlag(MEventFlag::kFirst), row.position == 0) << row.start;
  }
  MTimeSignatureEvent first;
  first.setFlag(MEventFlag::kMuted, true);
  first.setStart(960);
  EXPECT_EQ(first.getFlags(), MEventFlag::kMuted);
  first.setStart(0);
  EXPECT_EQ(first.getFlags(), MEventFlag::kMuted | MEventFlag::kFirst);
}

TEST_F(SignatureTrackTest, EventArchiveRoundTripIsByteForByte) {
  auto sig = makeRef<MTimeSignatureEvent>(7680, 7, 8);
  sig->setSubNumerator(0, 2);
  sig->setSubNumerator(1, 2);
  sig->setSubNumerator(2, 3);
  sig->setID(12);
  const std::vector<uint8_t> bytes = archiveBytes(sig.get());
  FRef<MTimeSignatureEvent> back = readBackAs<MTimeSignatureEvent>(bytes);
  ASSERT_TRUE(back);
  // Saved again to the same bytes, whose tail is pinned below: every member
  // was read into its own place.
  EXPECT_EQ(archiveBytes(back.get()), bytes);
  // The last 16 bytes: "Position", "Numerator", "Denominator",
  // "SubNumerator1..3", "Flags".
  const size_t tail = bytes.size() - 16;
  EXPECT_EQ(bigEndian32(bytes, tail), 7680u);
  const uint16_t expected[] = {7, 8, 2, 2, 3, 0};
  for (size_t i = 0; i < 6; ++i) EXPECT_EQ(bigEndian16(bytes, tail + 4 + 2 * i), expected[i]) << i;
  // Through attributes as well; the first flag follows the position.
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(sig->storeAttributes(*attributes));
  MTimeSignatureEvent copy;
  ASSERT_TRUE(copy.restoreAttributes(*attributes));
  EXPECT_EQ(copy.getPosition(), 7680);
  EXPECT_EQ(copy.getNumerator(), 7);
  EXPECT_EQ(copy.getSubNumerator(2), 3);
  EXPECT_FALSE(copy.hasFlag(MEventFlag::kFirst));
}

TEST_F(SignatureTrackTest, FirstFlagFollowsTheStoredPosition) {
  // A signature at 0 carries 0x8 in both flag words; move its stored
  // "Position" to 960: the bit does not survive the read.
  auto sig = makeRef<MTimeSignatureEvent>();
  std::vector<uint8_t> bytes = archiveBytes(sig.get());
  const size_t at = bytes.size() - 16;
  bytes[at + 2] = 0x03;
  bytes[at + 3] = 0xC0;  // 960
  FRef<MTimeSignatureEvent> back = readBackAs<MTimeSignatureEvent>(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->getPosition(), 960);
  EXPECT_FALSE(back->hasFlag(MEventFlag::kFirst));
  // Truncated inside the signature members.
  std::vector<uint8_t> truncated(bytes.begin(), bytes.end() - 3);
  EXPECT_FALSE(readBackAs<MTimeSignatureEvent>(truncated));
}

// ---- The signature track ------------------------------------------------------

// 4/4 at 0 (bars 1-4), 3/4 at 7680 (bars 5-6), 7/8 at 10560 (bar 7), 4/4 at
// 12000 (bar 8 on). The last lies off a bar line, 1440 pulses into the 7/8
// bar of 1680, as only a file from elsewhere can hold it.
FRef<MSignatureTrackNode> songTrack() { return makeTrack({{0, 4, 4}, {7680, 3, 4}, {10560, 7, 8}, {12000, 4, 4}}); }

// The bar of a position is the signature in force there and its bar
// length, never cut short by the next signature: the 7/8 bar at 10560 runs
// to 10560 + 1680 = 12240 although the 4/4 starts at 12000.
TEST_F(SignatureTrackTest, BarOfAPositionByHand) {
  auto track = songTrack();
  ASSERT_TRUE(track);
  struct Row {
    int64_t position;
    int64_t start;
    int64_t end;
  };
  const Row rows[] = {
      {0, 0, 1920},          {1919, 0, 1920},         {1920, 1920, 3840},    {7679, 5760, 7680},
      {7680, 7680, 9120},    {10559, 9120, 10560},    {10560, 10560, 12240}, {11999, 10560, 12240},
      {12000, 12000, 13920}, {100000, 98400, 100320},  // 12000 + 45 * 1920 = 98400
      {-1, -1920, 0},        {-1920, -1920, 0},       {-1921, -3840, -1920},
  };
  for (const Row& row : rows) {
    const MBar bar = track->barAt(row.position);
    EXPECT_EQ(bar.start, row.start) << row.position;
    EXPECT_EQ(bar.end, row.end) << row.position;
  }
  EXPECT_EQ(track->barAt(10600).signature->getNumerator(), 7);
  EXPECT_EQ(track->barAt(-5).signature, track->signature(0));
}

// Bar numbers (bar text) count the interrupted 7/8 bar as bar 7, cut at
// 12000, and start bar 8 at the 4/4: a rule of bar text, beside the bar of
// a position above.
TEST_F(SignatureTrackTest, BarNumbersCountFromTheFirstSignature) {
  auto track = songTrack();
  ASSERT_TRUE(track);
  EXPECT_EQ(track->numberedBar(7).start, 10560);
  EXPECT_EQ(track->numberedBar(7).end, 12000);
  EXPECT_EQ(track->numberedBar(8).end, 13920);
  EXPECT_EQ(track->numberedBar(0).end, 0);
  struct Row {
    int64_t number;
    int64_t start;
  };
  const Row rows[] = {{-1, -3840}, {0, -1920}, {1, 0},     {4, 5760},  {5, 7680},
                      {6, 9120},   {7, 10560}, {8, 12000}, {9, 13920}, {53, 12000 + 45 * 1920}};
  for (const Row& row : rows) {
    EXPECT_EQ(track->barStart(row.number), row.start) << row.number;
    EXPECT_EQ(track->barNumberAt(row.start), row.number) << row.number;
    EXPECT_EQ(track->barNumberAt(row.start + 1), row.number) << row.number;
  }
  EXPECT_EQ(track->barNumberAt(11999), 7);
  EXPECT_EQ(track->barNumberAt(-1), 0);
}

// Before the first signature its bars run backwards; an empty track is
// 4/4; of two signatures at one position the later rules.
TEST_F(SignatureTrackTest, BarsOfSmallTracksByHand) {
  struct Row {
    const char* name;
    std::vector<Sig> signatures;
    int64_t position;
    int64_t start;
    int64_t end;
    int64_t number;
  };
  const std::vector<Sig> late = {{960, 3, 4}};
  const std::vector<Sig> twice = {{0, 4, 4}, {1920, 3, 4}, {1920, 5, 4}};
  const Row rows[] = {
      {"3/4 at 960", late, 0, -480, 960, 0},  // 960 - 1440
      {"3/4 at 960", late, -481, -1920, -480, -1},
      {"3/4 at 960", late, 960, 960, 2400, 1},
      {"empty", {}, 2000, 1920, 3840, 2},
      {"empty", {}, -1, -1920, 0, 0},
      {"5/4 after 3/4 at 1920", twice, 2000, 1920, 4320, 2},  // 1920 + 2400
      {"5/4 after 3/4 at 1920", twice, 4320, 4320, 6720, 3},
  };
  for (const Row& row : rows) {
    auto track = makeTrack(row.signatures);
    ASSERT_TRUE(track) << row.name;
    const MBar bar = track->barAt(row.position);
    EXPECT_EQ(bar.start, row.start) << row.name << " " << row.position;
    EXPECT_EQ(bar.end, row.end) << row.name << " " << row.position;
    EXPECT_EQ(track->barNumberAt(row.position), row.number) << row.name << " " << row.position;
    EXPECT_EQ(track->barStart(row.number), row.start) << row.name << " " << row.position;
  }
  EXPECT_EQ(makeTrack({})->signatureAt(100), nullptr);
  EXPECT_EQ(makeTrack(twice)->signatureAt(1920)->getNumerator(), 5);
}

TEST_F(SignatureTrackTest, FourFourToThreeFourMovesTheNextEightBarsBack) {
  // 6/8 eight bars after the first signature, and one more later.
  auto track = makeTrack({{0, 4, 4}, {8 * 1920, 6, 8}, {20000, 4, 4}});
  ASSERT_TRUE(track);
  MTimeSignatureEvent* changed = track->signature(0);
  const int32_t oldLength = changed->barLength();
  changed->setSignature(3, 4);
  EXPECT_EQ(track->shiftFollowing(changed, oldLength, changed->barLength()), -480 * 8);
  EXPECT_EQ(positions(*track), (std::vector<int32_t>{0, 15360 - 3840, 20000 - 3840}));
  // The 6/8 still begins bar 9.
  EXPECT_EQ(track->barNumberAt(track->signature(1)->getPosition()), 9);
  // Back to 4/4: the same rule with the lengths swapped restores them.
  changed->setSignature(4, 4);
  EXPECT_EQ(track->shiftFollowing(changed, 1440, 1920), 480 * 8);
  EXPECT_EQ(positions(*track), (std::vector<int32_t>{0, 15360, 20000}));
}

TEST_F(SignatureTrackTest, NoMoveWhenTheProductIsZero) {
  auto track = makeTrack({{0, 4, 4}, {1000, 3, 4}, {5000, 4, 4}});
  ASSERT_TRUE(track);
  MTimeSignatureEvent* first = track->signature(0);
  // Less than one old bar to the next signature: n = 1000 / 1920 = 0.
  EXPECT_EQ(track->shiftFollowing(first, 1920, 1440), 0);
  // Same length: nothing to do.
  EXPECT_EQ(track->shiftFollowing(track->signature(1), 1440, 1440), 0);
  // The last signature has nothing after it.
  EXPECT_EQ(track->shiftFollowing(track->signature(2), 1920, 1440), 0);
  // A signature that is not on this track.
  MTimeSignatureEvent stranger(0, 4, 4);
  EXPECT_EQ(track->shiftFollowing(&stranger, 1920, 1440), 0);
  EXPECT_EQ(track->shiftFollowing(first, 0, 1440), 0);
  EXPECT_EQ(positions(*track), (std::vector<int32_t>{0, 1000, 5000}));
}

TEST_F(SignatureTrackTest, RecordedMoveRestoresWhereTheSwappedRuleCannot) {
  // The next signature sits 2 bars and 1500 pulses after the change.
  auto track = makeTrack({{0, 4, 4}, {2 * 1920 + 1500, 4, 4}});
  ASSERT_TRUE(track);
  MTimeSignatureEvent* changed = track->signature(0);
  // n = 5340 / 1920 = 2: moves by -480 * 2.
  const int32_t shift = track->followingShift(changed, 1920, 1440);
  EXPECT_EQ(shift, -960);
  EXPECT_EQ(track->shiftFollowing(changed, 1920, 1440), -960);
  EXPECT_EQ(track->signature(1)->getPosition(), 4380);
  // The swapped rule would count 4380 / 1440 = 3 bars and move by +1440;
  // moving back by the recorded amount restores the position exactly.
  EXPECT_EQ(track->followingShift(changed, 1440, 1920), 1440);
  ASSERT_TRUE(track->moveFollowing(changed, -shift));
  EXPECT_EQ(track->signature(1)->getPosition(), 5340);
}

TEST_F(SignatureTrackTest, MoveRefusesToPassTheChangedSignatureOrOverflow) {
  auto track = makeTrack({{0, 4, 4}, {1920, 3, 4}, {2147483000, 4, 4}});
  ASSERT_TRUE(track);
  MTimeSignatureEvent* first = track->signature(0);
  EXPECT_FALSE(track->moveFollowing(first, -1920));
  EXPECT_FALSE(track->moveFollowing(first, 1000));
  EXPECT_EQ(positions(*track), (std::vector<int32_t>{0, 1920, 2147483000}));
  EXPECT_TRUE(track->moveFollowing(first, 500));
  EXPECT_EQ(positions(*track), (std::vector<int32_t>{0, 2420, 2147483500}));
}

TEST_F(SignatureTrackTest, TrackArchiveRoundTripIsByteForByte) {
  auto track = songTrack();
  ASSERT_TRUE(track);
  track->signature(2)->setSubNumerator(0, 4);
  // A denominator no edit may set (not a power of two) still reads and
  // writes unchanged.
  track->signature(1)->setSignature(5, 7);
  track->setName("Signature");
  const std::vector<uint8_t> bytes = archiveBytes(track.get());
  FRef<MSignatureTrackNode> back = readBackAs<MSignatureTrackNode>(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(positions(*back), (std::vector<int32_t>{0, 7680, 10560, 12000}));  // no extra default
  EXPECT_EQ(back->getName(), "Signature");
  EXPECT_EQ(back->signature(2)->getSubNumerator(0), 4);
  EXPECT_EQ(back->signature(1)->getDenominator(), 7);
  EXPECT_TRUE(back->signature(0)->hasFlag(MEventFlag::kFirst));
  EXPECT_EQ(archiveBytes(back.get()), bytes);
}

TEST_F(SignatureTrackTest, DamagedTrackFailsTheRead) {
  auto foreign = makeRef<MSignatureTrackNode>();
  foreign->list().insert(makeRef<MTempoEvent>());
  EXPECT_FALSE(readBackAs<MSignatureTrackNode>(archiveBytes(foreign.get())));
  std::vector<uint8_t> bytes = archiveBytes(songTrack().get());
  bytes.resize(bytes.size() - 10);
  EXPECT_FALSE(readBackAs<MSignatureTrackNode>(bytes));
}

TEST_F(SignatureTrackTest, AccessorTakesOnlySignatures) {
  auto track = makeRef<MSignatureTrackNode>();
  FRef<MAccessor> accessor = track->getWriteAccessor();
  EXPECT_FALSE(accessor->insert(makeRef<MTempoEvent>()));
  EXPECT_TRUE(accessor->insert(makeRef<MTimeSignatureEvent>(1920, 3, 4)));
  EXPECT_EQ(track->signatureCount(), 2u);
}

}  // namespace
}  // namespace vantor
