#include "model/time/MTimeRange.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "model/CommandTestSupport.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MNodeCommands.h"
#include "model/edit/MSizeCommand.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MArrayNode.h"

namespace vantor {
namespace {

constexpr double kMax = 2147483647.0;
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(TimeRange, TempoTextIsDigitsWithAtMostTwoDecimalsInRange) {
  struct Row {
    const char* text;
    double bpm;  // 0: refused
    const char* message;
  };
  const Row rows[] = {
      {"120", 120, nullptr},          {"1", 1, nullptr},           {"999.99", 999.99, nullptr},
      {"96.25", 96.25, nullptr},      {"96.5", 96.5, nullptr},     {"140.", 0, "bad tempo"},
      {"0.99", 0, "bad tempo"},       {"0", 0, "bad tempo"},       {"1000", 0, "bad tempo"},
      {"1000000000", 0, "bad tempo"}, {"999.991", 0, "bad tempo"},  // three decimals
      {"inf", 0, "bad tempo"},        {"nan", 0, "bad tempo"},     {"1e9", 0, "bad tempo"},
      {"0x10", 0, "bad tempo"},       {"-120", 0, "bad tempo"},    {"+120", 0, "bad tempo"},
      {"", 0, "bad tempo"},           {".5", 0, "bad tempo"},      {"12 0", 0, "bad tempo"},
  };
  for (const Row& row : rows) {
    double bpm = -1;
    std::string error;
    const bool ok = MTimeRange::parseTempo(row.text, &bpm, &error);
    EXPECT_EQ(ok, row.message == nullptr) << row.text;
    if (row.message == nullptr) {
      EXPECT_DOUBLE_EQ(bpm, row.bpm) << row.text;
    } else {
      EXPECT_EQ(bpm, -1) << row.text;  // untouched on failure
      // One message for every refusal.
      EXPECT_EQ(error, std::string("bad tempo \"") + row.text + "\": " + MTimeRange::kTempoRangeMessage);
    }
  }
  // Shown in hundredths: 140 stored as a float of seconds per beat reads
  // back as 139.9999986..., shown as typed.
  const double stored = 60.0 / static_cast<double>(static_cast<float>(60.0 / 140.0));
  EXPECT_NE(stored, 140.0);
  EXPECT_EQ(MTimeRange::formatTempo(stored), "140.00");
  EXPECT_EQ(MTimeRange::roundedTempo(stored), 140.0);
  EXPECT_EQ(MTimeRange::formatTempo(96.254), "96.25");
  EXPECT_EQ(MTimeRange::formatTempo(1), "1.00");
}

TEST(TimeRange, SignatureTextTakesPowersOfTwoUpTo128) {
  struct Row {
    const char* text;
    bool ok;
  };
  const Row rows[] = {
      {"4/4", true},    {"3/4", true},     {"7/8", true},    {"1/1", true},    {"255/128", true}, {"5/2", true},
      {"5/7", false},   {"4/3", false},    {"4/6", false},   {"4/256", false}, {"4/0", false},    {"0/4", false},
      {"256/4", false}, {"4/1920", false}, {"4", false},     {"4/", false},    {"/4", false},     {"-3/4", false},
      {"3/-4", false},  {"0x3/4", false},  {"3/4/4", false}, {" 3/4", false},  {"", false},
  };
  for (const Row& row : rows) {
    uint16_t numerator = 99;
    uint16_t denominator = 99;
    std::string error;
    EXPECT_EQ(MTimeRange::parseSignature(row.text, &numerator, &denominator, &error), row.ok) << row.text;
    if (!row.ok) {
      EXPECT_EQ(numerator, 99) << row.text;
      EXPECT_NE(error.find("bad signature"), std::string::npos) << row.text;
    }
  }
  for (int d = 1; d <= 1920; ++d) {
    EXPECT_EQ(MTimeRange::isDenominator(d),
              d == 1 || d == 2 || d == 4 || d == 8 || d == 16 || d == 32 || d == 64 || d == 128)
        << d;
  }
}

TEST(TimeRange, PlacementKeepsStartEndAndLengthInRange) {
  struct Row {
    double start;
    double length;
    bool point;
    const char* message;  // nullptr: allowed
  };
  const Row rows[] = {
      {0, 1, false, nullptr},
      {kMax - 1, 1, false, nullptr},
      {0, kMax, false, nullptr},
      {kMax, 0, true, nullptr},
      {0, 0, true, nullptr},
      {-1, 10, false, "before the start"},
      {-1e-9, 10, false, "before the start"},
      {kMax, 1, false, "beyond 2147483647"},
      {1e308, 10, false, "beyond 2147483647"},
      {10, 0, false, "above 0"},
      {10, -5, false, "above 0"},
      {10, 5, true, "above 0"},  // a point keeps no length
      {kInf, 10, false, "not a number"},
      {kNaN, 10, false, "not a number"},
      {10, kNaN, false, "not a number"},
  };
  for (const Row& row : rows) {
    std::string error;
    EXPECT_EQ(MTimeRange::checkPlacement(row.start, row.length, row.point, &error), row.message == nullptr)
        << row.start << " " << row.length;
    if (row.message != nullptr) {
      EXPECT_NE(error.find(row.message), std::string::npos) << error;
    }
  }
}

// Every command that computes a position or length refuses a result outside
// the range and changes no byte; at the edges of the range it works, and
// undo gives back the bytes.
class CommandRange : public ::testing::Test {
 public:
  void SetUp() override {
    cmdtest::initializeCommandTests();
    node_ = makeRef<MListNode>();
    other_ = makeRef<MListNode>();
    event_ = cmdtest::put(*node_, cmdtest::makeEvent(960, 1920, 0, 1));
  }
  FRef<MEvent> event() const { return FRef<MEvent>::share(event_); }
  FRef<MDataNode> node() const { return FRef<MDataNode>(node_); }

  FRef<MListNode> node_;
  FRef<MListNode> other_;
  MEvent* event_ = nullptr;
};

// A command of class C on the test event and its node, with args.
template <class C, class... Args>
std::function<FRef<MCommand>(CommandRange&)> sized(Args... args) {
  return [=](CommandRange& t) { return FRef<MCommand>(new C(t.event(), t.node(), args...)); };
}

TEST_F(CommandRange, CommandsRefuseResultsOutsideTheRangeAndKeepTheEdges) {
  using Make = std::function<FRef<MCommand>(CommandRange&)>;
  struct Row {
    const char* what;
    Make make;
    bool ok;
  };
  // The event: start 960, length 1920 (end 2880).
  const auto simple = [](double start) {
    return Make([start](CommandRange& t) { return FRef<MCommand>(new MSimpleMoveCommand(t.event(), start)); });
  };
  const auto inside = [](double delta) {
    return Make([delta](CommandRange& t) { return FRef<MCommand>(new MMoveInsideCommand({t.event()}, delta)); });
  };
  const auto insert = [](double start, double length) {
    return Make([start, length](CommandRange& t) {
      return FRef<MCommand>(new MInsertCommand(t.node(), cmdtest::makeEvent(start, length, 0, 2)));
    });
  };
  const Row rows[] = {
      {"move to 0", simple(0), true},
      {"move so the end is the last position", simple(kMax - 1920), true},
      {"move one past", simple(kMax - 1919), false},
      {"move before 0", simple(-1), false},
      {"move to nan", simple(kNaN), false},
      {"nudge to 0", inside(-960), true},
      {"nudge before 0", inside(-961), false},
      {"nudge by 1e308", inside(1e308), false},
      {"move to another node before 0", Make([](CommandRange& t) {
         return FRef<MCommand>(new MMoveCommand({t.event()}, FRef<MDataNode>(t.other_), -961));
       }),
       false},
      {"size start to one before the end", sized<MSizeStartCommand>(2879), true},
      {"size start to the end", sized<MSizeStartCommand>(2880), false},
      {"size start before 0", sized<MSizeStartCommand>(-1), false},
      {"move start to the end", sized<MMoveStartCommand>(2880), false},
      {"size end to the last position", sized<MSizeEndCommand>(kMax), true},
      {"size end past the last position", sized<MSizeEndCommand>(kMax + 1), false},
      {"size end to the start", sized<MSizeEndCommand>(960), false},
      {"length 1", sized<MLengthCommand>(1), true},
      {"length 0", sized<MLengthCommand>(0), false},
      {"length to past the end", sized<MLengthCommand>(kMax), false},
      {"offset -max", sized<MOffsetCommand>(-kMax), true},
      {"offset 1e300", sized<MOffsetCommand>(1e300), false},
      {"size all with a start before 0", sized<MSizeCommand>(-1, 10, 0), false},
      {"move end to one after the start", sized<MMoveEndCommand>(961), true},
      {"move end to the start", sized<MMoveEndCommand>(960), false},
      {"move end past the last position", sized<MMoveEndCommand>(kMax + 1), false},
      {"split inside",
       Make([](CommandRange& t) { return FRef<MCommand>(new MSplitCommand(t.node(), {t.event()}, 961)); }), true},
      {"insert a point at the last position", insert(kMax, 0), true},
      {"insert ending at the last position", insert(kMax - 10, 10), true},
      {"insert ending past it", insert(kMax - 10, 11), false},
      {"insert before 0", insert(-1, 10), false},
      {"insert with a negative length", insert(10, -10), false},
      {"insert at nan", insert(kNaN, 10), false},
  };
  for (const Row& row : rows) {
    SetUp();
    const std::vector<uint8_t> before = cmdtest::snapshot(node_.get());
    FRef<MCommand> command = row.make(*this);
    ASSERT_EQ(command->perform(), row.ok) << row.what;
    if (!row.ok) {
      EXPECT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(node_.get()), before)) << row.what;
      continue;
    }
    ASSERT_TRUE(command->undo()) << row.what;
    EXPECT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(node_.get()), before)) << row.what;
  }
}

TEST_F(CommandRange, DomainChangesRefusePositionsBeyondTheRange) {
  // 3,000,000 s at 120 BPM (960 pulses a second) would be 2.88e9 pulses.
  FRef<MTempoTrackNode> tempo = makeRef<MTempoTrackNode>();
  FRef<MListNode> linear = makeRef<MListNode>();
  linear->setDomain(MTimeDomain::kLinear);
  cmdtest::put(*linear, cmdtest::makeEvent(3000000, 10, 0, 3));
  const std::vector<uint8_t> before = cmdtest::snapshot(linear.get());
  FRef<MCommand> change(new MNodeDomainCommand(FRef<MDataNode>(linear), MTimeDomain::kMusical, tempo));
  EXPECT_FALSE(change->perform());
  EXPECT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(linear.get()), before));
  // 2,000,000 s is 1.92e9 pulses: in range.
  FRef<MListNode> near = makeRef<MListNode>();
  near->setDomain(MTimeDomain::kLinear);
  cmdtest::put(*near, cmdtest::makeEvent(2000000, 10, 0, 4));
  EXPECT_TRUE(FRef<MCommand>(new MNodeDomainCommand(FRef<MDataNode>(near), MTimeDomain::kMusical, tempo))->perform());
}

TEST(TimeRange, BarLinesFollowTheSignatureInForce) {
  // 4/4 at 0, 3/4 at 7680: bar lines at multiples of 1920 up to 7680, then
  // every 1440.
  auto track = makeRef<MSignatureTrackNode>();
  FRef<MAccessor> accessor = track->getWriteAccessor();
  ASSERT_TRUE(accessor->insert(makeRef<MTimeSignatureEvent>(7680, 3, 4)));
  for (int64_t position : {0, 1920, 5760, 7680, 9120, 10560}) EXPECT_TRUE(MTimeRange::isBarLine(*track, position));
  for (int64_t position : {1, 3, 960, 7679, 8640, 9600}) EXPECT_FALSE(MTimeRange::isBarLine(*track, position));
}

}  // namespace
}  // namespace vantor
