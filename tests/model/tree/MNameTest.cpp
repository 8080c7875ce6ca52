#include "model/tree/MName.h"

#include <gtest/gtest.h>

#include "model/TreeTestSupport.h"
#include "model/edit/MAttributeCommands.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {
namespace {

// Byte sequences at the edges of the table of well-formed UTF-8.
TEST(MName, TheRuleForNewNames) {
  const struct {
    std::string name;
    bool valid;
    const char* why;
  } cases[] = {
      {"", true, ""},
      {"Verse 2", true, ""},
      {"tab\tand\nbreak\x1B[0m", true, ""},                           // shown escaped, not refused
      {"\xC3\xA9t\xC3\xA9 \xE2\x99\xAB \xF0\x9F\x8E\xB9", true, ""},  // é, ♫, 🎹
      {"\x7F", true, ""},
      {"\xF4\x8F\xBF\xBF", true, ""},  // U+10FFFF, the last
      {std::string(kMaxNameBytes, 'n'), true, ""},
      {std::string(kMaxNameBytes + 1, 'n'), false, "a name may be at most 1024 bytes long"},
      {std::string("a\0b", 3), false, "a name may not hold a NUL character"},
      {"\xFF\xFE bad", false, "a name must be UTF-8 text"},
      {"\xC0\xAF", false, "a name must be UTF-8 text"},          // overlong '/'
      {"\xE0\x9F\xBF", false, "a name must be UTF-8 text"},      // overlong U+07FF
      {"\xED\xA0\x80", false, "a name must be UTF-8 text"},      // a surrogate
      {"\xF4\x90\x80\x80", false, "a name must be UTF-8 text"},  // above U+10FFFF
      {"\xE2\x99", false, "a name must be UTF-8 text"},          // cut short
      {"\x80", false, "a name must be UTF-8 text"},              // a lone continuation
  };
  for (const auto& c : cases) {
    std::string error = "untouched";
    EXPECT_EQ(isValidName(c.name, &error), c.valid) << c.why << " " << c.name.size();
    EXPECT_EQ(error, c.valid ? "untouched" : c.why);
  }
}

TEST(MName, CommandsThatNameThingsApplyTheRule) {
  treetest::initializeTreeTests();
  EXPECT_FALSE(MProject::createTrack("MIDI", std::string("a\0b", 3)));
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Bass");
  ASSERT_TRUE(track);
  auto bad = makeRef<MRenameCommand>(FRef<MEvent>(track), "\xFF");
  EXPECT_FALSE(bad->perform());
  auto good = makeRef<MRenameCommand>(FRef<MEvent>(track), "Lead");
  ASSERT_TRUE(good->perform());
  EXPECT_EQ(track->getName(), "Lead");
}

}  // namespace
}  // namespace vantor
