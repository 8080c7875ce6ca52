// `vantor export-midi` and the shell's `export midi` on projects built
// through `vantor edit`, read back by python3-mido.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "CliTestSupport.h"
#include "midi/smf/MidoOracle.h"

namespace vantor {
namespace {

using test::MidoLines;
using test::runVantor;
using test::slurp;
using test::TempFolder;

TEST(CliMidiExport, WritesTheQuantizedNotesOfEveryMidiTrack) {
  if (!test::haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  const std::string out = (dir / "song.mid").string();
  ASSERT_EQ(runVantor({"new", file, "--tempo", "100"}).status, 0);
  const auto made =
      runVantor({"edit", file, "-e", "track add midi Keys", "-e", "part add 1 0 3840 A", "-e", "note add 1:1 61 60 100",
                 "-e", "note add 1:1 1080 62 50", "-e", "note add 1:1 1190 64 50 70", "-e", "track add midi Bass", "-e",
                 "part add 2 1920 3840 B", "-e", "note add 2:1 2000 40 100 90"});
  ASSERT_EQ(made.status, 0) << made.err;
  // Eighths (240 pulses): 61 -> 0, 1080 (halfway) -> 960, 1190 -> 1200,
  // 2000 -> 1920; the lengths stay.
  ASSERT_EQ(runVantor({"quantize", file, "--grid", "1/8"}).status, 0);
  std::filesystem::copy_file(file, dir / "other.mid");
  const auto exported = runVantor({"export-midi", file, out, "--json"});
  ASSERT_EQ(exported.status, 0) << exported.err;
  const auto summary = nlohmann::json::parse(exported.out);
  EXPECT_EQ(summary["type"], 1);
  EXPECT_EQ(summary["tracks"], 3);
  EXPECT_EQ(summary["events"], 2 + 6 + 2);

  // 100 BPM = 600000 us (09 27 C0); "Keys" 4B 65 79 73, "Bass" 42 61 73 73.
  EXPECT_EQ(test::readWithMido(out),
            (MidoLines{"type 1 tracks 3 division 480", "0 0 FF 51 03 09 27 C0", "0 0 FF 58 04 04 02 18 08",
                       "0 0 FF 2F 00", "1 0 FF 03 04 4B 65 79 73", "1 0 90 3C 64", "1 100 90 3C 00", "1 960 90 3E 64",
                       "1 1010 90 3E 00", "1 1200 90 40 46", "1 1250 90 40 00", "1 1250 FF 2F 00",
                       "2 0 FF 03 04 42 61 73 73", "2 1920 90 28 5A", "2 2020 90 28 00", "2 2020 FF 2F 00"}));

  // The shell's verb replaces a file that is there, here with Type 0.
  const std::string other = (dir / "other.mid").string();
  const auto shell = runVantor({"shell", file}, "export midi " + other + " 0\n");
  ASSERT_EQ(shell.status, 0) << shell.err;
  EXPECT_EQ(shell.out, "Type 0 MIDI file \"" + other + "\": 1 track, 10 events\n");
  const MidoLines merged = test::readWithMido(other);
  ASSERT_EQ(merged.size(), 1u + 11);
  EXPECT_EQ(merged[0], "type 0 tracks 1 division 480");
  EXPECT_EQ(merged[9], "0 1920 90 28 5A");
}

TEST(CliMidiExport, AFailedExportLeavesTheFileThereByteForByte) {
  TempFolder dir;
  const std::string file = (dir / "far.vpr").string();
  const std::string out = (dir / "far.mid").string();
  ASSERT_EQ(runVantor({"new", file}).status, 0);
  // 280000000 ticks after the first note's end: more than a delta time holds.
  const auto made = runVantor({"edit", file, "-e", "track add midi Far", "-e", "part add 1 0 300000000", "-e",
                               "note add 1:1 0 60 10", "-e", "note add 1:1 280000010 60 10"});
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string project = slurp(file);
  { std::ofstream(out, std::ios::binary) << "the old file"; }

  const auto far = runVantor({"export-midi", file, out});
  EXPECT_EQ(far.status, 1);
  EXPECT_EQ(far.err, "Can not write MIDI file \"" + out +
                         "\" !\nan event at tick 280000010 lies too far after the one before it for a MIDI file (at "
                         "most 268435455 ticks apart)\n");
  EXPECT_EQ(slurp(out), "the old file");

  const auto itself = runVantor({"export-midi", file, file});
  EXPECT_EQ(itself.status, 1);
  EXPECT_EQ(itself.err, "Can not write MIDI file \"" + file + "\" !\nIt is the project file itself.\n");
  const auto missing = runVantor({"export-midi", file, (dir / "no" / "x.mid").string()});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("No such file or directory"), std::string::npos) << missing.err;
  EXPECT_EQ(runVantor({"export-midi", file, out, "--type", "2"}).status, 2);
  EXPECT_EQ(slurp(file), project);
  EXPECT_EQ(slurp(out), "the old file");
  // No temporary file stays behind.
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.path())) ++files;
  EXPECT_EQ(files, 2u);
}

}  // namespace
}  // namespace vantor
