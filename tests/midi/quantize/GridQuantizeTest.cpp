#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/FAttributes.h"
#include "midi/MMidiInit.h"
#include "midi/quantize/MBarSource.h"
#include "midi/quantize/MGridQuantize.h"
#include "midi/quantize/MQuantizeFunctions.h"
#include "midi/quantize/MQuantizePattern.h"
#include "model/time/MSignatureTrack.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

constexpr MQuantizeMode kNear = MQuantizeMode::kNearest;
constexpr MQuantizeMode kBefore = MQuantizeMode::kBefore;
constexpr MQuantizeMode kAfter = MQuantizeMode::kAfter;

class GridQuantize : public ::testing::Test {
 protected:
  void SetUp() override { initializeMidi(); }
  MFixedBarSource fourFour_{1920};
};

TEST_F(GridQuantize, StepsAndSwungGridPoints) {
  // factor[type] * 480 / 2^grid, then / tuplet: 4*480/16 = 120,
  // 2.666..*480/8 = 160, 6*480/4 = 720, 120/5 = 24 (grid 2 tuplet 5:
  // 4*480/4/5 = 96).
  EXPECT_EQ(MGridQuantize(4, 0).gridStep(), 120.0);
  EXPECT_EQ(MGridQuantize(3, 1).gridStep(), 160.0);
  EXPECT_EQ(MGridQuantize(2, 2).gridStep(), 720.0);
  EXPECT_EQ(MGridQuantize(2, 0, 0, 0, 5).gridStep(), 96.0);
  EXPECT_EQ(MGridQuantize(4, 0, 0, 0.25).magneticArea(), 30.0);
  EXPECT_EQ(MGridQuantize(4, 0).magneticArea(), 0.0);
  // Swing 0.5 at grid 4: (2 * 80 - 120) * 0.5 = 20 on odd points only.
  const MGridQuantize swung(4, 0, 0.5);
  EXPECT_EQ(swung.gridPoint(0), 0.0);
  EXPECT_EQ(swung.gridPoint(1), 140.0);
  EXPECT_EQ(swung.gridPoint(2), 240.0);
  EXPECT_EQ(swung.gridPoint(3), 380.0);
  // Swing 1.0 puts the odd point on the second triplet of its pair: 160.
  EXPECT_EQ(MGridQuantize(4, 0, 1.0).gridPoint(1), 160.0);
  int kind = 0;
  ASSERT_TRUE(swung.gridPointKind(0, &kind));
  EXPECT_EQ(kind, MGridPointKind::kBar);
  ASSERT_TRUE(swung.gridPointKind(4, &kind));
  EXPECT_EQ(kind, MGridPointKind::kBeat);
  ASSERT_TRUE(swung.gridPointKind(1, &kind));
  EXPECT_EQ(kind, MGridPointKind::kOffBeat);
}

TEST_F(GridQuantize, PositionsMoveByTheTableOfEdgeCases) {
  MSignatureTrackNode threeFour;
  threeFour.signature(0)->setSignature(3, 4);
  const MSignatureBarSource threeFourBars(threeFour);
  MFixedBarSource sevenSixteenths(7 * 120 + 60);  // 900: last interval 60
  MFixedBarSource sevenSixteenthsExact(7 * 120);  // 840: the bar line is point 7
  struct Case {
    MGridQuantize setting;
    const MBarSource* bars;
    double in;
    MQuantizeMode mode;
    double out;
  };
  const MBarSource* b = &fourFour_;
  const Case cases[] = {
      // Halfway goes earlier: 60 to the bar line, 61 to 120; next bar too.
      {{4, 0}, b, 60, kNear, 0},
      {{4, 0}, b, 61, kNear, 120},
      {{4, 0}, b, 1920 + 60, kNear, 1920},
      {{4, 0}, b, 1919, kNear, 1920},
      {{4, 0}, b, 119.5, kBefore, 0},
      {{4, 0}, b, 120, kBefore, 120},
      {{4, 0}, b, 120, kAfter, 240},
      {{4, 0}, b, 1, kAfter, 120},
      // 3/4 with dotted quarters (720): 1440 - 360 = 1080 is exactly
      // halfway and goes to 720; anything later to the next bar at 1440.
      {{2, 2}, &threeFourBars, 1080, kNear, 720},
      {{2, 2}, &threeFourBars, 1080.5, kNear, 1440},
      {{2, 2}, &threeFourBars, 1439, kNear, 1440},
      {{2, 2}, &threeFourBars, 359, kNear, 0},
      {{2, 2}, &threeFourBars, 1440 + 400, kNear, 1440 + 720},
      // A bar of 900: the last interval runs 840..900; 871 goes to 900.
      {{4, 0}, &sevenSixteenths, 869, kNear, 840},
      {{4, 0}, &sevenSixteenths, 871, kNear, 900},
      {{4, 0}, &sevenSixteenths, 850, kAfter, 900},
      // Swing 0.5: the second sixteenth at 140, ignored by the other types.
      {{4, 0, 0.5}, b, 130, kNear, 140},
      {{4, 0, 0.5}, b, 250, kNear, 240},
      {{4, 0, 0.5}, b, 121, kBefore, 140},
      {{3, 1, 0.5}, b, 170, kNear, 160},
      {{2, 2, 0.5}, b, 700, kNear, 720},
      {{4, 0, 0.5, 0, 3}, b, 45, kNear, 40},
      // The bar line never swings, even as odd point 7 of a 7/16 bar; the
      // odd point 840 of a 900 bar does.
      {{4, 0, 0.5}, &sevenSixteenthsExact, 830, kNear, 840},
      {{4, 0, 0.5}, &sevenSixteenthsExact, 780, kNear, 720},
      {{4, 0, 0.5}, &sevenSixteenths, 850, kNear, 860},
      // Magnetic area 0.25 at grid 4 = 30: 30 away moves, 31 stays.
      {{4, 0, 0, 0.25}, b, 150, kNear, 120},
      {{4, 0, 0, 0.25}, b, 151, kNear, 151},
      {{4, 0, 0, 0.25}, b, 90, kNear, 120},
      {{4, 0, 0, 0.25}, b, 89, kNear, 89},
      // Modes 1 and 2 ignore the area.
      {{4, 0, 0, 0.25}, b, 151, kBefore, 120},
      {{4, 0, 0, 0.25}, b, 151, kAfter, 240},
      // Below 0 gives 0; far beyond the range stays in its bar's reckoning.
      {{4, 0}, b, -5, kNear, 0},
      {{4, 0}, b, -5, kAfter, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.setting.quantize(c.in, *c.bars, c.mode), c.out)
        << "grid " << c.setting.getGrid() << " type " << c.setting.getType() << " at " << c.in << " mode "
        << static_cast<int>(c.mode);
  }
}

TEST_F(GridQuantize, SignatureChangesRestartTheGrid) {
  // 4/4 then 3/4 from bar 2 (1920), 5/8 from 1920 + 1440 = 3360: the grid
  // of dotted quarters counts from each bar line, not from 0.
  MSignatureTrackNode track;
  FRef<MAccessor> writer = track.getWriteAccessor();
  auto add = [&](int32_t at, uint16_t n, uint16_t d) {
    FRef<MTimeSignatureEvent> s = makeRef<MTimeSignatureEvent>();
    s->setStart(at);
    s->setSignature(n, d);
    ASSERT_TRUE(writer->insert(FRef<MEvent>(s)));
  };
  add(1920, 3, 4);
  add(3360, 5, 8);
  const MSignatureBarSource bars(track);
  const MGridQuantize dotted(2, 2);
  EXPECT_EQ(dotted.quantize(1920 + 700, bars, kNear), 1920 + 720);
  // 5/8 = 1200: points 0, 720, and the bar line at 1200; 3360 + 961 is
  // nearer 1200 than 720.
  EXPECT_EQ(dotted.quantize(3360 + 961, bars, kNear), 3360 + 1200);
  EXPECT_EQ(dotted.quantize(3360 + 959, bars, kNear), 3360 + 720);
}

// A setting whose grid points lie one pulse apart, so that the base walk
// gives up after its 255 points.
class OnePulseGrid : public MQuantizePattern {
 public:
  double gridPoint(int index) const override { return index; }
};

TEST_F(GridQuantize, TheBaseWalkStopsAt256AndPatternsRepeat) {
  const OnePulseGrid ticks;
  EXPECT_EQ(ticks.quantize(254.4, fourFour_, kNear), 254.0);
  EXPECT_EQ(ticks.quantize(254.5, fourFour_, kNear), 254.0);  // halfway: earlier
  EXPECT_EQ(ticks.quantize(254.6, fourFour_, kAfter), 255.0);
  EXPECT_EQ(ticks.quantize(255.5, fourFour_, kNear), 255.5);  // needs index 256
  EXPECT_EQ(ticks.quantize(-3, fourFour_, kNear), 0.0);

  // A one-beat groove: 0 and 300 in every 480, repeated from each bar.
  MQuantizePattern groove;
  ASSERT_TRUE(groove.setPattern(480, {0, 300}));
  EXPECT_EQ(groove.quantize(1920 + 480 + 200, fourFour_, kNear), 1920 + 480 + 300);
  EXPECT_EQ(groove.quantize(1920 + 149, fourFour_, kNear), 1920.0);
  EXPECT_EQ(groove.quantize(1920 + 1800, fourFour_, kAfter), 3840.0);  // the bar line
  // A bar-long pattern starting late leaves what lies before its first point.
  MQuantizePattern late;
  ASSERT_TRUE(late.setPattern(0, {100, 1000}));
  EXPECT_EQ(late.quantize(50, fourFour_, kNear), 50.0);
  EXPECT_EQ(late.quantize(1600, fourFour_, kNear), 1920.0);
  EXPECT_EQ(MQuantizePattern().quantize(700, fourFour_, kNear), 700.0);
  int kind = 0;
  EXPECT_TRUE(late.gridPointKind(1, &kind));
  EXPECT_EQ(kind, MGridPointKind::kOffBeat);
  EXPECT_FALSE(late.gridPointKind(2, &kind));
  // Patterns that are not ascending or lie outside their span are refused.
  EXPECT_FALSE(groove.setPattern(480, {0, 480}));
  EXPECT_FALSE(groove.setPattern(480, {200, 100}));
  EXPECT_FALSE(groove.setPattern(-1, {0}));
  EXPECT_EQ(groove.getPositions(), (std::vector<double>{0, 300}));
}

TEST_F(GridQuantize, SettingsRoundTripThroughArchiveAndAttributes) {
  const MGridQuantize grid(3, 1, 0.25, 0.125, 5);
  // Hand-computed record body, little-endian: grid 3, type 1, swing 0.25,
  // max diff 0.125, tuplet 5.
  FMemoryStream body;
  FObjectArchive writer(body);
  ASSERT_TRUE(grid.writeToArchive(writer));
  const std::vector<uint8_t> expected = {3, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0xD0, 0x3F, 0, 0, 0, 0, 0, 0, 0xC0, 0x3F, 5, 0};
  EXPECT_EQ(body.takeData(), expected);

  auto back = test::readArchiveBytesAs<MGridQuantize>(test::archiveBytes(&grid));
  ASSERT_TRUE(back);
  EXPECT_TRUE(*back == grid);
  EXPECT_FALSE(*back == MGridQuantize());

  FAttributes attributes;
  ASSERT_TRUE(grid.storeAttributes(attributes));
  EXPECT_EQ(attributes.keys(), (std::vector<std::string>{"Grid", "Type", "Swing", "MaxDiff", "Tuplet"}));
  MGridQuantize restored;
  ASSERT_TRUE(restored.restoreAttributes(attributes));
  EXPECT_TRUE(restored == grid);

  MQuantizePattern groove;
  ASSERT_TRUE(groove.setPattern(480, {0, 130.25, 240.1, 370}));
  auto pattern = test::readArchiveBytesAs<MQuantizePattern>(test::archiveBytes(&groove));
  ASSERT_TRUE(pattern);
  EXPECT_TRUE(*pattern == groove);
  FAttributes groove_attributes;
  ASSERT_TRUE(groove.storeAttributes(groove_attributes));
  std::string text;
  ASSERT_TRUE(groove_attributes.getString("Positions", &text));
  EXPECT_EQ(text, "0 130.25 240.1 370");
  MQuantizePattern fromText;
  ASSERT_TRUE(fromText.restoreAttributes(groove_attributes));
  EXPECT_TRUE(fromText == groove);
  groove_attributes.setString("Positions", "0 x");
  EXPECT_FALSE(fromText.restoreAttributes(groove_attributes));
  EXPECT_TRUE(fromText == groove);
}

TEST_F(GridQuantize, PresetsAreNamedInTheListForms) {
  EXPECT_EQ(quantizeName(MGridQuantize()), "1/16 Note");
  EXPECT_EQ(quantizeName(MGridQuantize(3, 1)), "1/8 Triplet");
  EXPECT_EQ(quantizeName(MGridQuantize(2, 2)), "1/4 Dotted");
  EXPECT_EQ(quantizeName(MGridQuantize(4, 0, 0.5, 0, 5)), "1/16 Note 5-let Sw-50%");
  for (const MQuantizePreset& p : quantizePresets()) {
    const MGridQuantize setting(p.grid, p.type, p.swing, 0, p.tuplet);
    FRef<MGridQuantize> found = quantizePreset(quantizeName(setting));
    ASSERT_TRUE(found) << quantizeName(setting);
    EXPECT_TRUE(*found == setting);
  }
  EXPECT_FALSE(quantizePreset("1/3 Note"));
}

}  // namespace
}  // namespace vantor
