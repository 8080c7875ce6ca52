#include <gtest/gtest.h>

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include <filesystem>

#include "CliTestSupport.h"

namespace vantor {
namespace {

using nlohmann::json;
using test::runVantor;
using test::slurp;
using test::TempFolder;

std::string newProject(const TempFolder& dir, const std::string& name = "s.vpr") {
  const std::string file = (dir / name).string();
  EXPECT_EQ(runVantor({"new", file}).status, 0);
  return file;
}

json info(const std::string& file) { return json::parse(runVantor({"info", file, "--json"}).out); }

TEST(CliShell, ScriptOnStandardInputEditsUndoesAndSaves) {
  TempFolder dir;
  const std::string file = newProject(dir);
  const std::string script =
      "track add midi Bass\n"
      "track add audio \"Lead Vocal\"\n"
      "part add 1 1.1.1.0 3.1.1.0 Intro\n"
      "part add Bass 3.1.1.0 5.1.1.0\n"
      "bogus line\n"                  // fails, the session goes on
      "part add 9 1.1.1.0 2.1.1.0\n"  // no track 9
      "rename 1:2 Verse\n"
      "mute 1:1\n"
      "color #102030 1:1\n"
      "track color Bass 7\n"
      "split 1:2 4.1.1.0\n"
      "tempo 5.1.1.0 100\n"
      "undo\n"  // takes the tempo back
      "history\n"
      "save\n";
  const auto r = runVantor({"shell", file}, script);
  EXPECT_EQ(r.status, 1);  // two lines failed, one error each
  size_t errors = 0;
  for (size_t at = r.err.find("error: "); at != std::string::npos; at = r.err.find("error: ", at + 1)) ++errors;
  EXPECT_EQ(errors, 2u) << r.err;
  EXPECT_NE(r.err.find("unknown command \"bogus\""), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("there is no track 9"), std::string::npos) << r.err;
  EXPECT_NE(r.out.find("Undo Set Tempo"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("redo (newest first):\n  Set Tempo"), std::string::npos) << r.out;

  const json j = info(file);
  ASSERT_EQ(j["tracks"].size(), 2u);
  EXPECT_EQ(j["tracks"][1]["name"], "Lead Vocal");
  const json& parts = j["tracks"][0]["parts"];
  ASSERT_EQ(parts.size(), 3u);  // Intro, and Verse split in two
  EXPECT_EQ(parts[0]["name"], "Intro");
  EXPECT_TRUE(parts[0]["muted"].get<bool>());
  EXPECT_EQ(parts[0]["color"], 0x102030);
  EXPECT_EQ(j["tracks"][0]["color"], 7);
  EXPECT_EQ(parts[1]["name"], "Verse");
  EXPECT_EQ(parts[1]["end"]["bars"], "4.1.1.0");
  EXPECT_EQ(parts[2]["start"]["bars"], "4.1.1.0");
  EXPECT_EQ(parts[2]["offset"].get<double>(), 1920.0);  // the right half plays on
  EXPECT_EQ(j["tempo"]["events"].size(), 1u);
}

TEST(CliShell, UndoingEveryEditGivesBackTheOriginalBytes) {
  TempFolder dir;
  const std::string file = newProject(dir);
  const std::string original = slurp(file);
  const std::string script =
      "track add midi A\ntrack add folder F\ntrack add audio B\n"
      "part add 1 1.1.1.0 2.1.1.0 p\npart add 1 1.1.1.0 2.1.1.0 q\nevent add 1:1 1.1.1.0 1.2.1.0 e\n"
      "move 1:2 3.1.1.0 3\nnudge 240 1:1\nsize 1:1 end 2.3.1.0\nsize 1:1 offset 120\n"
      "lock 1:1\nsize 1:1 start 1.2.1.0\nunlock 1:1\ncolor 5 1:1\ntrack color 1 #FF8000\n"
      "track move 3 1\ntrack rename 2 Folder\ngroup create G 1:1 2:1\n"
      "tempo 2.1.1.0 90 ramp\ntempo type 2.1.1.0 jump\nsignature 3.1.1.0 7/8\n"
      "marker add 2.1.1.0 Chorus\nmarker add 4.1.1.0 Bridge 6.1.1.0\nmarker id 1 2\nmarker rename 2 Refrain\n"
      "marker move 1 5.1.1.0\nmarker remove 2\ntrack remove 3\n"
      "locators 2.1.1.0 3.1.1.0\ncycle on\nlocators 1.1.1.0 9.1.1.0\n"
      "track volume 1 -6dB\ntrack volume 1 +3\ntrack pan 1 L30\ntrack mute 1\ntrack solo 2\ntrack solo 2 off\n"
      "autofade on --in 5 --curve exp\n"
      "undo 1000\nsave\n";
  const auto r = runVantor({"shell", file}, script);
  EXPECT_EQ(r.status, 1) << r.err;  // "size 1:1 start" fails on the locked part
  EXPECT_NE(r.err.find("locked"), std::string::npos) << r.err;
  EXPECT_EQ(slurp(file), original);
}

// Every form of volume and pan people type reaches the project; the
// listings show what differs from the defaults.
TEST(CliShell, MixerValuesInEveryFormReachTheProject) {
  TempFolder dir;
  const std::string file = newProject(dir);
  struct Form {
    const char* volume;
    double db;
    const char* pan;
    int percent;
  };
  const Form forms[] = {{"-6", -6, "-100", -100}, {"-6dB", -6, "L30", -30},   {"+3", 3, "R30", 30},
                        {"off", -144, "C", 0},    {"0.5db", 0.5, "100", 100}, {"-0.125", -0.13, "l5", -5}};
  std::string script;
  for (size_t i = 0; i < std::size(forms); ++i) {
    const std::string n = std::to_string(i + 1);
    script += "track add audio T" + n + "\ntrack volume " + n + " " + forms[i].volume + "\ntrack pan " + n + " " +
              forms[i].pan + "\n";
  }
  script += "track mute 2\ntrack solo 3\ntrack solo 4\ntrack solo 4 off\ntracks\nsave\n";
  const auto r = runVantor({"shell", file}, script);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("2  Audio  \"T2\"  0 parts  volume -6.00 dB  pan L30  muted\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("3  Audio  \"T3\"  0 parts  volume +3.00 dB  pan R30  solo\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("4  Audio  \"T4\"  0 parts  volume off\n"), std::string::npos) << r.out;
  const json j = info(file);
  ASSERT_EQ(j["tracks"].size(), std::size(forms));
  for (size_t i = 0; i < std::size(forms); ++i) {
    const json& t = j["tracks"][i];
    EXPECT_DOUBLE_EQ(t["volume"].get<double>(), forms[i].db) << forms[i].volume;
    EXPECT_EQ(t["pan"].get<int>(), forms[i].percent) << forms[i].pan;
    EXPECT_EQ(t["muted"].get<bool>(), i == 1);
    EXPECT_EQ(t["solo"].get<bool>(), i == 2);
  }
}

TEST(CliShell, EditSavesOnlyWhenEveryLineSucceeds) {
  TempFolder dir;
  const std::string file = newProject(dir);
  const std::string before = slurp(file);
  const auto failed = runVantor({"edit", file, "-e", "track add midi X", "-e", "part add 7 1 2"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.err.find("the project was not saved: \"part add 7 1 2\" failed"), std::string::npos);
  EXPECT_EQ(slurp(file), before);
  const auto ok = runVantor({"edit", file, "-e", "track add midi X", "-e", "part add 1 1.1.1.0 2.1.1.0 P"});
  ASSERT_EQ(ok.status, 0) << ok.err;
  const json j = info(file);
  ASSERT_EQ(j["tracks"].size(), 1u);
  EXPECT_EQ(j["tracks"][0]["parts"][0]["name"], "P");
}

// The model's refusals (tested there) reach the user with their reasons;
// events inside parts and locator markers are named as the shell names them.
TEST(CliShell, RefusalsNameTheirReasonAndSaveNothing) {
  TempFolder dir;
  const std::string file = newProject(dir);
  ASSERT_EQ(runVantor({"shell", file},
                      "track add midi Keys\ntrack add audio Voice\n"
                      "part add 1 5.1.1.0 9.1.1.0 Verse\nevent add Keys:Verse 5.1.1.0 5.2.1.0 Note\n"
                      "part add 1 9.1.1.0 10.1.1.0 Twin\npart add 1 10.1.1.0 11.1.1.0 Twin\n"
                      "marker add 2.1.1.0 Intro\nmarker locators\nlock 1:1\nsave\n")
                .status,
            0);
  const std::string before = slurp(file);
  const std::pair<const char*, const char*> refusals[] = {
      {"rename 1:1 Chorus", "part \"Verse\" is locked; unlock it first"},
      {"move 1:1:1 1.1.1.0 Voice", "\"Voice\" holds only audio parts"},
      {"event add 1:1 1.1.1.0 1.2.1.0", "an event must lie inside part \"Verse\""},
      {"event add 1:1:1 5.1.1.0 5.1.2.0", "lies inside a part and holds no events"},
      {"marker rename L Start", "the left locator marker is named by its locator and cannot be renamed"},
      {"marker id R 7", "a locator marker's ID names its locator"},
      {"events Keys:Twin", "more than one event is named \"Twin\" in \"Keys:Twin\"; use its number"},
  };
  for (const auto& [line, reason] : refusals) {
    const auto r = runVantor({"edit", file, "-e", line});
    EXPECT_EQ(r.status, 1) << line;
    EXPECT_NE(r.err.find(reason), std::string::npos) << line << ": " << r.err;
    EXPECT_EQ(slurp(file), before) << line;
  }
  // Events inside a part are typed and listed on the song's time line, and
  // move with their part; locator markers are L and R, apart from marker 1,
  // and a second `marker locators` adds no second set. Nothing after quit
  // is read.
  const auto r = runVantor({"shell", file},
                           "unlock 1:1\nmove 1:1 3.1.1.0\nevents 1:1\nmarker locators\nmarker remove 1\n"
                           "markers\nquit\nthis line is never read\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("1:1:1  \"Note\"  3.1.1.0 - 3.2.1.0"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("L  \"Left Locator\"  1.1.1.0  (locator marker)\nR  \"Right Locator\"  5.1.1.0"),
            std::string::npos)
      << r.out;
  EXPECT_EQ(r.out.find("Intro"), std::string::npos) << r.out;
}

// Names: one rule for every verb that names something; what a name holds
// never reaches the terminal raw.
TEST(CliShell, NamesAreCheckedAndPrintedEscaped) {
  TempFolder dir;
  const std::string file = newProject(dir);
  const std::string longest(1024, 'n');
  std::string script = "track add midi ok\n";
  const std::string refused[] = {
      std::string("track add midi \"a\0b\"\n", 21), "track rename 1 " + std::string(1025, 'n') + "\n",
      "marker add 1.1.1.0 \"\xFF\xFE bad\"\n",
      "part add 1 1.1.1.0 2.1.1.0 \"\xC0\xAF\"\n",  // an overlong '/'
  };
  for (const std::string& line : refused) script += line;
  script += "track rename 1 " + std::string(3 << 20, 'n') + "\n";  // 3 MB: refused whole
  script += "track rename 1 " + longest + "\nsave\n";
  const auto r = runVantor({"shell", file}, script);
  EXPECT_EQ(r.status, 1);
  for (const char* why : {"a name may not hold a NUL character", "a name may be at most 1024 bytes long",
                          "a name must be UTF-8 text", "the line is longer than 1048576 bytes"}) {
    EXPECT_NE(r.err.find(std::string("error: ") + why), std::string::npos) << why << r.err;
  }
  const json j = info(file);
  ASSERT_EQ(j["tracks"].size(), 1u);
  EXPECT_EQ(j["tracks"][0]["name"], longest);
  EXPECT_TRUE(j["markers"].empty());

  // A name with a line break and terminal escapes cannot forge a line.
  const std::string forged = "x\n2  MIDI  \"forged\"\x1B[2J\xC2\x9B";
  ASSERT_EQ(runVantor({"edit", file, "-e", "track rename 1 '" + forged + "'"}).status, 0);
  EXPECT_EQ(info(file)["tracks"][0]["name"], forged);
  const std::string shown = "\"x\\n2  MIDI  \\\"forged\\\"\\x1B[2J\\u009B\"";
  const auto listed = runVantor({"shell", file}, "tracks\n");
  EXPECT_EQ(listed.out, "1  MIDI  " + shown + "  0 parts\n");
  const auto text = runVantor({"info", file});
  EXPECT_NE(text.out.find("1. MIDI " + shown + ", 0 parts\n"), std::string::npos) << text.out;
}

TEST(CliShell, SaveAsRefusesDevicesAndAsksBeforeReplacingAnotherFile) {
  TempFolder dir;
  const std::string file = newProject(dir);
  const std::string other = newProject(dir, "other.vpr");
  const std::string original = slurp(other);
  const std::string fifo = (dir / "pipe").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
  const auto r = runVantor({"shell", file}, "track add midi A\nsave as " + fifo + "\nsave as " + other + "\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("It is not a regular file"), std::string::npos) << r.err;
  EXPECT_TRUE(std::filesystem::is_fifo(fifo));
  // A script is refused what cannot be undone unless --yes is given.
  EXPECT_NE(r.err.find("exists and will be replaced.\nAre you sure? You can not undo this!\n(answered: No)"),
            std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find("error: not done (a script allows it with --yes)"), std::string::npos) << r.err;
  EXPECT_EQ(slurp(other), original);
  const auto yes = runVantor({"--yes", "shell", file}, "track add midi A\nsave as " + other + "\n");
  EXPECT_EQ(yes.status, 0) << yes.err;
  EXPECT_EQ(info(other)["tracks"].size(), 1u);
}

TEST(CliShell, ReadingAMovedProjectOnlyNotesIt) {
  TempFolder dir;
  const std::string file = newProject(dir);
  std::filesystem::create_directory(dir / "moved");
  const std::string moved = (dir / "moved" / "s.vpr").string();
  std::filesystem::copy_file(file, moved);
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"info", moved}, {"time", moved, "2.1.1.0"}, {"info", moved, "--json"}}) {
    const auto r = runVantor(args);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "Note: the project file has been moved; its working directory is still \"" +
                         std::filesystem::weakly_canonical(dir.path()).string() + "\".\n");
  }
  // A session that will save asks (a script takes the default).
  const auto edit = runVantor({"shell", moved}, "quit\n");
  EXPECT_NE(edit.err.find("The project file has been moved!\nPlease confirm"), std::string::npos) << edit.err;
}

// Two writers of one project at once: the second is refused while the first
// has the project open, and the file is always a complete project.
TEST(CliShell, ConcurrentEditsNeverDamageTheProject) {
  TempFolder dir;
  const std::string file = newProject(dir);
  const std::string vantor = test::quoteArgument(VANTOR_BINARY);
  const std::string quotedFile = test::quoteArgument(file);
  for (int round = 0; round < 12; ++round) {
    ASSERT_EQ(runVantor({"new", file, "--force"}).status, 0);
    const std::string outA = (dir / "a.err").string();
    const std::string outB = (dir / "b.err").string();
    const std::string command = "(" + vantor + " edit " + quotedFile + " -e 'track add midi A' 2>" + outA +
                                "; echo $? >>" + outA + ") & (" + vantor + " edit " + quotedFile +
                                " -e 'track add audio B' 2>" + outB + "; echo $? >>" + outB + ") & wait";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const json project = info(file);
    std::vector<std::string> names;
    for (const json& t : project["tracks"]) names.push_back(t["name"].get<std::string>());
    using Names = std::vector<std::string>;
    const Names a{"A"}, b{"B"}, ab{"A", "B"}, ba{"B", "A"};
    EXPECT_TRUE(names == a || names == b || names == ab || names == ba) << round << " " << names.size();
    for (const std::string& err : {slurp(outA), slurp(outB)}) {
      if (err == "0\n") continue;
      EXPECT_EQ(err, "The project file \"" + file +
                         "\" is open in another session!\nIt can not be written until that session ends.\n1\n");
    }
  }
  EXPECT_FALSE(std::filesystem::exists(dir / ".s.vpr.lock"));
}

}  // namespace
}  // namespace vantor
