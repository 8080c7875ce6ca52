// Saving: failures, read-only files, files that cannot be replaced, backups.

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

#include "PDocumentTestSupport.h"
#include "document/PProjectLock.h"
#include "document/PSafeFile.h"

namespace vantor {
namespace {

using test::Bytes;
using Severity = FUserMessages::Severity;

class PDocumentSave : public test::DocumentTest {};

constexpr const char* kUnchanged = "\nThe previous version of the project has been left unchanged.";

TEST_F(PDocumentSave, AFailedWriteLeavesThePreviousFileByteForByte) {
  const std::string path = savedProject("song.vpr");
  const Bytes before = test::readFile(path);
  PDocument doc(messages, prefs);
  doc.setProgressHandler([](std::string_view) {});
  ASSERT_TRUE(doc.open(path));
  ASSERT_TRUE(doc.devices()->setSampleRate(96000));
  doc.markModified();
  messages.clear();
  {
    // The disk is full: the temporary file cannot be made.
    test::TemporaryFailure full(ENOSPC);
    EXPECT_FALSE(doc.save());
  }
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].severity, Severity::kError);
  EXPECT_EQ(messages.messages()[0].text,
            "Can not write project file \"" + path + "\" !\nopen: No space left on device" + kUnchanged);
  EXPECT_EQ(test::readFile(path), before);
  EXPECT_TRUE(doc.isModified());
  EXPECT_EQ(doc.path(), path);

  // Once the obstacle is gone the same document saves.
  ASSERT_TRUE(doc.save());
  EXPECT_NE(test::readFile(path), before);
  EXPECT_FALSE(doc.isModified());
}

TEST_F(PDocumentSave, AFolderThatCannotHoldFilesFailsTheSave) {
  test::writeText(dir.file("regular"), "a file, not a folder");
  const std::string path = dir.file("regular/song.vpr");
  PDocument doc(messages, prefs);
  fill(doc);
  EXPECT_FALSE(doc.save(path));
  ASSERT_EQ(messages.messages().size(), 1u);
  const std::string& text = messages.messages()[0].text;
  EXPECT_EQ(text.rfind("Can not write project file \"" + path + "\" !\nopen: Not a directory", 0), 0u) << text;
  EXPECT_EQ(text.substr(text.size() - std::string(kUnchanged).size()), kUnchanged);
  EXPECT_EQ(test::readText(dir.file("regular")), "a file, not a folder");
  EXPECT_EQ(doc.path(), "");
  // The working directory did not follow the failed save.
  EXPECT_EQ(doc.workingDirectory(), "");
}

// A read-only project asks: Cancel (also the default) leaves it alone, a new
// file takes the next free name, and overwriting keeps the file read only.
TEST_F(PDocumentSave, AReadOnlyFileAsksToCancelWriteANewFileOrOverwrite) {
  const std::string path = savedProject("song.vpr");
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  test::writeText(dir.file("song-1.vpr"), "taken");
  const Bytes before = test::readFile(path);
  PDocument doc(messages, prefs);
  fill(doc);
  messages.clear();
  EXPECT_FALSE(doc.save(path));  // no answer queued
  ASSERT_EQ(messages.questions().size(), 1u);
  EXPECT_EQ(messages.questions()[0],
            "The project file is read only!\nDo you want to overwrite it or create a new file?");
  EXPECT_TRUE(messages.messages().empty());
  messages.queueAnswer(PDocument::kCancel);
  EXPECT_FALSE(doc.save(path));
  EXPECT_EQ(test::readFile(path), before);
  EXPECT_EQ(doc.path(), "");

  messages.queueAnswer(PDocument::kNewFile);
  ASSERT_TRUE(doc.save(path));
  EXPECT_EQ(test::readFile(path), before);
  EXPECT_EQ(test::readText(dir.file("song-1.vpr")), "taken");
  EXPECT_EQ(doc.path(), dir.file("song-2.vpr"));
  PDocument newFile(messages, prefs);
  ASSERT_TRUE(newFile.open(dir.file("song-2.vpr")));
  EXPECT_EQ(newFile.devices()->sampleRate(), 44100);

  ASSERT_TRUE(doc.devices()->setSampleRate(88200));
  messages.queueAnswer(PDocument::kOverwrite);
  ASSERT_TRUE(doc.save(path));
  EXPECT_EQ(messages.questions().size(), 4u);
  EXPECT_EQ(test::modeOf(path), 0444u);
  EXPECT_EQ(doc.path(), path);
  PDocument back(messages, prefs);
  ASSERT_TRUE(back.open(path));
  EXPECT_EQ(back.devices()->sampleRate(), 88200);
}

TEST_F(PDocumentSave, AProjectThatCannotBeReplacedIsStoredAsANewFile) {
  // A folder holds the project's name: nothing can be renamed over it.
  const std::string path = dir.file("song.vpr");
  std::filesystem::create_directory(path);
  test::writeText(path + "/inside", "x");
  PDocument doc(messages, prefs);
  fill(doc);
  ASSERT_TRUE(doc.save(path));
  const std::string stored = dir.file("song-1.vpr");
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].severity, Severity::kWarning);
  EXPECT_EQ(messages.messages()[0].text,
            "The project could not be replaced!\nIt has been stored as new file \"" + stored + "\" instead!");
  EXPECT_EQ(doc.path(), stored);
  EXPECT_FALSE(doc.isModified());
  EXPECT_TRUE(PSafeFile::isDirectory(path));
  EXPECT_FALSE(test::temporaryLeftFor(path));
  PDocument back(messages, prefs);
  ASSERT_TRUE(back.open(stored));
  EXPECT_EQ(back.project()->getTrackList()->count(), 1u);
}

TEST_F(PDocumentSave, SavingUnderAnotherNameMovesAWorkingDirectoryThatFollowedTheFile) {
  std::filesystem::create_directory(dir.file("a"));
  std::filesystem::create_directory(dir.file("b"));
  std::filesystem::create_directory(dir.file("elsewhere"));
  PDocument doc(messages, prefs);
  fill(doc);
  ASSERT_TRUE(doc.save(dir.file("a/song.vpr")));
  EXPECT_EQ(doc.workingDirectory(), real(dir.file("a")));
  ASSERT_TRUE(doc.save(dir.file("b/copy.vpr")));
  EXPECT_EQ(doc.workingDirectory(), real(dir.file("b")));
  // A folder chosen by the user stays where it is.
  ASSERT_TRUE(doc.setWorkingDirectory(dir.file("elsewhere")));
  ASSERT_TRUE(doc.save(dir.file("a/song.vpr")));
  EXPECT_EQ(doc.workingDirectory(), real(dir.file("elsewhere")));
}

TEST_F(PDocumentSave, BackupHoldsTheSameProjectBesideTheFileOrReportsWhyNot) {
  PDocument untitled(messages, prefs);
  EXPECT_FALSE(untitled.saveBackup());
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].text, "The project has not been saved yet!\nSave it before making a backup.");

  const std::string path = savedProject("song.vpr");
  const std::string backup = dir.file("song.vpr.bak");
  PDocument doc(messages, prefs);
  doc.setProgressHandler([](std::string_view) {});
  ASSERT_TRUE(doc.open(path));
  ASSERT_TRUE(doc.saveBackup());
  EXPECT_EQ(test::readFile(backup), test::readFile(path));
  EXPECT_EQ(doc.path(), path);

  ASSERT_TRUE(doc.devices()->setSampleRate(32000));
  doc.markModified();
  const Bytes project = test::readFile(path);
  const Bytes first = test::readFile(backup);
  messages.clear();
  {
    test::TemporaryFailure full(ENOSPC);
    EXPECT_FALSE(doc.saveBackup());
  }
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].text,
            "Can not write project file \"" + backup + "\" !\nopen: No space left on device" + kUnchanged);
  EXPECT_EQ(test::readFile(backup), first);

  ASSERT_TRUE(doc.saveBackup());  // replaces the previous backup
  EXPECT_TRUE(doc.isModified());
  EXPECT_EQ(test::readFile(path), project);
  PDocument back(messages, prefs);
  ASSERT_TRUE(back.open(backup));
  EXPECT_EQ(back.devices()->sampleRate(), 32000);
}

// A project open for editing in one document is refused to every other
// writer, in this process or another (the lock is the system's flock).
TEST_F(PDocumentSave, AProjectOpenForEditingIsRefusedToOtherWriters) {
  const std::string path = savedProject("song.vpr");
  const Bytes before = test::readFile(path);
  const std::string inUse =
      "The project file \"" + path + "\" is open in another session!\nIt can not be written until that session ends.";
  // A lock file left by a program that crashed holds no lock.
  test::writeText(PProjectLock::lockPathFor(path), "99999\n");
  auto first = std::make_unique<PDocument>(messages, prefs);
  first->setProgressHandler([](std::string_view) {});
  ASSERT_TRUE(first->lockForEditing(path));
  ASSERT_TRUE(first->open(path));
  EXPECT_TRUE(PSafeFile::exists(PProjectLock::lockPathFor(path)));

  PDocument second(messages, prefs);
  second.setProgressHandler([](std::string_view) {});
  messages.clear();
  EXPECT_FALSE(second.lockForEditing(path));
  ASSERT_TRUE(second.open(path));  // reading needs no lock
  ASSERT_TRUE(second.devices()->setSampleRate(22050));
  EXPECT_FALSE(second.save());
  EXPECT_EQ(messages.messages().size(), 2u);
  EXPECT_TRUE(messages.contains(inUse));
  EXPECT_EQ(test::readFile(path), before);

  // The holder saves; saving under another name takes the lock along.
  ASSERT_TRUE(first->devices()->setSampleRate(48000));
  ASSERT_TRUE(first->save());
  const std::string other = dir.file("other.vpr");
  ASSERT_TRUE(first->save(other));
  EXPECT_FALSE(PSafeFile::exists(PProjectLock::lockPathFor(path)));
  EXPECT_TRUE(PSafeFile::exists(PProjectLock::lockPathFor(other)));
  EXPECT_TRUE(second.lockForEditing(path));
  messages.clear();
  EXPECT_FALSE(second.save(other));
  EXPECT_TRUE(messages.contains("The project file \"" + other +
                                "\" is open in another session!\nIt can not be written until that session ends."));
  first.reset();
  EXPECT_FALSE(PSafeFile::exists(PProjectLock::lockPathFor(other)));
  EXPECT_TRUE(second.save(other));
  EXPECT_TRUE(second.save(path));
}

TEST_F(PDocumentSave, DevicesAndPipesAreNeverReplacedAndDanglingLinksAreFollowed) {
  PDocument doc(messages, prefs);
  fill(doc);
  const std::string fifo = dir.file("pipe");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
  const std::string link = dir.file("to-pipe.vpr");
  ASSERT_EQ(::symlink(fifo.c_str(), link.c_str()), 0);
  for (const std::string& target : {fifo, link, std::string("/dev/null")}) {
    messages.clear();
    EXPECT_FALSE(doc.save(target)) << target;
    EXPECT_EQ(messages.messages().size(), 1u);
    EXPECT_TRUE(messages.contains("Can not write project file \"" + target +
                                  "\" !\nIt is not a regular file (a device, a pipe or a socket)."))
        << target;
  }
  struct stat info {};
  ASSERT_EQ(::stat(fifo.c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
  ASSERT_EQ(::stat("/dev/null", &info), 0);
  EXPECT_TRUE(S_ISCHR(info.st_mode));

  // A link to a file not yet there: the file is made, the link stays.
  const std::string dangling = dir.file("later.vpr");
  ASSERT_EQ(::symlink(dir.file("real.vpr").c_str(), dangling.c_str()), 0);
  ASSERT_TRUE(doc.save(dangling));
  EXPECT_TRUE(std::filesystem::is_symlink(dangling));
  EXPECT_TRUE(std::filesystem::is_regular_file(dir.file("real.vpr")));
}

}  // namespace
}  // namespace vantor
