// The missing-file resolver on a real folder tree: locating by hand with
// the handlers' refusals, searching through the filter table and by name
// with a deterministic choice, a symbolic-link loop, skipping, and the
// report when every file is found.

#include "audio/pool/PMissingFileResolver.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "audio/AudioTestSupport.h"
#include "audio/pool/PFileSearch.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

class PMissingFileResolverTest : public ::testing::Test {
 protected:
  // Writes a short 16-bit WAVE file at dir/relative, making its folders.
  std::string audio(const std::string& relative) {
    const std::string path = dir.file(relative);
    fs::create_directories(fs::path(path).parent_path());
    EXPECT_TRUE(test::writeOurs(path, test::makeFile("WAVE", 44100, 1, 16, SampleType::kInteger), {0.5f, -0.5f}));
    return path;
  }
  std::string text(const std::string& relative) {
    const std::string path = dir.file(relative);
    fs::create_directories(fs::path(path).parent_path());
    test::writeBytes(path, {'n', 'o', 't', ' ', 'a', 'u', 'd', 'i', 'o'});
    return path;
  }
  std::vector<std::string> errors() const {
    std::vector<std::string> out;
    for (const auto& m : messages.messages()) out.push_back(m.text);
    return out;
  }

  test::TempDir dir;
  FCapturedMessages messages;
};

TEST_F(PMissingFileResolverTest, LocateChecksTheFileWithTheHandlers) {
  const std::string good = audio("new/take.wav");
  const std::string bad = text("new/take.txt");
  PMissingFileResolver resolver({"/gone/take.wav", "/gone/other.wav"}, checkAudioFile, messages);

  EXPECT_FALSE(resolver.locate("/gone/take.wav", dir.file("new/nothing.wav")));
  EXPECT_FALSE(resolver.locate("/gone/take.wav", dir.file("new")));  // a folder is no file
  EXPECT_FALSE(resolver.locate("/gone/take.wav", bad));
  EXPECT_EQ(errors(),
            (Paths{"Error: Can not open file!", "Error: Can not open file!", "Error: Invalid or unsupported file!"}));
  EXPECT_TRUE(resolver.resolved().empty());
  EXPECT_EQ(resolver.unresolved(), (Paths{"/gone/take.wav", "/gone/other.wav"}));

  messages.clear();
  EXPECT_FALSE(resolver.locate("/not/missing.wav", good));
  EXPECT_TRUE(resolver.locate("/gone/take.wav", good));
  EXPECT_FALSE(resolver.locate("/gone/take.wav", good));  // resolved already
  EXPECT_TRUE(messages.messages().empty());
  EXPECT_TRUE(resolver.skip("/gone/other.wav"));
  EXPECT_EQ(resolver.skipped(), (Paths{"/gone/other.wav"}));
  EXPECT_FALSE(resolver.allResolved());
  // A skipped file can still be located; then every file is found.
  EXPECT_TRUE(resolver.locate("/gone/other.wav", good));
  EXPECT_TRUE(resolver.skipped().empty());
  EXPECT_TRUE(resolver.allResolved());
  EXPECT_EQ(errors(), (Paths{"all files resolved!"}));
  EXPECT_EQ(resolver.resolved(),
            (std::map<std::string, std::string>{{"/gone/take.wav", good}, {"/gone/other.wav", good}}));
}

TEST_F(PMissingFileResolverTest, SearchPrefersTheTableThenTheShallowestSmallestMatch) {
  // take.wav lies at three places; the table points at the deepest one.
  audio("lib/z/take.wav");
  const std::string viaTable = audio("lib/a/b/take.wav");
  audio("lib/y/take.wav");
  const std::string loop = audio("lib/m/loop.wav");
  audio("lib/deep/er/loop.wav");
  text("lib/a/hit.wav");  // the name matches, the contents do not
  const std::string hit = audio("lib/b/c/hit.wav");
  PPathFilterTable table;
  table.add({"C:\\Projects", "", 0, 0});  // rest "a/b/take.wav" under lib

  PMissingFileResolver resolver(
      {"C:\\Projects\\a\\b\\take.wav", "/old/m2/loop.wav", "/old/hit.wav", "/old/none.wav", "/old/skip.wav"},
      checkAudioFile, messages);
  ASSERT_TRUE(resolver.skip("/old/skip.wav"));
  EXPECT_EQ(resolver.search(dir.file("lib"), table), 3);
  EXPECT_EQ(resolver.resolved(), (std::map<std::string, std::string>{
                                     {"C:\\Projects\\a\\b\\take.wav", viaTable},
                                     {"/old/m2/loop.wav", loop},
                                     {"/old/hit.wav", hit},
                                 }));
  EXPECT_EQ(resolver.unresolved(), (Paths{"/old/none.wav"}));
  EXPECT_TRUE(messages.messages().empty());

  // Without the table row, by name: the shallowest, then the smaller path.
  PMissingFileResolver again({"/x/take.wav"}, checkAudioFile, messages);
  EXPECT_EQ(again.search(dir.file("lib"), PPathFilterTable{}), 1);
  EXPECT_EQ(again.resolved().at("/x/take.wav"), dir.file("lib/y/take.wav"));
  EXPECT_EQ(errors(), (Paths{"all files resolved!"}));

  messages.clear();
  EXPECT_EQ(again.search(dir.file("lib/y/take.wav"), PPathFilterTable{}), 0);
  EXPECT_EQ(resolver.search(dir.file("no such folder"), table), 0);
  EXPECT_EQ(errors(), (Paths{"Error: Can not open folder!", "Error: Can not open folder!"}));
}

TEST_F(PMissingFileResolverTest, TheWalkEndsInLinkLoopsAndAtItsBounds) {
  audio("tree/a/take.wav");
  fs::create_directory_symlink(dir.file("tree"), dir.file("tree/a/up"));  // tree/a/up/a/up/... forever
  fs::create_directory_symlink(dir.file("tree/a"), dir.file("tree/side"));
  const PFileSearchResult result = PFileSearch::findByName(dir.file("tree"), {"take.wav"});
  EXPECT_FALSE(result.cutShort);
  // tree/a is entered once, by the path met first in sorted order.
  EXPECT_EQ(result.found.at("take.wav"), (Paths{dir.file("tree/a/take.wav")}));

  audio("deep/1/2/3/take.wav");
  EXPECT_TRUE(PFileSearch::findByName(dir.file("deep"), {"take.wav"}, 2).cutShort);
  EXPECT_EQ(PFileSearch::findByName(dir.file("deep"), {"take.wav"}, 3).found.at("take.wav").size(), 1u);
  EXPECT_TRUE(PFileSearch::findByName(dir.file("deep"), {"take.wav"}, 64, 3).cutShort);
  EXPECT_TRUE(PFileSearch::findByName(dir.file("absent"), {"take.wav"}).found.empty());
}

}  // namespace
}  // namespace vantor
