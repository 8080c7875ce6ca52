#include "model/time/MTempoCommands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "foundation/FClassRegistry.h"
#include "foundation/FClock.h"
#include "model/CommandTestSupport.h"
#include "model/MModelInit.h"
#include "model/TempoTestSupport.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
namespace {

using namespace testing_tempo;

// The BPM a tempo event holds after being set to bpm: SPB is a float.
double storedBpmOf(double bpm) { return 60.0 / static_cast<double>(static_cast<float>(60.0 / bpm)); }

// Plain undo and redo of these commands are checked byte for byte by the undo
// property; the tests here undo only where the undo has a rule of its own.
class TempoCommandsTest : public cmdtest::UndoLimitTest {
 protected:
  void SetUp() override {
    cmdtest::UndoLimitTest::SetUp();
    initializeModel();
    buildTracks();
  }

  void buildTracks() {
    tempo_ = makeRef<MTempoTrackNode>();
    signatures_ = makeRef<MSignatureTrackNode>();
    // Tempo: 120 BPM at 0, 60 BPM at 1920, 240 BPM at 3840.
    FRef<MAccessor> tempo = tempo_->getWriteAccessor();
    ASSERT_TRUE(tempo->insert(makeRef<MTempoEvent>(1920.0, 60.0)));
    ASSERT_TRUE(tempo->insert(makeRef<MTempoEvent>(3840.0, 240.0)));
    // Signatures: 4/4 at 0, 6/8 eight bars later, 4/4 at 20000.
    FRef<MAccessor> sigs = signatures_->getWriteAccessor();
    ASSERT_TRUE(sigs->insert(makeRef<MTimeSignatureEvent>(8 * 1920, 6, 8)));
    ASSERT_TRUE(sigs->insert(makeRef<MTimeSignatureEvent>(20000, 4, 4)));
  }

  std::vector<uint8_t> tempoBytes() const { return archiveBytes(tempo_.get()); }
  std::vector<uint8_t> signatureBytes() const { return archiveBytes(signatures_.get()); }
  std::vector<int32_t> signaturePositions() const {
    std::vector<int32_t> result;
    for (size_t i = 0; i < signatures_->signatureCount(); ++i) {
      result.push_back(signatures_->signature(i)->getPosition());
    }
    return result;
  }
  FRef<MTempoEvent> tempoEvent(size_t index) const { return FRef<MTempoEvent>::share(tempo_->tempoEvent(index)); }
  FRef<MTimeSignatureEvent> signature(size_t index) const {
    return FRef<MTimeSignatureEvent>::share(signatures_->signature(index));
  }

  FRef<MTempoTrackNode> tempo_;
  FRef<MSignatureTrackNode> signatures_;
};

TEST_F(TempoCommandsTest, SetTempoOfAnEventMovesLaterTimes) {
  auto command = makeRef<MSetTempoCommand>(tempoEvent(1), 30.0);
  EXPECT_EQ(command->description(), "Set Tempo");
  ASSERT_TRUE(command->perform());
  EXPECT_FALSE(command->inserted());
  // 2 s to 1920, then 4 beats at 30 BPM (2 s each): 10 s.
  EXPECT_EQ(tempo_->tempoEvent(2)->getTime(), 10.0);
  EXPECT_EQ(tempo_->tempoEvent(1)->getBPM(), 30.0);
}

TEST_F(TempoCommandsTest, SetTempoAtANewPositionInsertsAnEvent) {
  auto command = makeRef<MSetTempoCommand>(tempo_, 960.0, 240.0, MTempoFunc::kRamp);
  ASSERT_TRUE(command->perform());
  EXPECT_TRUE(command->inserted());
  ASSERT_EQ(tempo_->tempoCount(), 4u);
  EXPECT_EQ(tempo_->tempoEvent(1), command->event());
  EXPECT_EQ(command->event()->getFunc(), MTempoFunc::kRamp);
  // 120 ramps to 240 BPM over 2 beats: slope 60 BPM per beat, (60 / 60) * ln 2 s;
  // then 2 beats at 240 BPM: 0.5 s.
  EXPECT_NEAR(tempo_->tempoEvent(2)->getTime(), std::log(2.0) + 0.5, 1e-12);
  ASSERT_TRUE(command->undo());
  EXPECT_EQ(tempo_->tempoCount(), 3u);
  EXPECT_EQ(tempo_->tempoEvent(1)->getTime(), 2.0);
}

TEST_F(TempoCommandsTest, SetTempoAtAnEventsPositionChangesThatEvent) {
  auto command = makeRef<MSetTempoCommand>(tempo_, 1920.0, 120.0);
  ASSERT_TRUE(command->perform());
  EXPECT_FALSE(command->inserted());
  EXPECT_EQ(tempo_->tempoCount(), 3u);
  EXPECT_EQ(command->event(), tempo_->tempoEvent(1));
  EXPECT_EQ(tempo_->tempoEvent(2)->getTime(), 4.0);  // 120 BPM all the way: 8 beats
}

TEST_F(TempoCommandsTest, SetTempoRefusesWhatItCannotDoAndKeepsTheEdges) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<uint8_t> before = tempoBytes();
  for (double bpm : {0.5, 0.99, 999.991, 5000.0, 1e9, inf, -inf, nan, -120.0, 0.0}) {
    EXPECT_FALSE(makeRef<MSetTempoCommand>(tempoEvent(0), bpm)->perform()) << bpm;
    EXPECT_FALSE(makeRef<MSetTempoCommand>(tempo_, 480.0, bpm)->perform()) << bpm;
  }
  EXPECT_EQ(tempoBytes(), before);
  ASSERT_TRUE(makeRef<MSetTempoCommand>(tempoEvent(0), 1.0)->perform());
  EXPECT_EQ(tempo_->tempoEvent(0)->getSPB(), 60.0f);
  ASSERT_TRUE(makeRef<MSetTempoCommand>(tempoEvent(0), 999.99)->perform());
  EXPECT_EQ(tempo_->tempoEvent(0)->getSPB(), static_cast<float>(60.0 / 999.99));
  EXPECT_EQ(tempo_->tempoEvent(0)->getTempoHundredths(), 99999);
  // Positions outside the range, events on no track, read-only tracks.
  const std::vector<uint8_t> edges = tempoBytes();
  EXPECT_FALSE(makeRef<MSetTempoCommand>(tempo_, 2147483648.0, 100.0)->perform());
  EXPECT_FALSE(makeRef<MSetTempoCommand>(tempo_, -1.0, 100.0)->perform());
  EXPECT_FALSE(makeRef<MSetTempoCommand>(tempo_, nan, 100.0)->perform());
  EXPECT_FALSE(makeRef<MSetTempoCommand>(makeRef<MTempoEvent>(), 100.0)->perform());
  tempo_->setReadOnly(true);
  auto command = makeRef<MSetTempoCommand>(tempoEvent(1), 100.0);
  EXPECT_FALSE(command->perform());
  EXPECT_EQ(command->state(), MCommand::kStateNew);
  EXPECT_FALSE(makeRef<MSetTempoCommand>(tempo_, 100.0, 100.0)->perform());
  EXPECT_EQ(tempoBytes(), edges);
}

TEST_F(TempoCommandsTest, UndoFailsOnAReadOnlyTrackAndChangesNothing) {
  auto command = makeRef<MSetTempoCommand>(tempo_, 960.0, 100.0);
  ASSERT_TRUE(command->perform());
  const std::vector<uint8_t> after = tempoBytes();
  tempo_->setReadOnly(true);
  EXPECT_FALSE(command->undo());
  EXPECT_EQ(tempoBytes(), after);
  EXPECT_EQ(command->state(), MCommand::kStatePerformed);
  tempo_->setReadOnly(false);
  EXPECT_TRUE(command->undo());
}

TEST_F(TempoCommandsTest, QuickSetTemposOfOneEventUniteIntoOneUndoStep) {
  FManualClock clock(1000);
  GUndoManager manager(clock);
  const std::vector<uint8_t> before = tempoBytes();
  ASSERT_TRUE(manager.perform(makeRef<MSetTempoCommand>(tempoEvent(1), 70.0)));
  clock.advance(300);
  ASSERT_TRUE(manager.perform(makeRef<MSetTempoCommand>(tempoEvent(1), 80.0)));
  clock.advance(300);
  ASSERT_TRUE(manager.perform(makeRef<MSetTempoCommand>(tempo_, 1920.0, 90.0)));  // same event, by position
  EXPECT_EQ(manager.undoCount(), 1u);
  EXPECT_EQ(manager.undoText(), "Undo Set Tempo");
  const std::vector<uint8_t> after = tempoBytes();
  ASSERT_TRUE(manager.undo());
  EXPECT_EQ(tempoBytes(), before);
  ASSERT_TRUE(manager.redo());
  EXPECT_EQ(tempoBytes(), after);
  EXPECT_EQ(tempo_->tempoEvent(1)->getBPM(), storedBpmOf(90.0));

  // Another event, or after the window, makes an entry of its own.
  clock.advance(300);
  ASSERT_TRUE(manager.perform(makeRef<MSetTempoCommand>(tempoEvent(2), 200.0)));
  clock.advance(900);
  ASSERT_TRUE(manager.perform(makeRef<MSetTempoCommand>(tempoEvent(2), 210.0)));
  EXPECT_EQ(manager.undoCount(), 3u);
}

TEST_F(TempoCommandsTest, AnInsertedTempoUnitesWithItsFollowingChanges) {
  FManualClock clock(0);
  GUndoManager manager(clock);
  const std::vector<uint8_t> before = tempoBytes();
  auto insert = makeRef<MSetTempoCommand>(tempo_, 2880.0, 100.0);
  ASSERT_TRUE(manager.perform(insert));
  clock.advance(100);
  ASSERT_TRUE(manager.perform(makeRef<MSetTempoCommand>(FRef<MTempoEvent>::share(insert->event()), 150.0)));
  EXPECT_EQ(manager.undoCount(), 1u);
  const std::vector<uint8_t> after = tempoBytes();
  ASSERT_TRUE(manager.undo());
  EXPECT_EQ(tempoBytes(), before);
  ASSERT_TRUE(manager.redo());
  EXPECT_EQ(tempoBytes(), after);
  EXPECT_EQ(tempo_->tempoEvent(2)->getBPM(), storedBpmOf(150.0));
}

TEST_F(TempoCommandsTest, TempoTypeTurnsAJumpIntoARamp) {
  auto command = makeRef<MTempoTypeCommand>(tempoEvent(1), MTempoFunc::kRamp);
  EXPECT_EQ(command->description(), "Set Tempo Type");
  ASSERT_TRUE(command->perform());
  EXPECT_TRUE(tempo_->tempoEvent(1)->isRamp());
  // 120 ramps down to 60 over 4 beats: (60 / -15) * ln(60 / 120) = 4 ln 2 s.
  EXPECT_NEAR(tempo_->tempoEvent(1)->getTime(), 4.0 * std::log(2.0), 1e-12);
  EXPECT_FALSE(makeRef<MTempoTypeCommand>(tempoEvent(1), 2)->perform());
  EXPECT_FALSE(makeRef<MTempoTypeCommand>(makeRef<MTempoEvent>(), MTempoFunc::kRamp)->perform());
}

// Signatures start as 4/4 at 0, 6/8 at 15360 (bar 9), 4/4 at 20000 (bar 13,
// after a 6/8 bar cut short). A new or changed signature moves the later
// ones by (new bar - old bar) times the whole old bars up to the next
// signature, so later bar numbers stay unless that count leaves a rest.
TEST_F(TempoCommandsTest, SignatureEditsMoveTheLaterSignaturesByHand) {
  struct Row {
    const char* name;
    int modified;  // index of the signature changed, -1: add at position
    int32_t position;
    MSignatureValues values;
    const char* description;
    int32_t shift;
    std::vector<int32_t> positions;
    int64_t lastBar;  // the bar the last signature begins
  };
  const Row rows[] = {
      // 4/4 -> 3/4, 8 bars to the 6/8: -480 * 8.
      {"first to 3/4", 0, 0, {3, 4, {0, 0, 0}}, "Modify Signature", -3840, {0, 11520, 16160}, 13},
      // 3/4 at bar 5 (7680): the 6/8 moves to 7680 + 4 * 1440 = 13440, the
      // 4/4 at 20000 by the same -1920.
      {"add 3/4 at bar 5", -1, 7680, {3, 4, {1, 2, 0}}, "Add Signature", -1920, {0, 7680, 13440, 18080}, 13},
      // Where a signature is: 6/8 (1440) -> 7/8 (1680); 4640 / 1440 = 3 whole
      // old bars up to 20000, so +240 * 3.
      {"add on the 6/8", -1, 15360, {7, 8, {0, 0, 0}}, "Modify Signature", 720, {0, 15360, 20720}, 13},
      // 3/4 on the 6/8 bar line 15360 + 3 * 1440 = 19680, 320 pulses before
      // the 4/4 (off the grid, as files from elsewhere may hold it): n = 0.
      {"add less than a bar before the next", -1, 19680, {3, 4, {}}, "Add Signature", 0, {0, 15360, 19680, 20000}, 13},
      // 6/8 -> 1/8 (240); the next lies 3 old bars and 320 on: (240 - 1440) * 3.
      // Counting again with the lengths swapped would find 1040 / 240 = 4
      // bars, so undo must move back by the recorded shift. The rest of 320
      // becomes bars 9-13 of 1/8 (the last cut short): the 4/4 begins bar 14.
      {"6/8 to 1/8", 1, 0, {1, 8, {}}, "Modify Signature", -3600, {0, 15360, 16400}, 14},
  };
  for (const Row& row : rows) {
    buildTracks();
    auto command = row.modified < 0 ? makeRef<MTimeSignatureCommand>(signatures_, row.position, row.values)
                                    : makeRef<MTimeSignatureCommand>(signature(row.modified), row.values);
    EXPECT_EQ(command->description(), row.description) << row.name;
    ASSERT_TRUE(command->perform());
    EXPECT_EQ(command->shift(), row.shift) << row.name;
    EXPECT_EQ(signaturePositions(), row.positions) << row.name;
    EXPECT_EQ(signatures_->barNumberAt(row.positions.back()), row.lastBar) << row.name;
    EXPECT_EQ(command->signature()->getSubNumerator(1), row.values.subNumerators[1]) << row.name;
    ASSERT_TRUE(command->undo());
    EXPECT_EQ(signaturePositions(), (std::vector<int32_t>{0, 15360, 20000})) << row.name;
  }
}

TEST_F(TempoCommandsTest, SignatureCommandRefusesBadValues) {
  const std::vector<uint8_t> before = signatureBytes();
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, 1920, MSignatureValues{0, 4, {}})->perform());
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, 1920, MSignatureValues{4, 0, {}})->perform());
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, -1, MSignatureValues{4, 4, {}})->perform());
  // Denominators other than powers of two up to 128, numerators above 255.
  for (uint16_t denominator : {3, 5, 7, 12, 256, 1920}) {
    EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, 1920, MSignatureValues{4, denominator, {}})->perform());
    EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signature(0), MSignatureValues{4, denominator, {}})->perform());
  }
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, 1920, MSignatureValues{256, 4, {}})->perform());
  // Inside a bar: 4/4 bars start at multiples of 1920 up to 15360, 6/8 bars
  // at 15360 + k * 1440.
  for (int32_t position : {3, 1000, 1919, 15360 - 480, 15360 + 1000}) {
    EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, position, MSignatureValues{3, 4, {}})->perform())
        << position;
  }
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(makeRef<MTimeSignatureEvent>(), MSignatureValues{3, 4, {}})->perform());
  signatures_->setReadOnly(true);
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signature(0), MSignatureValues{3, 4, {}})->perform());
  EXPECT_FALSE(makeRef<MTimeSignatureCommand>(signatures_, 1920, MSignatureValues{3, 4, {}})->perform());
  EXPECT_EQ(signatureBytes(), before);
}

}  // namespace
}  // namespace vantor
