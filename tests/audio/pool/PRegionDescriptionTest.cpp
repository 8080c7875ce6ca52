// The region description text: exact bytes written by hand, escaping of
// file names, round trips of random regions, lenient reading of the
// layout, and damaged text refused with a message.

#include "audio/pool/PRegionDescription.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace vantor {
namespace {

using Regions = std::vector<PRegionDescription>;

PRegionDescription plain(int32_t id, std::string name, int64_t start, int64_t end) {
  PRegionDescription region;
  region.id = id;
  region.fileName = std::move(name);
  region.start = start;
  region.end = end;
  return region;
}

PRegionSegment piece(std::string name, int64_t start, int64_t length) {
  return PRegionSegment{false, std::move(name), start, length};
}
PRegionSegment gap(int64_t length) { return PRegionSegment{true, "", 0, length}; }

PRegionDescription joined(int32_t id, std::vector<PRegionSegment> segments) {
  PRegionDescription region;
  region.id = id;
  region.joined = true;
  region.segments = std::move(segments);
  return region;
}

Regions parseOrFail(std::string_view text) {
  std::string error;
  auto regions = parseRegionDescriptions(text, &error);
  EXPECT_TRUE(regions.has_value()) << error;
  return regions.value_or(Regions{});
}

TEST(PRegionDescription, WritesThePlainAndTheJoinedFormExactly) {
  // The joined region begins with a gap: it opens with a silence segment
  // and still ends with "</region>".
  const Regions regions = {plain(3, "/audio/take 1.wav", 100, 44200),
                           joined(-4, {gap(50), piece("/audio/b.aif", 7, 900), gap(0)})};
  const std::string expected =
      "<region id=\"3\">\n"
      "<filename>/audio/take 1.wav</filename>\n"
      "<start>100</start>\n"
      "<end>44200</end>\n"
      "</region>\n"
      "<region type = \"join\" id=\"-4\">\n"
      "<segment type=\"silence\">\n"
      "<length>50</length>\n"
      "</segment>\n"
      "<segment>\n"
      "<filename>/audio/b.aif</filename>\n"
      "<start>7</start>\n"
      "<length>900</length>\n"
      "</segment>\n"
      "<segment type=\"silence\">\n"
      "<length>0</length>\n"
      "</segment>\n"
      "</region>\n";
  EXPECT_EQ(writeRegionDescriptions(regions), expected);
  EXPECT_EQ(parseOrFail(expected), regions);
  EXPECT_EQ(writeRegionDescriptions({}), "");
  EXPECT_TRUE(parseOrFail(" \n\r\n").empty());
}

TEST(PRegionDescription, EscapesNamesThatWouldBreakTheText) {
  const Regions regions = {plain(1, "a<b>&c\nd</filename> é", 0, 1)};
  const std::string text = writeRegionDescriptions(regions);
  EXPECT_EQ(text,
            "<region id=\"1\">\n"
            "<filename>a&lt;b&gt;&amp;c&#10;d&lt;/filename&gt; é</filename>\n"
            "<start>0</start>\n"
            "<end>1</end>\n"
            "</region>\n");
  EXPECT_EQ(parseOrFail(text), regions);
}

TEST(PRegionDescription, RandomRegionsComeBackAsWritten) {
  std::mt19937 random(20261122);
  auto randomName = [&] {
    std::string name;
    const int length = static_cast<int>(random() % 12);
    // Every byte but NUL, so "<", "&", blanks, line ends and non-UTF-8 bytes
    // all occur.
    for (int i = 0; i < length; ++i) name.push_back(static_cast<char>(1 + random() % 255));
    return name;
  };
  auto randomCount = [&] { return static_cast<int64_t>(random() % 4 == 0 ? random() : random() % 1000); };
  for (int round = 0; round < 200; ++round) {
    Regions regions;
    const int count = static_cast<int>(random() % 4);
    for (int r = 0; r < count; ++r) {
      const auto id = static_cast<int32_t>(random());
      if (random() % 2 == 0) {
        const int64_t start = randomCount();
        regions.push_back(plain(id, randomName(), start, start + randomCount()));
        continue;
      }
      std::vector<PRegionSegment> segments;
      const int pieces = static_cast<int>(random() % 4);
      for (int s = 0; s < pieces; ++s) {
        segments.push_back(random() % 3 == 0 ? gap(randomCount()) : piece(randomName(), randomCount(), randomCount()));
      }
      regions.push_back(joined(id, segments));
    }
    ASSERT_EQ(parseOrFail(writeRegionDescriptions(regions)), regions) << "round " << round;
  }
}

TEST(PRegionDescription, ReadsOtherLayoutsOfTheSameText) {
  // Windows line ends, no line ends, blanks around numbers and "=", the
  // attributes swapped, and the references the writer never uses.
  const std::string text =
      "\r\n<region   id = \"9\" >\r\n<end> 20 </end><start>\t10</start>"
      "<filename> &quot;&apos;&#x41;&#66;&#x20AC; </filename></region>"
      "<region id=\"2\" type=\"join\"><segment><length>5</length><start>1</start>"
      "<filename>x</filename></segment></region>";
  EXPECT_EQ(parseOrFail(text), (Regions{plain(9, " \"'AB€ ", 10, 20), joined(2, {piece("x", 1, 5)})}));
}

TEST(PRegionDescription, RefusesDamagedTextWithTheLineAndReason) {
  const std::string good = writeRegionDescriptions({plain(1, "a", 0, 5)});
  struct Case {
    std::string text;
    std::string error;
  };
  const std::vector<Case> cases = {
      {"hello", "Invalid region description (line 1): a tag was expected"},
      {"<region>\n</region>", "Invalid region description (line 1): a region without an id"},
      {"<region id=\"1\" colour=\"red\">", "Invalid region description (line 1): an unknown attribute \"colour\""},
      {"<region id=\"x\">", "Invalid region description (line 1): a malformed region id"},
      {"<region id=\"2147483648\">", "Invalid region description (line 1): a region id out of range"},
      {"<region type=\"split\" id=\"1\">", "Invalid region description (line 1): an unknown region type"},
      {"<region id=\"1\">\n<filename>a</filename>\n<start>0</start>\n</region>",
       "Invalid region description (line 4): a region with a missing field"},
      {"<region id=\"1\">\n<start>9</start><end>3</end><filename>a</filename></region>",
       "Invalid region description (line 2): a region that ends before it starts"},
      {"<region id=\"1\"><start>-1</start>", "Invalid region description (line 1): a number was expected in <start>"},
      {"<region id=\"1\"><start>99999999999999999999</start>",
       "Invalid region description (line 1): a number out of range"},
      {"<region id=\"1\"><start>1</start><start>1</start>", "Invalid region description (line 1): a repeated <start>"},
      {"<region id=\"1\"><filename>a&b</filename>",
       "Invalid region description (line 1): an unfinished \"&\" reference"},
      {"<region id=\"1\"><filename>a&b;</filename>", "Invalid region description (line 1): an unknown \"&\" reference"},
      {"<region id=\"1\"><filename>&#0;</filename>", "Invalid region description (line 1): a character reference to 0"},
      {std::string("<region id=\"1\"><filename>a\0b</filename>", 39),
       "Invalid region description (line 1): a NUL byte in a file name"},
      {"<region id=\"1\"><filename>&#x110000;</filename>",
       "Invalid region description (line 1): a character reference out of range"},
      {"<region type = \"join\" id=\"1\">\n<segment type=\"silence\"><filename>a</filename>",
       "Invalid region description (line 2): an unexpected <filename> in a segment"},
      {"<region type = \"join\" id=\"1\">\n<segment><length>1</length></segment>",
       "Invalid region description (line 2): a segment with a missing field"},
      {"<region type = \"join\" id=\"1\"><filename>a</filename>",
       "Invalid region description (line 1): \"<segment\" or \"</region>\" was expected"},
      {good + "<region id=\"1\"><filename>a</name>",
       "Invalid region description (line 6): \"</filename>\" was expected"},
  };
  for (const Case& c : cases) {
    std::string error;
    EXPECT_FALSE(parseRegionDescriptions(c.text, &error).has_value()) << c.text;
    EXPECT_EQ(error, c.error) << c.text;
  }
}

TEST(PRegionDescription, EveryCutOfTheTextIsRefusedUnlessItEndsARecord) {
  const Regions regions = {plain(1, "a&b", 0, 5), joined(2, {gap(3), piece("c", 1, 2)})};
  const std::string text = writeRegionDescriptions(regions);
  const std::string first = writeRegionDescriptions({regions[0]});
  for (size_t cut = 0; cut < text.size(); ++cut) {
    const std::string_view part(text.data(), cut);
    std::string error;
    const auto parsed = parseRegionDescriptions(part, &error);
    // A cut at the end of a record, or in the blanks after it, is a whole
    // text of fewer records.
    const bool whole = cut == 0 || cut == first.size() - 1 || cut == first.size() || cut == text.size() - 1;
    EXPECT_EQ(parsed.has_value(), whole) << "cut at " << cut;
    if (!whole) {
      EXPECT_FALSE(error.empty());
    }
  }
}

}  // namespace
}  // namespace vantor
