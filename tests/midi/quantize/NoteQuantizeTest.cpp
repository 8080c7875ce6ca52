#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "midi/MMidiInit.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/quantize/MBarSource.h"
#include "midi/quantize/MQuantizeFunctions.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MEventContainer.h"
#include "model/undo/MCommand.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

using Bytes = std::vector<uint8_t>;
using F = MQuantizeFunction;

class NoteQuantize : public ::testing::Test {
 protected:
  void SetUp() override { initializeMidi(); }

  MMidiNote* addNote(double start, double length, uint8_t pitch = 60) {
    FRef<MMidiNote> note = makeRef<MMidiNote>();
    note->setStart(start);
    note->setLength(length);
    note->setData1(pitch);
    EXPECT_TRUE(part_->getWriteAccessor()->insert(FRef<MEvent>(note)));
    return note.get();
  }
  // Builds and performs function on the part; false when nothing changed.
  bool apply(F function, const MMidiQuantize& setting, const MQuantizeSettings& settings = {}) {
    FRef<MCommand> command = makeQuantizeCommand(function, {{part_.get(), origin_}}, setting, bars_, settings);
    if (!command) return false;
    EXPECT_TRUE(command->perform()) << command->failure();
    done_.push_back(command);
    return true;
  }
  std::vector<double> starts() const {
    std::vector<double> out;
    for (const auto& e : *part_->events()) out.push_back(e->getStart());
    return out;
  }
  bool inOrder() const {
    const MEventContainer& events = *part_->events();
    for (size_t i = 1; i < events.size(); ++i) {
      const MEvent* a = events.at(i - 1);
      const MEvent* b = events.at(i);
      if (a->getStart() > b->getStart() || (a->getStart() == b->getStart() && a->orderKey() > b->orderKey()))
        return false;
    }
    return true;
  }
  Bytes bytes() const { return test::archiveBytes(part_.get()); }

  FRef<MMidiPart> part_ = makeRef<MMidiPart>();
  double origin_ = 0;
  MFixedBarSource bars_{1920};
  std::vector<FRef<MCommand>> done_;
};

TEST_F(NoteQuantize, RandomActionsUndoToTheExactBytesAndKeepStartOrder) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> place(0, 8 * 1920);
  origin_ = 250;  // the part's content starts off a bar line
  for (int i = 0; i < 3000; ++i) {
    // Every tenth note shares its start with the one before.
    const double start =
        i % 10 == 9 ? part_->events()->at(part_->events()->size() - 1)->getStart() : std::round(place(rng) * 4) / 4;
    addNote(start, 10 + std::round(place(rng) / 20), static_cast<uint8_t>(i % 128));
  }
  const Bytes original = bytes();
  const MGridQuantize settings[] = {{4, 0}, {3, 1, 0, 0.3}, {4, 0, 0.6}, {2, 2}, {5, 0, 0, 0, 5}};
  const F functions[] = {F::kQuantize, F::kIterative, F::kLengths, F::kEnds, F::kQuantize, F::kUndo, F::kFreeze};
  std::vector<Bytes> after;
  for (int step = 0; step < 12; ++step) {
    MQuantizeSettings s;
    s.randomAmount = step % 3 == 0 ? 7 : 0;
    s.seed = static_cast<uint32_t>(step);
    s.nonQuantize = step % 4;
    s.iterativeStrength = 0.25f * static_cast<float>(1 + step % 3);
    if (apply(functions[rng() % 7], settings[rng() % 5], s)) after.push_back(bytes());
    ASSERT_TRUE(inOrder()) << "step " << step;
  }
  ASSERT_GE(after.size(), 6u);
  for (size_t i = done_.size(); i-- > 0;) {
    ASSERT_TRUE(done_[i]->undo());
    ASSERT_TRUE(inOrder());
  }
  EXPECT_EQ(bytes(), original);
  for (size_t i = 0; i < done_.size(); ++i) {
    ASSERT_TRUE(done_[i]->redo());
    EXPECT_EQ(bytes(), after[i]) << "redo " << i;
  }
}

TEST_F(NoteQuantize, QuantizeWorksFromInitialPlacesSoTwiceIsOnce) {
  origin_ = 1800;  // part pulse 150 is project pulse 1950, next to bar 2
  MMidiNote* a = addNote(150, 100);
  MMidiNote* b = addNote(70 + 240, 100);
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(4, 0)));
  EXPECT_EQ(a->getStart(), 120.0);  // 1950 -> 1920
  EXPECT_EQ(a->getInitialStart(), 150.0);
  const Bytes once = bytes();
  EXPECT_FALSE(apply(F::kQuantize, MGridQuantize(4, 0)));
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(2, 0)));
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(4, 0)));
  EXPECT_EQ(bytes(), once);
  // "Undo Quantize" returns to the initial places; "Freeze Quantize" makes
  // the current places initial, after which there is nothing to undo.
  ASSERT_TRUE(apply(F::kUndo, MGridQuantize()));
  EXPECT_EQ(starts(), (std::vector<double>{150, 310}));
  EXPECT_EQ(a->getInitialStartOffset(), 0.0);
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(4, 0)));
  ASSERT_TRUE(apply(F::kFreeze, MGridQuantize()));
  EXPECT_EQ(b->getStart(), 360.0);  // 2110 -> 2160
  EXPECT_EQ(b->getInitialStartOffset(), 0.0);
  EXPECT_FALSE(apply(F::kUndo, MGridQuantize()));
  EXPECT_EQ(done_.back()->description(), "Freeze Quantize");
}

TEST_F(NoteQuantize, ToleranceRandomLengthsAndEnds) {
  MMidiNote* near = addNote(116, 130);
  MMidiNote* edge = addNote(365, 180);
  MMidiNote* shortNote = addNote(1000, 10);
  MQuantizeSettings s;
  s.nonQuantize = 5;
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(4, 0), s));
  EXPECT_EQ(near->getStart(), 116.0);  // 4 away: less than 5, stays
  EXPECT_EQ(edge->getStart(), 360.0);  // 5 away: moves
  // Lengths: 130 -> 120, 180 (1.5 steps, halfway) -> 120, 10 -> one step.
  ASSERT_TRUE(apply(F::kLengths, MGridQuantize(4, 0)));
  EXPECT_EQ(near->getLength(), 120.0);
  EXPECT_EQ(edge->getLength(), 120.0);
  EXPECT_EQ(shortNote->getLength(), 120.0);
  EXPECT_EQ(shortNote->getInitialLength(), 10.0);
  // Ends: 360 + 180 = 540 -> 480; the short note (at 960 since its
  // quantize) ends at 970 -> 960, its own start, so one step; 116 + 130 = 246 -> 240.
  ASSERT_TRUE(apply(F::kEnds, MGridQuantize(4, 0)));
  EXPECT_EQ(edge->getLength(), 120.0);
  EXPECT_EQ(shortNote->getLength(), 120.0);
  EXPECT_EQ(near->getLength(), 124.0);
  EXPECT_EQ(done_.back()->description(), "Quantize Ends");

  // Random offsets stay within R of the grid and repeat with the seed.
  for (int i = 0; i < 200; ++i) addNote(i * 37.0, 10);
  MQuantizeSettings random;
  random.randomAmount = 10;
  random.seed = 42;
  ASSERT_TRUE(apply(F::kUndo, MGridQuantize()));
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(4, 0), random));
  const std::vector<double> first = starts();
  for (double start : first) EXPECT_LE(std::fabs(start - 120 * std::round(start / 120)), 10.0) << start;
  ASSERT_TRUE(done_.back()->undo());
  ASSERT_TRUE(apply(F::kQuantize, MGridQuantize(4, 0), random));
  EXPECT_EQ(starts(), first);
}

TEST_F(NoteQuantize, IterativeConvergesAndLockedNotesRefuse) {
  MMidiNote* note = addNote(70, 10);
  MQuantizeSettings s;
  s.iterativeStrength = 0.5f;
  ASSERT_TRUE(apply(F::kIterative, MGridQuantize(4, 0), s));
  EXPECT_EQ(note->getStart(), 95.0);  // 120 + (70 - 120) * 0.5
  ASSERT_TRUE(apply(F::kIterative, MGridQuantize(4, 0), s));
  EXPECT_EQ(note->getStart(), 107.5);
  int steps = 2;
  while (apply(F::kIterative, MGridQuantize(4, 0), s)) ASSERT_LT(++steps, 40);
  // It stops when the next move (half the distance left) is below 1e-05.
  EXPECT_NEAR(note->getStart(), 120.0, 2e-05);
  EXPECT_EQ(note->getInitialStart(), 70.0);

  // Only the selected notes, when asked: the one note is not selected.
  EXPECT_FALSE(makeQuantizeCommand(F::kUndo, {{part_.get(), 0, true}}, MGridQuantize(), bars_, {}));
  note->setFlag(MEventFlag::kLocked, true);
  const Bytes before = bytes();
  FRef<MCommand> command = makeQuantizeCommand(F::kUndo, {{part_.get(), 0}}, MGridQuantize(), bars_, {});
  ASSERT_TRUE(command);
  EXPECT_FALSE(command->perform());
  EXPECT_FALSE(command->failure().empty());
  EXPECT_EQ(bytes(), before);
}

TEST_F(NoteQuantize, AutoQuantizeMovesImportedNotesOnlyWhenOn) {
  for (double start : {250.0, 10.0, 130.0}) {
    FRef<MMidiNote> note = makeRef<MMidiNote>();
    note->setStart(start);
    part_->events()->append(FRef<MEvent>(note));
  }
  part_->events()->sortAfterAppend();
  MQuantizeSettings s;
  EXPECT_EQ(autoQuantizeImported(*part_, 0, MGridQuantize(4, 0), bars_, s), 0u);
  EXPECT_EQ(starts(), (std::vector<double>{10, 130, 250}));
  s.autoQuantize = true;
  EXPECT_EQ(autoQuantizeImported(*part_, 0, MGridQuantize(3, 0), bars_, s), 3u);
  EXPECT_EQ(starts(), (std::vector<double>{0, 240, 240}));
  EXPECT_TRUE(inOrder());
  ASSERT_TRUE(apply(F::kUndo, MGridQuantize()));
  EXPECT_EQ(starts(), (std::vector<double>{10, 130, 250}));
}

}  // namespace
}  // namespace vantor
