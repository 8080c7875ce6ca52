#include "model/time/MPosition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "foundation/FUserMessages.h"
#include "model/MModelInit.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"

namespace vantor {
namespace {

// 4/4 at 0 (bars 1-4), 3/4 at 7680 (bars 5-6), 7/8 at 10560 (bar 7, cut
// short to 1540 pulses by the 4/4 at 12100, bar 8 on). Tempo 120 BPM.
class PositionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeModel();
    FRef<MAccessor> accessor = signatures_->getWriteAccessor();
    ASSERT_TRUE(accessor->insert(makeRef<MTimeSignatureEvent>(7680, 3, 4)));
    ASSERT_TRUE(accessor->insert(makeRef<MTimeSignatureEvent>(10560, 7, 8)));
    ASSERT_TRUE(accessor->insert(makeRef<MTimeSignatureEvent>(12100, 4, 4)));
  }

  FRef<MSignatureTrackNode> signatures_ = makeRef<MSignatureTrackNode>();
  FRef<MTempoTrackNode> tempo_ = makeRef<MTempoTrackNode>();
  MPosition position_{*signatures_, *tempo_};
};

TEST_F(PositionTest, ParsesEveryFormByHand) {
  struct Row {
    const char* text;
    double pulses;
  };
  const Row rows[] = {
      {"1920", 1920},        {"0", 0},
      {"  960 ", 960},       {"2147483647", 2147483647},
      {"1.1.1.0", 0},        {"2.1.1.0", 1920},
      {"1.2.1.0", 480},      {"1.1.2.0", 120},
      {"1.1.1.119", 119},    {"1.4.4.119", 1919},
      {"5.1.1.0", 7680},     {"5.3.4.119", 9119},   // 7680 + 2 * 480 + 3 * 120 + 119
      {"6.1", 9120},         {"6", 6},              // a lone number is pulses
      {"7.1.1.0", 10560},    {"7.6.2.119", 11999},  // 7/8: beats of 240, two sixteenths each
      {"7.7.1.99", 12099},   {"8.1.1", 12100},
      {"9.1", 14020},        {"3.5s", 3360},  // 3.5 s * 960 pulses per second at 120 BPM
      {"0.5s", 480},         {".5s", 480},
      {"2s", 1920},          {"2S", 1920},
      {"1:02.250", 59760},  // 62.25 s * 960
      {"0:01", 960},         {"1:2", 59520},
      {"10:00.000", 576000},
  };
  for (const Row& row : rows) {
    std::string error;
    const std::optional<double> pulses = position_.parse(row.text, &error);
    ASSERT_TRUE(pulses.has_value()) << row.text << ": " << error;
    EXPECT_NEAR(*pulses, row.pulses, 1e-9) << row.text;
  }
}

TEST_F(PositionTest, RefusesBadTextWithAClearMessage) {
  struct Row {
    const char* text;
    const char* message;
  };
  const Row rows[] = {
      {"", "No position given."},
      {"   ", "No position given."},
      {"-480", "Negative positions are not allowed: \"-480\"."},
      {"-1.1.1.0", "Negative positions are not allowed"},
      {"-3s", "Negative positions are not allowed"},
      {"-0:01", "Negative positions are not allowed"},
      {"abc", "\"abc\" is not a position. Type pulses (1920), bars (5.1.1.0), seconds (3.5s) or minutes (1:02.250)."},
      {"1.2.3.4.5", "is not a position"},
      {"1..1", "is not a position"},
      {"1:2:3", "is not a position"},
      {"1:", "is not a position"},
      {":30", "is not a position"},
      {"1:123", "is not a position"},
      {"3.5.s", "is not a position"},
      {"1e3", "is not a position"},
      {"+5", "is not a position"},
      {"5 s", "is not a position"},
      {"0.1.1.0", "Bar numbers start at 1: \"0.1.1.0\"."},
      {"1.5.1.0", "Beat 5 is out of range in \"1.5.1.0\": bar 1 has 4 beats."},
      {"5.4.1.0", "Beat 4 is out of range in \"5.4.1.0\": bar 5 has 3 beats."},
      {"1.0.1.0", "Beat 0 is out of range"},
      {"7.1.3.0", "Sixteenth 3 is out of range in \"7.1.3.0\": a beat of bar 7 has 2 sixteenths."},
      {"1.1.0.0", "Sixteenth 0 is out of range"},
      {"1.1.1.120", "Tick 120 is out of range in \"1.1.1.120\": ticks run from 0 to 119 there."},
      {"7.7.1.100", "\"7.7.1.100\" lies beyond the end of bar 7, which is 1540 pulses long."},
      {"1:60", "Seconds must be below 60 in \"1:60\"."},
      {"2147483648", "\"2147483648\" is out of range: positions end at 2147483647 pulses."},
      {"99999999999999999999", "is out of range"},
      {"99999999s", "is out of range"},
      {"9999999999.1.1.0", "is out of range"},
      {"2000000.1.1.0", "is out of range"},
  };
  for (const Row& row : rows) {
    std::string error = "untouched";
    EXPECT_FALSE(position_.parse(row.text, &error).has_value()) << row.text;
    EXPECT_NE(error.find(row.message), std::string::npos) << row.text << " gave: " << error;
  }
}

TEST_F(PositionTest, ParseFailureIsReportedAsAnError) {
  FCapturedMessages messages;
  EXPECT_FALSE(position_.parse("1.9.1.0", messages).has_value());
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].severity, FUserMessages::Severity::kError);
  EXPECT_TRUE(messages.contains("Beat 9 is out of range"));
  EXPECT_TRUE(position_.parse("1.2.1.0", messages).has_value());
  EXPECT_EQ(messages.messages().size(), 1u);
}

TEST_F(PositionTest, FormatsEveryStyleByHand) {
  struct Row {
    double pulses;
    const char* pulsesText;
    const char* bars;
    const char* seconds;
    const char* time;
  };
  const Row rows[] = {
      {0, "0", "1.1.1.0", "0.000s", "0:00.000"},
      {1919.6, "1920", "2.1.1.0", "2.000s", "0:02.000"},  // 1999.58 ms rounds to 2000
      {9119, "9119", "5.3.4.119", "9.499s", "0:09.499"},  // 9119 / 960 = 9.49896 s
      {11999, "11999", "7.6.2.119", "12.499s", "0:12.499"},
      {12099, "12099", "7.7.1.99", "12.603s", "0:12.603"},  // 12.603125 s
      {12100, "12100", "8.1.1.0", "12.604s", "0:12.604"},   // 12.6041667 s
      // Bar 8 begins at 12100: 59760 - 12100 = 47660 = 24 bars of 1920 + 1580,
      // and 1580 = 3 beats of 480 + 1 sixteenth of 120 + 20 ticks.
      {59760, "59760", "32.4.2.20", "62.250s", "1:02.250"},
      // 576000 - 12100 = 563900 = 293 bars + 1340 = 2 beats + 3 sixteenths + 20.
      {576000, "576000", "301.3.4.20", "600.000s", "10:00.000"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(position_.formatPulses(row.pulses).value_or("?"), row.pulsesText) << row.pulses;
    EXPECT_EQ(position_.formatBars(row.pulses).value_or("?"), row.bars) << row.pulses;
    EXPECT_EQ(position_.formatSeconds(row.pulses).value_or("?"), row.seconds) << row.pulses;
    EXPECT_EQ(position_.formatTime(row.pulses).value_or("?"), row.time) << row.pulses;
    EXPECT_EQ(position_.format(row.pulses, MPositionStyle::kBars).value_or("?"), row.bars);
    EXPECT_EQ(position_.format(row.pulses, MPositionStyle::kTime).value_or("?"), row.time);
  }
}

TEST_F(PositionTest, FormatRefusesPositionsOutOfRange) {
  struct Row {
    double pulses;
    const char* message;
  };
  const Row rows[] = {
      {-1, "Position -1 lies before the start of the project."},
      {-0.25, "lies before the start of the project"},
      {std::numeric_limits<double>::quiet_NaN(), "The position is not a number."},
      {std::numeric_limits<double>::infinity(), "The position is not a number."},
      {3e9, "Position 3000000000 is out of range: positions end at 2147483647 pulses."},
  };
  for (const Row& row : rows) {
    for (MPositionStyle style :
         {MPositionStyle::kPulses, MPositionStyle::kBars, MPositionStyle::kSeconds, MPositionStyle::kTime}) {
      std::string error;
      EXPECT_FALSE(position_.format(row.pulses, style, &error).has_value()) << row.pulses;
      EXPECT_NE(error.find(row.message), std::string::npos) << row.pulses << " gave: " << error;
    }
  }
}

TEST_F(PositionTest, PositionsBeforeBarOneHaveNoBarText) {
  // A track whose only signature lies at 960: 0 lies in bar 0.
  auto signatures = makeRef<MSignatureTrackNode>();
  signatures->signature(0)->setStart(960);
  MPosition position(*signatures, *tempo_);
  std::string error;
  EXPECT_FALSE(position.formatBars(0, &error).has_value());
  EXPECT_EQ(error, "Position 0 lies before bar 1.");
  EXPECT_EQ(position.formatBars(960).value_or("?"), "1.1.1.0");
  EXPECT_EQ(position.parse("1.1.1.0").value_or(-1), 960);
}

TEST_F(PositionTest, TimeGoesThroughTheTempoMap) {
  // 120 BPM for 1920 pulses (2 s), then 60 BPM: 62.25 s lies at
  // 1920 + 60.25 * 480 = 30840 pulses.
  FRef<MAccessor> accessor = tempo_->getWriteAccessor();
  ASSERT_TRUE(accessor->insert(makeRef<MTempoEvent>(1920.0, 60.0)));
  EXPECT_NEAR(position_.parse("1:02.250").value_or(-1), 30840, 1e-9);
  EXPECT_NEAR(position_.parse("62.25s").value_or(-1), 30840, 1e-9);
  EXPECT_EQ(position_.formatTime(30840).value_or("?"), "1:02.250");
  EXPECT_EQ(position_.formatSeconds(2400).value_or("?"), "3.000s");
}

TEST_F(PositionTest, BarTextRoundTripsOnRandomPositions) {
  std::mt19937 random(31337);
  std::uniform_int_distribution<int64_t> pulses(0, 2000000);
  for (int i = 0; i < 3000; ++i) {
    const auto p = static_cast<double>(pulses(random));
    const std::optional<std::string> bars = position_.formatBars(p);
    ASSERT_TRUE(bars.has_value()) << p;
    EXPECT_EQ(position_.parse(*bars).value_or(-1), p) << *bars;
    EXPECT_EQ(position_.parse(position_.formatPulses(p).value()).value_or(-1), p);
    const std::optional<double> timed = position_.parse(position_.formatTime(p).value());
    ASSERT_TRUE(timed.has_value());
    // Milliseconds: the time read back lies within half a millisecond.
    EXPECT_NEAR(tempo_->secondsAt(*timed), tempo_->secondsAt(p), 0.0005 + 1e-9) << p;
  }
}

TEST_F(PositionTest, ParsedBarTextFormatsBackUnchanged) {
  // Every field combination of bars 1 to 9, written out by hand from the
  // signatures above: beats per bar and sixteenths per beat.
  struct BarShape {
    int bar;
    int beats;
    int sixteenths;
  };
  const BarShape shapes[] = {{1, 4, 4}, {4, 4, 4}, {5, 3, 4}, {6, 3, 4}, {7, 6, 2}, {8, 4, 4}, {9, 4, 4}};
  for (const BarShape& shape : shapes) {
    for (int beat = 1; beat <= shape.beats; ++beat) {
      for (int sixteenth = 1; sixteenth <= shape.sixteenths; ++sixteenth) {
        for (int tick : {0, 1, 59, 119}) {
          const std::string text = std::to_string(shape.bar) + "." + std::to_string(beat) + "." +
                                   std::to_string(sixteenth) + "." + std::to_string(tick);
          const std::optional<double> p = position_.parse(text);
          ASSERT_TRUE(p.has_value()) << text;
          EXPECT_EQ(position_.formatBars(*p).value_or("?"), text);
        }
      }
    }
  }
}

}  // namespace
}  // namespace vantor
