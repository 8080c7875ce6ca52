#include "document/PWindowLayouts.h"

#include <gtest/gtest.h>

#include <random>

#include "PDocumentTestSupport.h"

namespace vantor {
namespace {

using test::Bytes;
using test::expectEveryTruncationFails;
using test::membersOf;
using test::readMembers;

TEST(PWindowLayouts, StoreReplaceRemoveAndActivate) {
  PWindowLayouts layouts;
  EXPECT_FALSE(layouts.store({"", {}}));
  EXPECT_FALSE(layouts.store({"Bad", {{"Mixer", 0, 0, -1, 10}}}));
  ASSERT_TRUE(layouts.store({"Mixing", {{"Mixer", 10, 20, 800, 600}}}));
  ASSERT_TRUE(layouts.store({"Mixing", {{"Mixer", 0, 0, 1024, 768}}}));  // replaces
  ASSERT_EQ(layouts.layouts().size(), 2u);
  EXPECT_EQ(layouts.find("Mixing")->windows[0].width, 1024);

  EXPECT_FALSE(layouts.setActiveLayout("Editing"));
  ASSERT_TRUE(layouts.setActiveLayout("Mixing"));
  EXPECT_EQ(layouts.activeLayout(), "Mixing");
  // Removing the active layout activates the first remaining one.
  ASSERT_TRUE(layouts.remove("Mixing"));
  EXPECT_EQ(layouts.activeLayout(), "Default");
  EXPECT_FALSE(layouts.remove("Mixing"));
  EXPECT_FALSE(layouts.remove("Default"));  // the last layout stays
  EXPECT_EQ(layouts.layouts().size(), 1u);
}

// Active "A" (length 2), one layout: "A", one window: "W", 1, 2, 3, 4.
const Bytes kOneLayout = {0, 0, 0, 2,   'A', 0, 0, 0, 0, 1, 0, 0, 0, 2, 'A', 0, 0, 0, 0, 1, 0,
                          0, 0, 2, 'W', 0,   0, 0, 0, 1, 0, 0, 0, 2, 0, 0,   0, 3, 0, 0, 0, 4};

TEST(PWindowLayouts, MembersOfOneLayoutByHand) {
  PWindowLayouts layouts;
  ASSERT_TRUE(layouts.store({"A", {{"W", 1, 2, 3, 4}}}));
  ASSERT_TRUE(layouts.remove("Default"));
  EXPECT_EQ(membersOf(layouts), kOneLayout);
}

TEST(PWindowLayouts, DamagedRecordsAreRefusedAndLeaveTheSetAlone) {
  const Bytes& good = kOneLayout;
  {
    PWindowLayouts back;
    ASSERT_TRUE(readMembers(good, &back));
    EXPECT_EQ(back.activeLayout(), "A");
  }
  expectEveryTruncationFails(
      good, [] { return makeRef<PWindowLayouts>(); },
      [](const PWindowLayouts& l) { return l.sameAs(PWindowLayouts()); });
  Bytes activeMissing = good;
  activeMissing[4] = 'B';
  Bytes noLayouts = {0, 0, 0, 2, 'A', 0, 0, 0, 0, 0};
  Bytes negativeHeight = good;
  negativeHeight[38] = 0xFF;  // height = 0xFF000004 < 0
  Bytes hugeWindowCount = good;
  hugeWindowCount[16] = 0x10;
  // Two layouts both named "A".
  Bytes twice = {0, 0, 0, 2, 'A', 0, 0, 0, 0, 2, 0, 0, 0, 2, 'A', 0, 0, 0, 0, 0, 0, 0, 0, 2, 'A', 0, 0, 0, 0, 0};
  for (const Bytes* bad : {&activeMissing, &noLayouts, &negativeHeight, &hugeWindowCount, &twice}) {
    PWindowLayouts back;
    EXPECT_FALSE(readMembers(*bad, &back));
    EXPECT_TRUE(back.sameAs(PWindowLayouts()));
  }
}

TEST(PWindowLayouts, RandomSetsSurviveTheArchive) {
  initializeDocument();
  std::mt19937 random(20261121);
  const auto text = [&](size_t maxLength) {
    std::string t(random() % (maxLength + 1), ' ');
    for (char& c : t) c = static_cast<char>(1 + random() % 255);  // any byte but NUL
    return t;
  };
  for (int round = 0; round < 200; ++round) {
    PWindowLayouts layouts;
    const size_t count = random() % 6;
    for (size_t i = 0; i < count; ++i) {
      PWindowLayout layout{"L" + std::to_string(i) + text(12), {}};
      for (size_t w = random() % 5; w > 0; --w) {
        layout.windows.push_back({text(10), static_cast<int32_t>(random()), static_cast<int32_t>(random()),
                                  static_cast<int32_t>(random() % 5000), static_cast<int32_t>(random() % 5000)});
      }
      ASSERT_TRUE(layouts.store(layout));
    }
    const std::string active = layouts.layouts()[random() % layouts.layouts().size()].name;
    ASSERT_TRUE(layouts.setActiveLayout(active));
    bool ok = false;
    FRef<PWindowLayouts> back = test::readArchiveAs<PWindowLayouts>(test::archiveOf(layouts), &ok);
    ASSERT_TRUE(ok);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->sameAs(layouts)) << round;
  }
}

}  // namespace
}  // namespace vantor
