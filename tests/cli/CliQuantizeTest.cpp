// `vantor quantize` on a project file built through `vantor edit`, read back
// through the shell's note listing.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "CliTestSupport.h"

namespace vantor {
namespace {

using test::runVantor;
using test::slurp;
using test::TempFolder;

// The starts of the notes that `notes 1:1` lists, in its order.
std::vector<std::string> starts(const std::string& file) {
  const auto listing = runVantor({"shell", file}, "notes 1:1\n");
  EXPECT_EQ(listing.status, 0) << listing.err;
  std::vector<std::string> out;
  for (size_t at = listing.out.find("start "); at != std::string::npos; at = listing.out.find("start ", at + 1)) {
    if (at >= 2 && listing.out[at - 1] == ' ' && listing.out[at - 2] == ' ') {
      out.push_back(listing.out.substr(at + 6, listing.out.find(' ', at + 6) - at - 6));
    }
  }
  return out;
}

TEST(CliQuantize, QuantizesTheFileAndUndoesAndFreezes) {
  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"new", file, "--signature", "3/4"}).status, 0);
  // A 3/4 bar is 1440 pulses; dotted quarters (720) put grid points at 0,
  // 720 and the bar line. 1080 is halfway and goes earlier; 1081 goes on.
  // The second part starts at 1500 with its content from 1440 (bar 2), so
  // its notes are quantized on project bars.
  const auto made =
      runVantor({"edit", file, "-e", "track add midi Keys", "-e", "part add 1 0 2880 A", "-e", "note add 1:1 61 60 100",
                 "-e", "note add 1:1 1080 62 50", "-e", "note add 1:1 1081 64 50", "-e", "track add midi Bass", "-e",
                 "part add 2 1440 2880 B", "-e", "note add 2:1 2000 40 100"});
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string before = slurp(file);
  EXPECT_EQ(starts(file), (std::vector<std::string>{"61", "1080", "1081"}));

  // A track that is not there changes nothing and exits 1.
  const auto refused = runVantor({"quantize", file, "--track", "Drums"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(slurp(file), before);
  EXPECT_EQ(runVantor({"quantize", file, "--grid", "1/5"}).status, 2);

  const auto quantized = runVantor({"quantize", file, "--grid", "1/4", "--type", "dotted", "--json"});
  ASSERT_EQ(quantized.status, 0) << quantized.err;
  const auto summary = nlohmann::json::parse(quantized.out);
  EXPECT_EQ(summary["function"], "Quantize");
  EXPECT_EQ(summary["notes"], 4);
  EXPECT_EQ(starts(file), (std::vector<std::string>{"0", "720", "1440"}));
  const auto bass = runVantor({"shell", file}, "notes 2:1\n");
  EXPECT_NE(bass.out.find("start 2160  length 100  pitch 40  velocity 100  (initial start 2000, length 100)"),
            std::string::npos)
      << bass.out;

  // In a session, the shell's "Undo Quantize" is undone like any edit.
  const auto session = runVantor({"shell", file}, "quantize undo --track 1\nnotes 1:1\nundo\nnotes 1:1\n");
  EXPECT_NE(session.out.find("Undo Quantize: 3 notes changed\n1  start 61  length 100  pitch 60  velocity 100\n"),
            std::string::npos)
      << session.out;
  EXPECT_NE(session.out.find("1  start 0  length 100  pitch 60  velocity 100  (initial start 61, length 100)\n"),
            std::string::npos)
      << session.out;

  // "Undo Quantize" restores the exact bytes of the notes; freezing makes
  // the quantized places initial, so a later undo has nothing to do.
  ASSERT_EQ(runVantor({"quantize", file, "--undo"}).status, 0);
  EXPECT_EQ(slurp(file), before);
  ASSERT_EQ(runVantor({"quantize", file, "--track", "Keys"}).status, 0);  // 1/16: 61 -> 120
  EXPECT_EQ(starts(file), (std::vector<std::string>{"120", "1080", "1080"}));
  ASSERT_EQ(runVantor({"quantize", file, "--freeze"}).status, 0);
  const auto none = runVantor({"quantize", file, "--undo"});
  EXPECT_EQ(none.out, "Undo Quantize: 0 notes changed\n");
}

TEST(CliQuantize, TheShellKeepsACurrentQuantize) {
  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"new", file}).status, 0);
  ASSERT_EQ(runVantor({"edit", file, "-e", "track add midi Keys", "-e", "part add 1 0 1920 A", "-e",
                       "note add 1:1 100 60 50", "-e", "note add 1:1 300 62 50"})
                .status,
            0);
  // 1/8 triplets lie 160 pulses apart (1/16 would give 120 and 240).
  const auto session = runVantor({"shell", file},
                                 "quantize current\nquantize set \"1/8 Triplet\"\nquantize\nnotes 1:1\n"
                                 "quantize toggle\nquantize next\nquantize prev\nquantize toggle\n"
                                 "quantize auto on\nquantize current\nquantize set 1/7 Note\n");
  EXPECT_NE(session.out.find("Quantize: 1/16 Note\nAuto Quantize: off\nQuantize: 1/8 Triplet\n"
                             "Quantize: 2 notes changed\n1  start 160  length 50  pitch 60  velocity 100  (initial "
                             "start 100, length 50)\n2  start 320  length 50  pitch 62  velocity 100  (initial start "
                             "300, length 50)\nQuantize: 1/16 Note\nQuantize: 1/32 Note\nQuantize: 1/16 Note\n"
                             "Quantize: 1/32 Note\nAuto Quantize: on\nQuantize: 1/32 Note\nAuto Quantize: on\n"),
            std::string::npos)
      << session.out;
  EXPECT_NE(session.err.find("there is no quantize preset \"1/7 Note\""), std::string::npos) << session.err;

  // A session starts from the "Quantize" setting (the session above saved
  // nothing); grid options still win.
  const auto dotted = runVantor({"--pref", "Quantize=1/4 Dotted", "shell", file},
                                "quantize current\nquantize --grid 1/8\nnotes 1:1\nquantize\nnotes 1:1\n");
  EXPECT_NE(dotted.out.find("Quantize: 1/4 Dotted\n"), std::string::npos) << dotted.out;
  EXPECT_NE(dotted.out.find("1  start 0  length 50"), std::string::npos) << dotted.out;
  EXPECT_NE(dotted.out.find("2  start 240  length 50"), std::string::npos) << dotted.out;
  EXPECT_NE(dotted.out.find("2  start 0  length 50"), std::string::npos) << dotted.out;
}

}  // namespace
}  // namespace vantor
