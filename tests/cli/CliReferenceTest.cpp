// The man page and the bash completion are written by the program from its
// own subcommands and verbs; the README is written by hand. These tests
// hold the three together, and check the roff the page is made of.

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "cli/CliTestSupport.h"
#include "cli/ManPage.h"

namespace vantor::test {
namespace {

const std::string kTemplate = std::string(VANTOR_SOURCE_DIR) + "/docs/vantor.1.in";

std::set<std::string> matches(const std::string& text, const std::regex& pattern) {
  std::set<std::string> found;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), pattern); it != std::sregex_iterator(); ++it) {
    found.insert((*it)[1]);
  }
  return found;
}

// The subcommands `vantor --help` lists: the first word of each line
// after "Subcommands:".
std::set<std::string> subcommandsInHelp(const std::string& help) {
  std::set<std::string> names;
  std::istringstream lines(help.substr(help.find("\nSubcommands:\n") + 1));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && line.rfind("  ", 0) == 0) {
    std::istringstream words(line);
    std::string name;
    words >> name;
    names.insert(name);
  }
  return names;
}

TEST(CliReference, ManPageHelpAndReadmeNameTheSameSubcommands) {
  RunResult man = runVantor({"--man-page", kTemplate});
  ASSERT_EQ(man.status, 0) << man.err;
  man.out = std::regex_replace(man.out, std::regex(R"(\\-)"), "-");
  const RunResult help = runVantor({"--help"});
  ASSERT_EQ(help.status, 0);
  const std::string readme = slurp(std::string(VANTOR_SOURCE_DIR) + "/README.md");

  // ".SS import-midi" in the page; "- `vantor import-midi FILE ...`" in the README.
  const std::set<std::string> inPage = matches(man.out, std::regex(R"(\n\.SS ([^\n]+))"));
  const std::set<std::string> inReadme = matches(readme, std::regex(R"(\n- `vantor ([a-z][a-z-]*))"));
  const std::set<std::string> inHelp = subcommandsInHelp(help.out);
  EXPECT_GT(inHelp.size(), 10u);
  EXPECT_EQ(inPage, inHelp);
  EXPECT_EQ(inReadme, inHelp) << "README.md's list of subcommands differs from the program's";

  // Every placeholder was replaced, and the hidden options stay hidden.
  EXPECT_EQ(man.out.find("\n@"), std::string::npos);
  EXPECT_EQ(man.out.find("@VERSION@"), std::string::npos);
  EXPECT_EQ(help.out.find("--man-page"), std::string::npos);
}

TEST(CliReference, ManPageAndReadmeNameEveryShellVerb) {
  TempFolder dir;
  const std::string project = (dir / "p.vpr").string();
  ASSERT_EQ(runVantor({"new", project}).status, 0);
  const RunResult help = runVantor({"shell", project}, "help\n");
  ASSERT_EQ(help.status, 0);
  const RunResult man = runVantor({"--man-page", kTemplate});
  const std::string readme = slurp(std::string(VANTOR_SOURCE_DIR) + "/README.md");

  // `help` lists each verb as "  name usage" over "      summary".
  const std::set<std::string> verbs =
      matches(help.out, std::regex(R"((?:^|\n)  ([a-z-]+(?: [a-z-]+)?)(?: [^\n]*)?\n      )"));
  EXPECT_GT(verbs.size(), 40u);
  for (const std::string& verb : verbs) {
    const std::string roff = cli::roffText(verb);
    EXPECT_NE(man.out.find(".TP\n\\fB" + roff + "\\fR"), std::string::npos) << "the man page lacks " << verb;
    EXPECT_NE(readme.find("`" + verb), std::string::npos) << "README.md's table lacks " << verb;
  }
}

TEST(CliReference, RoffTextShowsEveryCharacterLiterally) {
  struct Case {
    const char* text;
    const char* roff;
  } cases[] = {
      {"--tempo", "\\-\\-tempo"},  {".vpr files", "\\&.vpr files"},  // a leading dot would be a request
      {"'quoted'", "\\&'quoted'"}, {"a\\b", "a\\eb"},
      {"1:02.250", "1:02.250"},
  };
  for (const Case& c : cases) EXPECT_EQ(cli::roffText(c.text), c.roff) << c.text;
}

TEST(CliReference, AnUnreadableTemplateIsAUsageError) {
  const RunResult r = runVantor({"--man-page", "/nonexistent/vantor.1.in"});
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(r.out.empty());
  EXPECT_NE(r.err.find("cannot read"), std::string::npos);
}

}  // namespace
}  // namespace vantor::test
