#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <random>
#include <set>

#include "CliTestSupport.h"

namespace vantor {
namespace {

using nlohmann::json;
using test::runVantor;
using test::TempFolder;

// Listings are written piece by piece: the bytes must be those of the whole
// document printed at once (sorted keys, two spaces of indent, U+FFFD).
json parsePrintedWhole(const std::string& out) {
  const json j = json::parse(out);
  EXPECT_EQ(out, j.dump(2, ' ', false, json::error_handler_t::replace) + "\n");
  return j;
}

TEST(CliProject, NewInfoAndTimeAgreeOnTheTempoMap) {
  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  ASSERT_EQ(runVantor({"new", file, "--tempo", "90", "--signature", "3/4"}).status, 0);
  // Refused over an existing file unless forced.
  const auto again = runVantor({"new", file});
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("already exists"), std::string::npos);

  const auto info = runVantor({"info", file, "--json"});
  ASSERT_EQ(info.status, 0) << info.err;
  const json j = json::parse(info.out);
  ASSERT_TRUE(j.contains("tracks") && j.contains("tempo") && j.contains("signatures"));
  EXPECT_TRUE(j["tracks"].empty());
  // Tempo is kept as seconds per beat in single precision: 60/90 as a float.
  EXPECT_NEAR(j["tempo"]["events"][0]["bpm"].get<double>(), 90.0, 1e-5);
  EXPECT_EQ(j["signatures"][0]["numerator"], 3);
  EXPECT_EQ(j["signatures"][0]["denominator"], 4);

  // At 90 BPM a quarter lasts 2/3 s; bar 3 of 3/4 starts at 2 * 1440 pulses
  // = 6 quarters = 4 s (to the precision of a float tempo).
  struct Case {
    const char* text;
    double pulses;
    const char* bars;
    double seconds;
  } cases[] = {
      {"2880", 2880, "3.1.1.0", 4.0},     {"3.1.1.0", 2880, "3.1.1.0", 4.0},      {"4s", 2880, "3.1.1.0", 4.0},
      {"0:04.000", 2880, "3.1.1.0", 4.0}, {"1.2.1.0", 480, "1.2.1.0", 2.0 / 3.0},
  };
  for (const Case& c : cases) {
    const auto time = runVantor({"time", file, c.text, "--json"});
    ASSERT_EQ(time.status, 0) << c.text << time.err;
    const json t = json::parse(time.out);
    EXPECT_NEAR(t["pulses"].get<double>(), c.pulses, 1e-3) << c.text;
    EXPECT_EQ(t["bars"], c.bars) << c.text;
    EXPECT_NEAR(t["seconds"].get<double>(), c.seconds, 1e-6) << c.text;
  }
  const auto bad = runVantor({"time", file, "-5"});
  EXPECT_EQ(bad.status, 2);  // a malformed argument
  EXPECT_FALSE(bad.err.empty());
}

TEST(CliProject, FilesThatCannotBeReadGiveTheSystemsMessages) {
  TempFolder dir;
  const std::string missing = (dir / "missing.vpr").string();
  // The first line in the system's words, the reason on the second.
  for (const char* verb : {"info", "dump", "shell"}) {
    const auto r = runVantor({verb, missing});
    EXPECT_EQ(r.status, 1) << verb;
    EXPECT_NE(r.err.find("Can not open project file \"" + missing + "\" !\nNo such file or directory"),
              std::string::npos)
        << verb << r.err;
    const auto folder = runVantor({verb, dir.path().string()});
    EXPECT_NE(folder.err.find("\" !\nIs a directory"), std::string::npos) << verb << folder.err;
  }
  const std::string junk = (dir / "junk.vpr").string();
  std::ofstream(junk) << "RIFF not a project at all";
  for (const char* verb : {"info", "dump"}) {
    const auto r = runVantor({verb, junk});
    EXPECT_EQ(r.status, 1) << verb;
    EXPECT_NE(r.err.find("Invalid project file \"" + junk + "\" !"), std::string::npos) << verb << r.err;
  }
  // A real file of another kind from the corpus is no project either.
  const std::string midi =
      std::string(VANTOR_SHARED_DIR) + "/corpus/midi/jazz-soft-test-midi-files/test-c-major-scale.mid";
  if (std::filesystem::exists(midi)) {
    const auto r = runVantor({"dump", midi});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("Invalid project file"), std::string::npos);
  }
}

TEST(CliProject, UsageErrorsExitWithTwoAndHelpWithZero) {
  TempFolder dir;
  const std::string file = (dir / "u.vpr").string();
  ASSERT_EQ(runVantor({"new", file}).status, 0);
  const struct {
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {{}, "a subcommand is required; the subcommands are: dump, classes, new, info, time, demo, shell, edit"},
      {{"bogus"}, "unknown subcommand \"bogus\"; the subcommands are: dump, classes, new, info"},
      {{"-v", "--pref", "Auto Save=on", "bogus", file}, "unknown subcommand \"bogus\""},
      {{"info"}, "FILE is required"},
      {{"--pref", "Bogus=1", "info", file}, "unknown setting \"Bogus\"; the settings are: Maximum Undo, Auto Save"},
      {{"--pref", "Maximum Undo=lots", "info", file}, "bad setting \"Maximum Undo=lots\""},
      {{"new", (dir / "n.vpr").string(), "--tempo", "fast"}, "bad tempo \"fast\""},
      {{"new", (dir / "n.vpr").string(), "--tempo", "5000"}, "the tempo must lie between"},
      {{"new", (dir / "n.vpr").string(), "--signature", "3/0"}, ""},
      {{"time", file, "bar five"}, ""},
      {{"info", file, "--bogus"}, "--bogus"},
  };
  for (const auto& c : cases) {
    const auto r = runVantor(c.args);
    EXPECT_EQ(r.status, 2) << c.message << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "n.vpr"));
  for (const char* verb : {"dump", "new", "info", "time", "shell", "edit", "demo", "classes"}) {
    const auto r = runVantor({verb, "--help"});
    EXPECT_EQ(r.status, 0) << verb;
    EXPECT_NE(r.out.find("Usage"), std::string::npos) << verb;
  }
  EXPECT_EQ(runVantor({"--help"}).status, 0);
}

TEST(CliProject, EveryClassIsCreatedByNameFromTheShippedBinary) {
  const auto r = runVantor({"classes", "--json"});
  ASSERT_EQ(r.status, 0) << r.out;
  const json j = json::parse(r.out);
  EXPECT_EQ(j["failures"], 0);
  std::set<std::string> names;
  for (const json& c : j["classes"]) names.insert(c["name"].get<std::string>());
  // One class of each layer's initialiser, aliases among them: a layer
  // whose registrations were dropped from the binary shows here.
  for (const char* name : {"Attributes", "Root of Engine", "MSizeCommand", "MCycleEvent", "MMidiSysex",
                           "MNoteFreezeCommand", "PAppVersion"}) {
    EXPECT_TRUE(names.count(name)) << name;
  }
}

TEST(CliProject, DumpShowsRootsClassTablesAndRecords) {
  TempFolder dir;
  const std::string file = (dir / "d.vpr").string();
  ASSERT_EQ(runVantor({"demo", file}).status, 0);
  const auto r = runVantor({"dump", file, "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  const json j = parsePrintedWhole(r.out);
  ASSERT_EQ(j["roots"].size(), 4u);
  const char* names[] = {"Arrangement1", "Devices", "WindowLayouts", "Version"};
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(j["roots"][i]["name"], names[i]);
  EXPECT_EQ(j["roots"][0]["className"], "PArrangement");
  EXPECT_EQ(j["roots"][3]["className"], "PAppVersion");
  const json& header = j["roots"][0]["header"];
  EXPECT_EQ(header["magic"], 0x61526348);
  EXPECT_EQ(header["totalLength"], j["roots"][0]["archiveSize"]);
  // Somewhere in the arrangement a shared node or the project's root is
  // written as a back reference.
  EXPECT_NE(r.out.find("\"reference\""), std::string::npos);
  const auto text = runVantor({"dump", file});
  EXPECT_NE(text.out.find("Root \"Arrangement1\" PArrangement"), std::string::npos);
}

// Names from files are any bytes: JSON shows what is not UTF-8 as U+FFFD,
// text output escapes it, and damaged files end in a message, never abort.
TEST(CliProject, DamagedNamesAndFilesNeverAbort) {
  TempFolder dir;
  const std::string file = (dir / "n.vpr").string();
  ASSERT_EQ(runVantor({"demo", file}).status, 0);
  ASSERT_EQ(runVantor({"edit", file, "-e", "track rename 1 QQbad"}).status, 0);
  std::string bytes = test::slurp(file);
  const size_t at = bytes.find("QQbad");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at, 2, "\xFF\xFE");  // same length: the archive stays whole
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
  const auto j = runVantor({"info", file, "--json"});
  ASSERT_EQ(j.status, 0) << j.err;
  EXPECT_EQ(parsePrintedWhole(j.out)["tracks"][0]["name"], "\uFFFD\uFFFDbad");
  const auto text = runVantor({"info", file});
  ASSERT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("\"\\xFF\\xFEbad\""), std::string::npos) << text.out;

  std::mt19937 random(7);
  for (int i = 0; i < 150; ++i) {
    std::string mutant = bytes;
    for (int k = 0; k < 4; ++k) {
      mutant[random() % mutant.size()] = static_cast<char>(random());
    }
    std::ofstream(file, std::ios::binary | std::ios::trunc) << mutant;
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"info", file, "--json"}, {"info", file}, {"dump", file}, {"dump", file, "--json"}}) {
      const auto r = runVantor(args);
      ASSERT_TRUE(r.status == 0 || r.status == 1) << i << " " << args[0] << " " << r.status << r.err;
      if (r.status == 0 && args.size() == 3) {
        ASSERT_TRUE(json::accept(r.out)) << i;
        parsePrintedWhole(r.out);
      }
      if (r.status == 1) {
        EXPECT_FALSE(r.err.empty()) << i;
      }
    }
  }
}

}  // namespace
}  // namespace vantor
