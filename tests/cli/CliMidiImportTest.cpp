// `vantor import-midi` and the shell's `import midi`: what lands in the
// project, the summary, refusals that leave the file byte for byte, and
// undo back to the exact bytes.

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "CliTestSupport.h"
#include "midi/smf/SmfBytes.h"

namespace vantor {
namespace {

using json = nlohmann::json;
using test::runVantor;
using test::slurp;
using test::TempFolder;

// Division 96: one note of a quarter at tick 96 (480 pulses), 150 BPM and
// 3/4 at tick 0, a track named "Keys".
test::Bytes midiFile() {
  return test::file({test::header(1, 1, 96),
                     test::chunk("MTrk", {0x00, 0xFF, 0x03, 0x04, 'K',  'e',  'y',  's',  0x00, 0xFF, 0x51, 0x03,
                                          0x06, 0x1A, 0x80, 0x00, 0xFF, 0x58, 0x04, 0x03, 0x02, 0x18, 0x08, 0x60,
                                          0x90, 0x3C, 0x64, 0x60, 0x80, 0x3C, 0x40, 0x00, 0xFF, 0x2F, 0x00})});
}

std::string writeFile(const TempFolder& dir, const std::string& name, const test::Bytes& bytes) {
  const std::string path = (dir / name).string();
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return path;
}

std::string newProject(const TempFolder& dir) {
  const std::string file = (dir / "song.vpr").string();
  EXPECT_EQ(runVantor({"new", file}).status, 0);
  return file;
}

TEST(CliMidiImport, ImportsAtAPositionSavesAndSummarises) {
  TempFolder dir;
  const std::string project = newProject(dir);
  const std::string midi = writeFile(dir, "in.mid", midiFile());
  const auto r = runVantor({"import-midi", project, midi, "--at", "2.1.1.0", "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  const json summary = json::parse(r.out);
  EXPECT_EQ(summary["tracks"], 1);
  EXPECT_EQ(summary["parts"], 1);
  EXPECT_EQ(summary["events"]["notes"], 1);
  EXPECT_EQ(summary["tempoChanges"], 1);
  EXPECT_EQ(summary["signatures"], 1);

  const auto info = runVantor({"info", project});
  ASSERT_EQ(info.status, 0);
  // 120 BPM and 4/4 before bar 2; the file's 150 BPM and 3/4 from there.
  EXPECT_NE(info.out.find("1.1.1.0  120.00 BPM"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("2.1.1.0  150.00 BPM"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("2.1.1.0  3/4"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("MIDI \"Keys\""), std::string::npos) << info.out;
  const auto notes = runVantor({"shell", project}, "notes 1:1\nevents 1:1\n");
  // The note at tick 96 of the file: a quarter after bar 2 (1920 + 480).
  EXPECT_NE(notes.out.find("start 2400  length 480  pitch 60  velocity 100"), std::string::npos) << notes.out;
  EXPECT_NE(notes.out.find("(start 480, length 480, offset 0)  Note, channel 1, data 60 100"), std::string::npos)
      << notes.out;

  EXPECT_EQ(runVantor({"import-midi", "--help"}).status, 0);
}

TEST(CliMidiImport, RefusedFilesLeaveTheProjectByteForByte) {
  TempFolder dir;
  const std::string project = newProject(dir);
  const std::string before = slurp(project);
  test::Bytes cut = midiFile();
  cut.resize(10);
  const std::string truncated = writeFile(dir, "cut.mid", cut);
  const std::string text = writeFile(dir, "text.mid", {'h', 'e', 'l', 'l', 'o'});
  const struct {
    std::vector<std::string> args;
    int status;
    std::string message;
  } rows[] = {
      {{"import-midi", project, truncated},
       1,
       "Cannot import MIDI file \"" + truncated + "\": its header is cut short"},
      {{"import-midi", project, text},
       1,
       "Cannot import MIDI file \"" + text + "\": it is not a MIDI file (it does not begin with \"MThd\")"},
      {{"import-midi", project, (dir / "none.mid").string()}, 1, "No such file or directory"},
      {{"import-midi", project, truncated, "--at", "1e3"}, 2, ""},
  };
  for (const auto& row : rows) {
    const auto r = runVantor(row.args);
    EXPECT_EQ(r.status, row.status) << r.err;
    EXPECT_NE(r.err.find(row.message), std::string::npos) << r.err;
    EXPECT_EQ(slurp(project), before);
  }
}

TEST(CliMidiImport, ShellImportUndoesToTheExactBytes) {
  TempFolder dir;
  const std::string project = newProject(dir);
  ASSERT_EQ(runVantor({"edit", project, "-e", "track add midi Bass", "-e", "tempo 3.1.1.0 90"}).status, 0);
  const std::string before = slurp(project);
  const std::string midi = writeFile(dir, "in.mid", midiFile());
  const auto r = runVantor({"shell", project}, "import midi " + midi + "\nhistory\nundo\nsave\n");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Imported 1 track (1 event), 1 tempo change, 1 signature"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Import MIDI"), std::string::npos) << r.out;
  EXPECT_EQ(slurp(project), before);
  // Redone, the import is there again: the tempo change at bar 3 gave way.
  const auto redone = runVantor({"shell", project}, "import midi " + midi + "\nundo\nredo\nsave\ntempos\n");
  ASSERT_EQ(redone.status, 0) << redone.err;
  EXPECT_EQ(redone.out.find("90.00 BPM"), std::string::npos) << redone.out;
  EXPECT_NE(slurp(project), before);
}

}  // namespace
}  // namespace vantor
