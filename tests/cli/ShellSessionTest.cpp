// A shell session driven in this process with a clock that moves only when
// told: automatic saves and backups as a session makes them.

#include "cli/ShellSession.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <sstream>

#include "CliTestSupport.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"

namespace vantor {
namespace {

using nlohmann::json;
using test::runVantor;
using test::TempFolder;

constexpr int64_t kMinute = 60 * 1000;

class ShellSessionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeDocument();
    ASSERT_TRUE(context.preferences.load((dir / "preferences").string()));
    ASSERT_EQ(runVantor({"new", file}).status, 0);
  }

  std::vector<std::string> trackNames(const std::string& path) {
    const auto r = runVantor({"info", path, "--json"});
    EXPECT_EQ(r.status, 0) << path << r.err;
    const json project = json::parse(r.out);
    std::vector<std::string> names;
    for (const json& t : project["tracks"]) names.push_back(t["name"].get<std::string>());
    return names;
  }

  TempFolder dir;
  const std::string file = (dir / "song.vpr").string();
  const std::string autoSave = (dir / "song.autosave.vpr").string();
  std::ostringstream out;
  std::ostringstream err;
  cli::CliContext context{out, err};
  FManualClock clock{0};
};

TEST_F(ShellSessionTest, AutoSavesByTheIntervalAndBacksUpOnRequest) {
  ASSERT_TRUE(context.preferences.set("Auto Save", "on"));
  ASSERT_TRUE(context.preferences.set("Auto Save Interval", "2"));
  PDocument document(context.messages, context.preferences);
  ASSERT_TRUE(cli::openProject(context, document, file, cli::OpenPurpose::kEdit));
  cli::ShellSession session(context, document, clock);
  ASSERT_TRUE(session.execute("track add midi A"));  // the interval counts from here
  clock.advance(2 * kMinute - 1);
  ASSERT_TRUE(session.execute("tracks"));
  EXPECT_FALSE(std::filesystem::exists(autoSave));
  clock.advance(1);
  session.idle();  // a terminal session waiting at its prompt
  ASSERT_TRUE(std::filesystem::exists(autoSave));
  // The automatic save is a project that info reads; the project file is
  // untouched (what else a save does is the document's, tested there).
  EXPECT_EQ(trackNames(autoSave), std::vector<std::string>{"A"});
  EXPECT_TRUE(trackNames(file).empty());

  ASSERT_TRUE(session.execute("track add audio B"));
  ASSERT_TRUE(session.execute("save backup"));
  EXPECT_EQ(trackNames(file + ".bak"), (std::vector<std::string>{"A", "B"}));
  EXPECT_NE(out.str().find("saved backup " + file + ".bak\n"), std::string::npos) << out.str();
}

// While a session has the project, edits and other sessions are refused
// and the file stays as it was; once it ends, they work again.
TEST_F(ShellSessionTest, AnOpenSessionHoldsTheProject) {
  const std::string before = test::slurp(file);
  {
    PDocument document(context.messages, context.preferences);
    ASSERT_TRUE(cli::openProject(context, document, file, cli::OpenPurpose::kEdit));
    const std::string inUse = "The project file \"" + file +
                              "\" is open in another session!\nIt can not be written until that session ends.\n";
    for (const std::vector<std::string>& args : {std::vector<std::string>{"edit", file, "-e", "track add midi X"},
                                                 {"shell", file},
                                                 {"new", file, "--force"}}) {
      const auto r = runVantor(args, "track add midi Y\nsave\n");
      EXPECT_EQ(r.status, 1) << args[0];
      EXPECT_EQ(r.err, inUse) << args[0];
    }
    EXPECT_EQ(runVantor({"info", file}).status, 0);  // readers take no lock
    EXPECT_EQ(test::slurp(file), before);
  }
  EXPECT_EQ(runVantor({"edit", file, "-e", "track add midi X"}).status, 0);
  EXPECT_EQ(trackNames(file), std::vector<std::string>{"X"});
}

}  // namespace
}  // namespace vantor
