#include "document/PSafeFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "DocumentTestSupport.h"

namespace vantor {
namespace {

using test::Bytes;
using test::TempDir;

PSafeFile::Writer textWriter(std::string text) {
  return [text](FStream& s) { return s.writeRaw(text.data(), static_cast<int64_t>(text.size())); };
}

TEST(PSafeFile, TemporaryFileLiesHiddenBesideTheTarget) {
  EXPECT_EQ(PSafeFile::temporaryPathFor("/a/b/song.vpr"), "/a/b/.song.vpr.tmp");
  EXPECT_EQ(PSafeFile::temporaryPathFor("song.vpr"), ".song.vpr.tmp");
  EXPECT_EQ(PSafeFile::folderOf("/a/b/song.vpr"), "/a/b");
  EXPECT_EQ(PSafeFile::folderOf("song.vpr"), ".");
}

TEST(PSafeFile, WriteReplacesTheTargetKeepsItsModeAndLeavesNoTemporary) {
  TempDir dir;
  const std::string target = dir.file("data");
  test::writeText(target, "old content that is longer");
  ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
  std::string error;
  ASSERT_TRUE(PSafeFile::write(target, textWriter("new"), &error)) << error;
  EXPECT_EQ(test::readText(target), "new");
  EXPECT_EQ(test::modeOf(target), 0640u);
  EXPECT_FALSE(PSafeFile::exists(PSafeFile::temporaryPathFor(target)));
}

TEST(PSafeFile, EveryFailureLeavesTheTargetByteForByte) {
  TempDir dir;
  const std::string target = dir.file("data");
  const Bytes before = {'k', 'e', 'e', 'p', 0, 0xFF};
  test::writeFile(target, before);
  std::string error;

  // The writer fails half way.
  EXPECT_FALSE(PSafeFile::write(
      target, [](FStream& s) { return s.writeRaw("partial", 7) && false; }, &error));
  EXPECT_EQ(test::readFile(target), before);
  EXPECT_FALSE(PSafeFile::exists(PSafeFile::temporaryPathFor(target)));

  // The temporary file cannot be created.
  std::filesystem::create_directory(PSafeFile::temporaryPathFor(target));
  error.clear();
  EXPECT_FALSE(PSafeFile::write(target, textWriter("new"), &error));
  EXPECT_NE(error.find("Is a directory"), std::string::npos) << error;
  EXPECT_EQ(test::readFile(target), before);
  std::filesystem::remove(PSafeFile::temporaryPathFor(target));

  // The rename fails: the target is a folder.
  const std::string folder = dir.file("folder");
  std::filesystem::create_directory(folder);
  EXPECT_FALSE(PSafeFile::write(folder, textWriter("new"), &error));
  EXPECT_NE(error.find("rename"), std::string::npos) << error;
  EXPECT_TRUE(PSafeFile::isDirectory(folder));
  EXPECT_FALSE(PSafeFile::exists(PSafeFile::temporaryPathFor(folder)));
}

TEST(PSafeFile, StaleTemporaryFileIsReplacedNotWrittenThrough) {
  TempDir dir;
  const std::string target = dir.file("data");
  const std::string victim = dir.file("victim");
  test::writeText(victim, "untouched");
  ASSERT_EQ(::symlink(victim.c_str(), PSafeFile::temporaryPathFor(target).c_str()), 0);
  std::string error;
  ASSERT_TRUE(PSafeFile::write(target, textWriter("new"), &error)) << error;
  EXPECT_EQ(test::readText(target), "new");
  EXPECT_EQ(test::readText(victim), "untouched");
}

TEST(PSafeFile, SavingThroughALinkReplacesTheLinkedFile) {
  TempDir dir;
  const std::string real = dir.file("real");
  const std::string link = dir.file("link");
  test::writeText(real, "old");
  ASSERT_EQ(::symlink(real.c_str(), link.c_str()), 0);
  const std::string resolved = PSafeFile::resolveLink(link);
  EXPECT_EQ(resolved, real);
  EXPECT_EQ(PSafeFile::resolveLink(real), real);
  std::string error;
  ASSERT_TRUE(PSafeFile::write(resolved, textWriter("new"), &error));
  EXPECT_EQ(test::readText(link), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST(PSafeFile, ReadOnlyMeansNoWriteBitEvenForTheSuperUser) {
  TempDir dir;
  const std::string file = dir.file("file");
  test::writeText(file, "x");
  const struct {
    mode_t mode;
    bool readOnly;
  } cases[] = {{0644, false}, {0444, true}, {0400, true}, {0200, false}, {0000, true}, {0002, false}};
  for (const auto& c : cases) {
    ASSERT_EQ(::chmod(file.c_str(), c.mode), 0);
    EXPECT_EQ(PSafeFile::isReadOnly(file), c.readOnly) << std::oct << c.mode;
  }
  const std::string folder = dir.file("folder");
  std::filesystem::create_directory(folder);
  EXPECT_FALSE(PSafeFile::isReadOnly(folder));
  ASSERT_EQ(::chmod(folder.c_str(), 0555), 0);
  EXPECT_TRUE(PSafeFile::isReadOnly(folder));
  EXPECT_FALSE(PSafeFile::isReadOnly(dir.file("missing")));
}

}  // namespace
}  // namespace vantor
