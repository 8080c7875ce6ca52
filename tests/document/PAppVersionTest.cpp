#include "document/PAppVersion.h"

#include <gtest/gtest.h>

#include <regex>

#include "PDocumentTestSupport.h"
#include "document/PVersion.h"

namespace vantor {
namespace {

using test::Bytes;
using test::expectEveryTruncationFails;
using test::membersOf;

TEST(PAppVersion, RunningProgramNamesProductVersionDateAndRevision) {
  const PAppVersion v = PAppVersion::current();
  EXPECT_EQ(v.applicationName(), "Vantor Studio");
  EXPECT_EQ(v.versionText(), "Version 0.1.0");
  EXPECT_EQ(v.revision(), 1);
  // Month abbreviation, a day without padding, the year: single blanks.
  EXPECT_TRUE(std::regex_match(v.buildDate(), std::regex("[A-Z][a-z]{2} [1-9][0-9]? [0-9]{4}"))) << v.buildDate();
  EXPECT_FALSE(v.isNewerThanRunning());
}

TEST(PAppVersion, BuildDateLosesThePaddingBlank) {
  const struct {
    const char* compiler;
    const char* stored;
  } cases[] = {
      {"Nov 21 2026", "Nov 21 2026"},
      {"Nov  1 2026", "Nov 1 2026"},
      {"Jan  9 2027", "Jan 9 2027"},
      {" Feb  3  2028 ", "Feb 3 2028"},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(PAppVersion::normalizeBuildDate(c.compiler), c.stored) << c.compiler;
}

TEST(PAppVersion, ArchiveHoldsThreeStringsThenTheRevision) {
  initializeDocument();
  const PAppVersion v("Vantor Studio", "Version 0.1.0", "Nov 1 2026", 1);
  const Bytes bytes = test::archiveOf(v);
  // Member data, big-endian: "Vantor Studio" 13 letters + NUL = 14 = 0x0E,
  // "Version 0.1.0" likewise 0x0E, "Nov 1 2026" 10 + 1 = 0x0B, then 1.
  // Record length 4+14 + 4+14 + 4+11 + 4 = 55 = 0x37.
  Bytes expected = {0x00, 0x00, 0x00, 0x37, 0x00, 0x00, 0x00, 0x0E};
  for (char c : std::string_view("Vantor Studio")) expected.push_back(static_cast<uint8_t>(c));
  expected.insert(expected.end(), {0x00, 0x00, 0x00, 0x00, 0x0E});
  for (char c : std::string_view("Version 0.1.0")) expected.push_back(static_cast<uint8_t>(c));
  expected.insert(expected.end(), {0x00, 0x00, 0x00, 0x00, 0x0B});
  for (char c : std::string_view("Nov 1 2026")) expected.push_back(static_cast<uint8_t>(c));
  expected.insert(expected.end(), {0x00, 0x00, 0x00, 0x00, 0x01});
  ASSERT_GE(bytes.size(), expected.size());
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.end() - static_cast<std::ptrdiff_t>(expected.size())));

  // Read back and written again: the same bytes, so every member was read.
  bool ok = false;
  FRef<PAppVersion> back = test::readArchiveAs<PAppVersion>(bytes, &ok);
  ASSERT_TRUE(ok && back);
  EXPECT_EQ(test::archiveOf(*back), bytes);
}

TEST(PAppVersion, EveryTruncationOfTheMembersFailsAndLeavesZeroValues) {
  const PAppVersion v("App", "Version 9.9.9", "Dec 31 2099", 7);
  expectEveryTruncationFails(
      membersOf(v), [] { return makeRef<PAppVersion>("stale", "stale", "stale", 99); },
      [](const PAppVersion& back) {
        return back.applicationName().empty() && back.versionText().empty() && back.buildDate().empty() &&
               back.revision() == 0;
      });
}

TEST(PAppVersion, HigherRevisionIsNewerWithAWarningNamingTheProgram) {
  PAppVersion v("Vantor Studio", "Version 3.0.0", "Jan 1 2030", kProjectFileRevision + 1);
  EXPECT_TRUE(v.isNewerThanRunning());
  EXPECT_EQ(v.newerVersionWarning(),
            "This project was saved by a newer version of the program (Vantor Studio, Version 3.0.0)!\n"
            "Parts of it may be missing or read incorrectly.");
  v.setRevision(kProjectFileRevision);
  EXPECT_FALSE(v.isNewerThanRunning());
  v.setRevision(0);
  EXPECT_FALSE(v.isNewerThanRunning());
}

}  // namespace
}  // namespace vantor
