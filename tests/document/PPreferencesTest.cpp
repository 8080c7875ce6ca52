#include "document/PPreferences.h"

#include <gtest/gtest.h>

#include <cerrno>

#include <cstdlib>
#include <optional>
#include <random>

#include "DocumentTestSupport.h"

namespace vantor {
namespace {

using test::TempDir;

// Sets an environment variable for one scope and restores it afterwards.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value != nullptr) {
      ::setenv(name, value, 1);
    } else {
      ::unsetenv(name);
    }
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(PPreferences, DefaultPathFollowsXdgConfigHomeElseHome) {
  {
    ScopedEnv xdg("XDG_CONFIG_HOME", "/tmp/xdg-test");
    EXPECT_EQ(PPreferences::defaultPath(), "/tmp/xdg-test/vantor/preferences");
  }
  {
    ScopedEnv xdg("XDG_CONFIG_HOME", nullptr);
    ScopedEnv home("HOME", "/home/someone");
    EXPECT_EQ(PPreferences::defaultPath(), "/home/someone/.config/vantor/preferences");
  }
  {
    // A relative value is not valid by the XDG rules and is ignored.
    ScopedEnv xdg("XDG_CONFIG_HOME", "relative/dir");
    ScopedEnv home("HOME", "/home/other");
    EXPECT_EQ(PPreferences::defaultPath(), "/home/other/.config/vantor/preferences");
  }
}

TEST(PPreferences, SetChecksKindAndRangeAndNormalizesSwitches) {
  PPreferences prefs;
  const struct {
    const char* key;
    const char* value;
    bool ok;
    const char* stored;  // the value in effect afterwards
  } cases[] = {
      {"Maximum Undo", "250", true, "250"},
      {"Maximum Undo", " 7 ", true, "7"},
      {"Maximum Undo", "+12", true, "12"},
      {"Maximum Undo", "-1", false, "12"},
      {"Maximum Undo", "1001", false, "12"},
      {"Maximum Undo", "12abc", false, "12"},
      {"Maximum Undo", "", false, "12"},
      {"Auto Save", "OFF", true, "off"},
      {"Auto Save", "Yes", true, "on"},
      {"Auto Save", "0", true, "off"},
      {"Auto Save", "maybe", false, "off"},
      {"Auto Save Interval", "0", false, "5"},
      {"Auto Save Interval", "1440", true, "1440"},
      {"Auto Save Interval", "1441", false, "1440"},
      {"Custom", "  two words  ", true, "two words"},
      {"Custom", "line\nbreak", false, "two words"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(prefs.set(c.key, c.value), c.ok) << c.key << " = " << c.value;
    EXPECT_EQ(prefs.getString(c.key), c.stored) << c.key << " = " << c.value;
  }
  EXPECT_FALSE(prefs.set("", "x"));
  EXPECT_FALSE(prefs.set("a=b", "x"));
  EXPECT_FALSE(prefs.set("# comment", "x"));
  EXPECT_FALSE(prefs.set(" padded", "x"));
  prefs.reset("Maximum Undo");
  EXPECT_EQ(prefs.getInt("Maximum Undo"), 1000);  // unlimited
}

TEST(PPreferences, SaveAndLoadRoundTripWithDefaultsListedAsComments) {
  TempDir dir;
  const std::string path = dir.file("config/vantor/preferences");  // folders are created
  PPreferences prefs;
  ASSERT_TRUE(prefs.setInt("Maximum Undo", 30));
  ASSERT_TRUE(prefs.setBool("Auto Save", false));
  ASSERT_TRUE(prefs.set("Window Theme", "dark = night"));  // "=" in a value is kept
  ASSERT_TRUE(prefs.saveAs(path));
  // Settings other tests declare may follow as further comment lines.
  const std::string head =
      "# Vantor preferences: one \"key = value\" per line.\n"
      "Maximum Undo = 30\n"
      "Auto Save = off\n"
      "Window Theme = dark = night\n"
      "# Auto Save Interval = 5\n"
      "# Auto Save State = \n";
  EXPECT_EQ(test::readText(path).substr(0, head.size()), head);

  PPreferences back;
  ASSERT_TRUE(back.load(path));
  EXPECT_EQ(back.rejectedLines(), 0u);
  EXPECT_FALSE(back.isStored("Auto Save Interval"));
  EXPECT_EQ(back.path(), path);
  ASSERT_TRUE(back.save());  // the same text: every value was read back
  EXPECT_EQ(test::readText(path), prefs.toText());
}

TEST(PPreferences, DamagedLinesKeepTheDefaultsAndUnknownKeysSurvive) {
  TempDir dir;
  const std::string path = dir.file("preferences");
  test::writeText(path,
                  "garbage without equals\r\n"
                  "= no key\n"
                  "Maximum Undo = lots\n"
                  "Auto Save = maybe\n"
                  "Auto Save Interval = 0\n"
                  "\n"
                  "   # an indented comment\n"
                  "Auto Save Interval = 10\r\n"
                  "Future Setting = kept as is\n"
                  "Maximum Undo = 9999999999\n");
  PPreferences prefs;
  ASSERT_TRUE(prefs.load(path));
  // Rejected: no "=", empty key, "lots", "maybe", 0 minutes, too many undos.
  EXPECT_EQ(prefs.rejectedLines(), 6u);
  EXPECT_EQ(prefs.getInt("Maximum Undo"), 1000);  // unlimited
  EXPECT_TRUE(prefs.getBool("Auto Save"));
  EXPECT_EQ(prefs.getInt("Auto Save Interval"), 10);
  EXPECT_EQ(prefs.getString("Future Setting"), "kept as is");
  ASSERT_TRUE(prefs.save());
  const std::string text = test::readText(path);
  EXPECT_NE(text.find("Auto Save Interval = 10\nFuture Setting = kept as is\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("lots"), std::string::npos);
}

TEST(PPreferences, OverridesApplyButAreNeverSaved) {
  TempDir dir;
  PPreferences prefs;
  ASSERT_TRUE(prefs.setInt("Maximum Undo", 20));
  ASSERT_TRUE(prefs.override("Maximum Undo", "5"));
  ASSERT_TRUE(prefs.override("Auto Save", "off"));
  EXPECT_FALSE(prefs.override("Auto Save Interval", "never"));
  EXPECT_EQ(prefs.getInt("Maximum Undo"), 5);
  EXPECT_FALSE(prefs.getBool("Auto Save"));
  ASSERT_TRUE(prefs.saveAs(dir.file("preferences")));
  PPreferences back;
  ASSERT_TRUE(back.load(dir.file("preferences")));
  EXPECT_EQ(back.getInt("Maximum Undo"), 20);
  EXPECT_TRUE(back.getBool("Auto Save"));
  prefs.clearOverrides();
  EXPECT_EQ(prefs.getInt("Maximum Undo"), 20);
}

TEST(PPreferences, MissingFileIsNoPreferencesButAnUnreadableOneFails) {
  TempDir dir;
  PPreferences prefs;
  ASSERT_TRUE(prefs.setInt("Maximum Undo", 3));
  ASSERT_TRUE(prefs.load(dir.file("absent")));
  EXPECT_EQ(prefs.getInt("Maximum Undo"), 1000);  // unlimited
  EXPECT_EQ(prefs.path(), dir.file("absent"));

  ASSERT_TRUE(prefs.setInt("Maximum Undo", 3));
  EXPECT_FALSE(prefs.load(dir.path()));  // a folder cannot be read as the file
  EXPECT_EQ(prefs.getInt("Maximum Undo"), 3);
  EXPECT_EQ(prefs.path(), dir.file("absent"));
}

TEST(PPreferences, FailedSaveLeavesThePreviousFile) {
  TempDir dir;
  const std::string path = dir.file("preferences");
  test::writeText(path, "Maximum Undo = 42\n");
  PPreferences prefs;
  ASSERT_TRUE(prefs.load(path));
  ASSERT_TRUE(prefs.setInt("Maximum Undo", 43));
  {
    test::TemporaryFailure full(ENOSPC);
    EXPECT_FALSE(prefs.save());
  }
  EXPECT_EQ(test::readText(path), "Maximum Undo = 42\n");
  EXPECT_FALSE(PPreferences().save());  // bound to no file
}

TEST(PPreferences, LaterLayersDeclareSettingsOfTheirOwn) {
  PPreferences::declare({"Test Level", PPreferences::Kind::kInteger, "3", 1, 9});
  PPreferences::declare({"Test Switch", PPreferences::Kind::kBoolean, "off", 0, 0});
  PPreferences prefs;
  EXPECT_EQ(prefs.getInt("Test Level"), 3);
  EXPECT_FALSE(prefs.getBool("Test Switch"));
  EXPECT_FALSE(prefs.set("Test Level", "10"));
  EXPECT_TRUE(prefs.set("Test Switch", "true"));
  EXPECT_EQ(prefs.getString("Test Switch"), "on");
  ASSERT_TRUE(PPreferences::declared("Test Level"));
  EXPECT_EQ(PPreferences::declared("Test Level")->maximum, 9);
  EXPECT_FALSE(PPreferences::declared("Not Declared"));
  EXPECT_EQ(prefs.getString("Not Declared"), "");
  EXPECT_EQ(prefs.getInt("Not Declared"), 0);
}

TEST(PPreferences, RandomTextValuesSurviveTheFile) {
  TempDir dir;
  std::mt19937 random(424242);
  // Printable text without line breaks; blanks at either end are not kept
  // by the file form, so the expected value is the trimmed one.
  const auto text = [&](size_t maxLength) {
    std::string t(random() % (maxLength + 1), ' ');
    for (char& c : t) c = static_cast<char>(' ' + random() % 95);
    return t;
  };
  const auto trimmed = [](std::string t) {
    while (!t.empty() && t.back() == ' ') t.pop_back();
    while (!t.empty() && t.front() == ' ') t.erase(t.begin());
    return t;
  };
  for (int round = 0; round < 50; ++round) {
    PPreferences prefs;
    std::vector<std::pair<std::string, std::string>> expected;
    for (int i = 0; i < 10; ++i) {
      std::string key = "Key " + std::to_string(i) + " " + trimmed(text(8));
      std::erase(key, '=');
      key = trimmed(key);
      const std::string value = text(30);
      ASSERT_TRUE(prefs.set(key, value)) << key;
      expected.emplace_back(key, trimmed(value));
    }
    ASSERT_TRUE(prefs.saveAs(dir.file("preferences")));
    PPreferences back;
    ASSERT_TRUE(back.load(dir.file("preferences")));
    EXPECT_EQ(back.rejectedLines(), 0u);
    for (const auto& [key, value] : expected) EXPECT_EQ(back.getString(key), value) << key;
  }
}

}  // namespace
}  // namespace vantor
