#include "model/time/MTempoEvent.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/FAttributes.h"
#include "model/MModelInit.h"
#include "model/TempoTestSupport.h"

namespace vantor {
namespace {

using namespace testing_tempo;

class TempoEventTest : public ::testing::Test {
 protected:
  void SetUp() override { initializeModel(); }
};

TEST_F(TempoEventTest, HundredthsReadRoundsToNearest) {
  // Exact binary SPB values, worked by hand: 60 / SPB * 100 + 0.5, integer part.
  struct Row {
    float spb;
    int32_t hundredths;
  };
  const Row rows[] = {
      {0.5f, 12000},     // 120 BPM: 12000.5 -> 12000
      {0.625f, 9600},    // 96 BPM
      {0.5625f, 10667},  // 106.666.. BPM: 10666.67 + 0.5 = 10667.17 -> 10667 (rounds up)
      {0.875f, 6857},    // 68.5714.. BPM: 6857.14 + 0.5 = 6857.64 -> 6857 (rounds down)
      {0.6875f, 8727},   // 87.2727.. BPM: 8727.27 + 0.5 -> 8727
      {60.0f, 100},      // 1 BPM
      {2.0f, 3000},      // 30 BPM
  };
  for (const Row& row : rows) {
    MTempoEvent event;
    ASSERT_TRUE(event.setSPB(row.spb));
    EXPECT_EQ(event.getTempoHundredths(), row.hundredths) << "SPB " << row.spb;
  }
}

TEST_F(TempoEventTest, HundredthsWriteStoresSecondsPerBeatAsFloat) {
  struct Row {
    int32_t written;
    float spb;  // 60 / (written / 100), as float
    int32_t readBack;
  };
  const Row rows[] = {
      {12000, 0.5f, 12000},
      {9750, static_cast<float>(60.0 / 97.5), 9750},
      {13333, static_cast<float>(60.0 / 133.33), 13333},
      {99999, static_cast<float>(60.0 / 999.99), 99999},
      {100, 60.0f, 100},  // exactly the 1 BPM floor
      {50, 60.0f, 100},   // 0.5 BPM is below the floor: stores 1 BPM
      {0, 60.0f, 100},
      {-500, 60.0f, 100},
  };
  for (const Row& row : rows) {
    MTempoEvent event;
    event.setTempoHundredths(row.written);
    EXPECT_EQ(event.getSPB(), row.spb) << row.written;
    EXPECT_EQ(event.getTempoHundredths(), row.readBack) << row.written;
  }
}

TEST_F(TempoEventTest, InvalidSecondsPerBeatIsRefused) {
  MTempoEvent event;
  EXPECT_FALSE(event.setSPB(0.0f));
  EXPECT_FALSE(event.setSPB(-0.5f));
  EXPECT_FALSE(event.setSPB(std::numeric_limits<float>::infinity()));
  EXPECT_FALSE(event.setSPB(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_EQ(event.getSPB(), 0.5f);
  event.setBPM(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(event.getBPM(), 1.0);
}

TEST_F(TempoEventTest, ArchiveRoundTripIsByteForByte) {
  auto event = makeRef<MTempoEvent>(1234.5, 97.5, MTempoFunc::kRamp);
  event->setTime(3.25);
  event->setFlags(MEventFlag::kMuted | MEventFlag::kSelected);
  event->setID(77);
  const std::vector<uint8_t> bytes = archiveBytes(event.get());
  ASSERT_FALSE(bytes.empty());
  FRef<MTempoEvent> back = readBackAs<MTempoEvent>(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->getFlags(), MEventFlag::kMuted);  // the selection is never stored
  // Saved again to the same bytes (their layout is pinned in the next test).
  EXPECT_EQ(archiveBytes(back.get()), bytes);
}

TEST_F(TempoEventTest, OwnMembersFollowTheEventMembersInOrder) {
  auto event = makeRef<MTempoEvent>(960.0, 60.0, MTempoFunc::kRamp);
  event->setTime(1.5);
  const std::vector<uint8_t> bytes = archiveBytes(event.get());
  // The record is the archive's last: ... ID (4), "TempoSPB" (8), "Time" (8),
  // "PPQ" (8), "Func" (4).
  ASSERT_GE(bytes.size(), 28u);
  const size_t tail = bytes.size() - 28;
  EXPECT_EQ(bigEndianDouble(bytes, tail), 1.0);  // 60 BPM = 1 second per beat
  EXPECT_EQ(bigEndianDouble(bytes, tail + 8), 1.5);
  EXPECT_EQ(bigEndianDouble(bytes, tail + 16), 960.0);
  EXPECT_EQ(bigEndian32(bytes, tail + 24), 1u);
  // The event's own start (a double, after the 16-bit flags) says the same.
  FRef<MTempoEvent> back = readBackAs<MTempoEvent>(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->getStart(), 960.0);
}

TEST_F(TempoEventTest, DamagedTempoFailsTheRead) {
  auto event = makeRef<MTempoEvent>(0.0, 120.0);
  const std::vector<uint8_t> bytes = archiveBytes(event.get());
  const size_t spbAt = bytes.size() - 28;
  for (double bad : {0.0, -0.5, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                     1e300 /* overflows the float */}) {
    std::vector<uint8_t> damaged = bytes;
    putBigEndianDouble(damaged, spbAt, bad);
    EXPECT_FALSE(readBackAs<MTempoEvent>(damaged)) << bad;
  }
  std::vector<uint8_t> badPosition = bytes;
  putBigEndianDouble(badPosition, spbAt + 16, std::numeric_limits<double>::quiet_NaN());
  EXPECT_FALSE(readBackAs<MTempoEvent>(badPosition));
  // Cut short inside the tempo members.
  std::vector<uint8_t> truncated(bytes.begin(), bytes.end() - 6);
  EXPECT_FALSE(readBackAs<MTempoEvent>(truncated));
}

// Attributes and clone both copy every member.
TEST_F(TempoEventTest, AttributesAndCloneKeepEveryValue) {
  MTempoEvent event(480.0, 150.0, MTempoFunc::kRamp);
  event.setTime(0.5);
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(event.storeAttributes(*attributes));
  MTempoEvent restored;
  ASSERT_TRUE(restored.restoreAttributes(*attributes));
  FRef<MEvent> clone = event.clone();
  const MTempoEvent* copies[] = {&restored, dynamic_cast<const MTempoEvent*>(clone.get())};
  for (const MTempoEvent* copy : copies) {
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->getStart(), 480.0);
    EXPECT_EQ(copy->getSPB(), event.getSPB());
    EXPECT_EQ(copy->getTime(), 0.5);
    EXPECT_EQ(copy->getFunc(), MTempoFunc::kRamp);
  }
}

}  // namespace
}  // namespace vantor
