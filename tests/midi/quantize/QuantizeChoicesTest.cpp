// The quantize choice lists and the "MIDI Quantize" key commands.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "midi/MMidiInit.h"
#include "midi/quantize/MQuantizeGridValue.h"
#include "midi/quantize/MQuantizeKeyCommand.h"
#include "midi/quantize/MQuantizePresetValue.h"
#include "model/tree/MEventController.h"

namespace vantor {
namespace {

TEST(QuantizeChoices, GridListFormsAndPresetSteps) {
  using G = MQuantizeGridValue;
  const MQuantizeGridValue eighthTriplet(MGridQuantize(3, MGridQuantize::kTriplet));
  EXPECT_EQ(G::longName(eighthTriplet.current()), "1/8 Triplet");
  EXPECT_EQ(G::shortName(eighthTriplet.current()), "1/8 T");
  EXPECT_EQ(G::shortName({2, MGridQuantize::kDotted}), "1/4 D");
  EXPECT_EQ(G::longName({0, MGridQuantize::kStraight}), "1/1 Note");
  EXPECT_EQ(G::shortName({6, MGridQuantize::kStraight}), "1/64 Note");
  EXPECT_EQ(G::tupletName(5), "5-let");
  EXPECT_EQ(G::tupletName(1), "");
  EXPECT_EQ(G::choices().size(), 21u);
  MGridQuantize swung(4, MGridQuantize::kStraight, 0.5);
  eighthTriplet.applyTo(swung);
  EXPECT_EQ(swung, MGridQuantize(3, MGridQuantize::kTriplet, 0.5));

  MQuantizePresetValue current("no such preset");
  EXPECT_EQ(current.name(), "1/16 Note");
  ASSERT_TRUE(current.select(std::string_view("1/8 Triplet")));
  EXPECT_FALSE(current.select(std::string_view("1/7 Note")));
  current.toggle();
  EXPECT_EQ(current.name(), "1/16 Note");
  current.toggle();
  EXPECT_EQ(current.name(), "1/8 Triplet");
  // Next and previous stop at the ends.
  ASSERT_TRUE(current.select(size_t{0}));
  EXPECT_FALSE(current.prev());
  EXPECT_EQ(current.name(), "1/1 Note");
  EXPECT_TRUE(current.next());
  EXPECT_EQ(current.name(), "1/2 Note");
  ASSERT_TRUE(current.select(MQuantizePresetValue::count() - 1));
  const std::string last = current.name();
  EXPECT_FALSE(current.next());
  EXPECT_EQ(current.name(), last);
  EXPECT_TRUE(current.prev());
  current.toggle();
  EXPECT_EQ(current.name(), last);
}

TEST(QuantizeChoices, TheKeyCommandsAreRegisteredAndActOnTheCurrentQuantize) {
  initializeMidi();
  std::set<std::string> names;
  for (const auto& entry : MCategoryRegistry::instance().entries(kMidiQuantizeCategory)) names.insert(entry.key);
  EXPECT_EQ(names, (std::set<std::string>{"Set Quantize", "Toggle Quantize", "Select Next Quantize",
                                          "Select Prev Quantize", "Auto Quantize On/Off"}));

  MQuantizePresetValue current;
  FRef<MQuantizeKeyCommand> set = makeQuantizeKeyCommand("Set Quantize");
  ASSERT_TRUE(set);
  set->setArgument("1/4 Dotted");
  ASSERT_TRUE(set->apply(current));
  EXPECT_EQ(current.name(), "1/4 Dotted");
  ASSERT_TRUE(makeQuantizeKeyCommand("Toggle Quantize")->apply(current));
  EXPECT_EQ(current.name(), "1/16 Note");
  ASSERT_TRUE(makeQuantizeKeyCommand("Select Next Quantize")->apply(current));
  EXPECT_EQ(current.name(), "1/32 Note");
  ASSERT_TRUE(makeQuantizeKeyCommand("Select Prev Quantize")->apply(current));
  EXPECT_EQ(current.name(), "1/16 Note");
  FRef<MQuantizeKeyCommand> autoSwitch = makeQuantizeKeyCommand("Auto Quantize On/Off");
  ASSERT_TRUE(autoSwitch->apply(current));
  EXPECT_TRUE(current.autoQuantize());
  autoSwitch->setArgument("on");
  ASSERT_TRUE(autoSwitch->apply(current));
  EXPECT_TRUE(current.autoQuantize());
  autoSwitch->setArgument("maybe");
  EXPECT_FALSE(autoSwitch->apply(current));
  EXPECT_FALSE(makeQuantizeKeyCommand("Quantize"));
}

}  // namespace
}  // namespace vantor
