#include "document/PSafeFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "DocumentTestSupport.h"

namespace vantor {
namespace {

using test::Bytes;
using test::TempDir;

PSafeFile::Writer textWriter(std::string text) {
  return [text](FStream& s) { return s.writeRaw(text.data(), static_cast<int64_t>(text.size())); };
}

TEST(PSafeFile, TemporaryFilesLieHiddenBesideTheTarget) {
  EXPECT_EQ(PSafeFile::temporaryPatternFor("/a/b/song.vpr"), "/a/b/.song.vpr.XXXXXX.tmp");
  EXPECT_EQ(PSafeFile::temporaryPatternFor("song.vpr"), ".song.vpr.XXXXXX.tmp");
  EXPECT_TRUE(PSafeFile::isTemporaryOf(".song.vpr.a1B2c3.tmp", "/a/song.vpr"));
  for (const char* other : {".song.vpr.tmp", "song.vpr.a1B2c3.tmp", ".song.vpr.a1B2c3", ".sing.vpr.a1B2c3.tmp"}) {
    EXPECT_FALSE(PSafeFile::isTemporaryOf(other, "/a/song.vpr")) << other;
  }
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
  EXPECT_FALSE(test::temporaryLeftFor(target));
  // A new file gets the usual mode of new files, not mkstemp's private one.
  const mode_t mask = ::umask(022);
  const std::string fresh = dir.file("fresh");
  ASSERT_TRUE(PSafeFile::write(fresh, textWriter("x"), &error)) << error;
  ::umask(mask);
  EXPECT_EQ(test::modeOf(fresh), 0644u);
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
  EXPECT_FALSE(test::temporaryLeftFor(target));

  // The temporary file cannot be created.
  {
    test::TemporaryFailure full(ENOSPC);
    error.clear();
    EXPECT_FALSE(PSafeFile::write(target, textWriter("new"), &error));
  }
  EXPECT_EQ(error, "open: No space left on device");
  EXPECT_EQ(test::readFile(target), before);
  error.clear();
  EXPECT_FALSE(PSafeFile::write(dir.file("no-folder/data"), textWriter("new"), &error));
  EXPECT_EQ(error, "open: No such file or directory");

  // The rename fails: the target is a folder.
  const std::string folder = dir.file("folder");
  std::filesystem::create_directory(folder);
  EXPECT_FALSE(PSafeFile::write(folder, textWriter("new"), &error));
  EXPECT_NE(error.find("rename"), std::string::npos) << error;
  EXPECT_TRUE(PSafeFile::isDirectory(folder));
  EXPECT_FALSE(test::temporaryLeftFor(folder));

  // A FIFO (or a device) is never replaced by a regular file.
  const std::string fifo = dir.file("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
  EXPECT_TRUE(PSafeFile::isSpecial(fifo));
  EXPECT_FALSE(PSafeFile::isSpecial(target));
  EXPECT_FALSE(PSafeFile::write(fifo, textWriter("new"), &error));
  EXPECT_NE(error.find("not a regular file"), std::string::npos) << error;
  struct stat info {};
  ASSERT_EQ(::lstat(fifo.c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
  EXPECT_FALSE(test::temporaryLeftFor(fifo));
}

// Writers that share a target never share a temporary file: whatever order
// their steps interleave in, the target is always one writer's whole content.
TEST(PSafeFile, WritersAtOnceLeaveOneCompleteVersion) {
  TempDir dir;
  const std::string target = dir.file("data");
  const std::string a(300000, 'a');
  const std::string b(200000, 'b');
  std::string first;
  std::string second;
  std::string error;
  ASSERT_TRUE(PSafeFile::writeTemporary(target, textWriter(a), &first, &error));
  ASSERT_TRUE(PSafeFile::writeTemporary(target, textWriter(b), &second, &error));
  EXPECT_NE(first, second);
  ASSERT_TRUE(PSafeFile::commit(second, target, &error));
  EXPECT_EQ(test::readText(target), b);
  ASSERT_TRUE(PSafeFile::commit(first, target, &error));
  EXPECT_EQ(test::readText(target), a);

  std::vector<std::thread> writers;
  for (const std::string* content : {&a, &b}) {
    writers.emplace_back([&target, content] {
      for (int i = 0; i < 20; ++i) {
        std::string threadError;
        EXPECT_TRUE(PSafeFile::write(target, textWriter(*content), &threadError)) << threadError;
      }
    });
  }
  for (int i = 0; i < 40; ++i) {
    const std::string now = test::readText(target);
    EXPECT_TRUE(now == a || now == b) << now.size();
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_FALSE(test::temporaryLeftFor(target));
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
