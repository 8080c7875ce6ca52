// The path filter table: the candidates of a missing path, worked by hand
// for each column.

#include "audio/pool/PPathFilterTable.h"

#include <gtest/gtest.h>

namespace vantor {
namespace {

using Paths = std::vector<std::string>;

TEST(PPathFilterTable, CandidatesFollowTheColumns) {
  struct Case {
    const char* what;
    PPathFilter row;
    const char* missing;
    Paths expected;
  };
  const std::string folder = "/home/me/Song";
  const Case cases[] = {
      {"a translated prefix, and the rest under the folder",
       {"/Volumes/Audio", "/mnt/audio", 0, 0},
       "/Volumes/Audio/Song/take.wav",
       {"/mnt/audio/Song/take.wav", "/home/me/Song/Song/take.wav"}},
      {"the prefix matches whole names only", {"/Volumes/Aud", "/mnt", 0, 0}, "/Volumes/Audio/take.wav", {}},
      {"Strip Top drops leading folders of the rest",
       {"/Volumes", "", 1, 0},
       "/Volumes/Projects/Song/Audio/take.wav",
       {"/home/me/Song/Song/Audio/take.wav"}},
      {"Strip Top never drops the file name", {"", "", 99, 0}, "/a/b/take.wav", {"/home/me/Song/take.wav"}},
      // Rest "Audio/take.wav" under the folder, then one and two levels up
      // ("/home/me", "/home"), the root ending the climb after three.
      {"Ascend climbs above the folder",
       {"/old", "", 0, 5},
       "/old/Audio/take.wav",
       {"/home/me/Song/Audio/take.wav", "/home/me/Audio/take.wav", "/home/Audio/take.wav", "/Audio/take.wav"}},
      {"paths of another system split at backslashes",
       {"C:\\Projects", "/srv/projects", 0, 0},
       "C:\\Projects\\Song\\Audio\\take.wav",
       {"/srv/projects/Song/Audio/take.wav", "/home/me/Song/Song/Audio/take.wav"}},
      {"a path that ends in a separator names no file", {"", "/x", 0, 0}, "/a/b/", {}},
  };
  for (const Case& c : cases) {
    PPathFilterTable table;
    table.add(c.row);
    EXPECT_EQ(table.candidates(c.missing, folder), c.expected) << c.what;
  }
}

TEST(PPathFilterTable, RowsAreTriedInOrderWithoutRepeats) {
  PPathFilterTable table;
  table.add({"/a", "/b", -3, -1});  // negative counts are 0
  table.add({"", "", 0, 0});
  table.add({"/a", "/b", 0, 0});
  EXPECT_EQ(table.rows()[0], (PPathFilter{"/a", "/b", 0, 0}));
  EXPECT_EQ(table.candidates("/a/x.wav", "/f/"), (Paths{"/b/x.wav", "/f/x.wav", "/f/a/x.wav"}));
  EXPECT_FALSE(table.remove(3));
  EXPECT_TRUE(table.remove(0));
  EXPECT_EQ(table.rows().size(), 2u);
  EXPECT_EQ(PPathFilterTable::columnLabels(), (Paths{"Filter", "Translation", "Strip Top", "Ascend"}));
  EXPECT_EQ(PPathFilterTable::fileName("C:\\a\\take 1.wav"), "take 1.wav");
}

}  // namespace
}  // namespace vantor
