#include "document/PMidiPreferences.h"

#include <gtest/gtest.h>

#include "document/PDocumentInit.h"
#include "document/PPreferences.h"

namespace vantor {
namespace {

TEST(PMidiPreferences, QuantizeSettingsComeFromTheDeclaredKeys) {
  initializeDocument();
  PPreferences prefs;
  MQuantizeSettings s = quantizeSettings(prefs);
  EXPECT_EQ(s.nonQuantize, 0.0);
  EXPECT_EQ(s.randomAmount, 0);
  EXPECT_EQ(s.iterativeStrength, 0.6f);
  EXPECT_FALSE(s.autoQuantize);
  EXPECT_EQ(defaultQuantizeSwing(prefs), 0.0);

  ASSERT_TRUE(prefs.override("nonQuantize", "12"));
  ASSERT_TRUE(prefs.override("Random Quantize", "480"));
  ASSERT_TRUE(prefs.override("Iterative Strength", "25"));
  ASSERT_TRUE(prefs.override("Auto Quantize", "on"));
  ASSERT_TRUE(prefs.override("quantizeSwing", "50"));
  s = quantizeSettings(prefs);
  EXPECT_EQ(s.nonQuantize, 12.0);
  EXPECT_EQ(s.randomAmount, 480);
  EXPECT_EQ(s.iterativeStrength, 0.25f);
  EXPECT_TRUE(s.autoQuantize);
  EXPECT_EQ(defaultQuantizeSwing(prefs), 0.5);
  // Out of range values are refused by the declared ranges.
  for (const char* bad : {"nonQuantize=1921", "nonQuantize=-1", "quantizeSwing=101", "Random Quantize=481",
                          "Iterative Strength=101", "Auto Quantize=maybe"}) {
    const std::string text = bad;
    const size_t eq = text.find('=');
    EXPECT_FALSE(prefs.override(text.substr(0, eq), text.substr(eq + 1))) << bad;
  }
}

}  // namespace
}  // namespace vantor
