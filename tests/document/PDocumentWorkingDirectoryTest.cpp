// The working directory of a project whose file has moved.

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "PDocumentTestSupport.h"

namespace vantor {
namespace {

using Severity = FUserMessages::Severity;

class PDocumentWorkingDirectory : public test::DocumentTest {
 protected:
  void SetUp() override {
    DocumentTest::SetUp();
    for (const char* name : {"old", "new", "locked", "chosen"}) std::filesystem::create_directory(dir.file(name));
    oldPath = dir.file("old/song.vpr");
    newPath = dir.file("new/song.vpr");
    PDocument doc(messages, prefs);
    fill(doc);
    ASSERT_TRUE(doc.save(oldPath));
    std::filesystem::copy_file(oldPath, newPath);
    messages.clear();
  }

  std::string movedQuestion() const {
    return "The project file has been moved!\nPlease confirm the project working directory!\n\n"
           "Document path is: " +
           newPath + "\n\nNew (1):\t" + real(dir.file("new")) + "\nOld (2):\t" + real(dir.file("old"));
  }

  std::string oldPath;
  std::string newPath;
};

// Opened where it was saved, or through a link to that file, the project
// has not moved.
TEST_F(PDocumentWorkingDirectory, AProjectInItsOwnFolderAsksNothing) {
  const std::string link = dir.file("chosen/link.vpr");
  ASSERT_EQ(::symlink(oldPath.c_str(), link.c_str()), 0);
  for (const std::string& path : {oldPath, link}) {
    PDocument doc(messages, prefs);
    ASSERT_TRUE(doc.open(path));
    EXPECT_TRUE(messages.questions().empty()) << path;
    EXPECT_EQ(doc.workingDirectory(), real(dir.file("old"))) << path;
    EXPECT_FALSE(doc.isModified());
  }
}

TEST_F(PDocumentWorkingDirectory, OpenedForReadingAMovedProjectOnlyGetsANote) {
  PDocument doc(messages, prefs);
  doc.setProgressHandler([](std::string_view) {});
  ASSERT_TRUE(doc.openForReading(newPath));
  EXPECT_TRUE(messages.questions().empty());
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].text,
            "Note: the project file has been moved; its working directory is still \"" + real(dir.file("old")) + "\".");
  EXPECT_EQ(doc.workingDirectory(), real(dir.file("old")));
  EXPECT_FALSE(doc.isModified());
}

// A moved project asks: the new folder is the default and marks the project
// changed; the old folder can be kept, and is kept through a save.
TEST_F(PDocumentWorkingDirectory, AMovedProjectAsksAndTheNewFolderIsTheDefault) {
  PDocument moved(messages, prefs);
  ASSERT_TRUE(moved.open(newPath));
  ASSERT_EQ(messages.questions().size(), 1u);
  EXPECT_EQ(messages.questions()[0], movedQuestion());
  EXPECT_EQ(moved.workingDirectory(), real(dir.file("new")));
  EXPECT_TRUE(moved.isModified());

  PDocument doc(messages, prefs);
  messages.queueAnswer(PDocument::kKeepOldDirectory);
  ASSERT_TRUE(doc.open(newPath));
  EXPECT_EQ(messages.questions().size(), 2u);
  EXPECT_EQ(doc.workingDirectory(), real(dir.file("old")));
  EXPECT_FALSE(doc.isModified());
  ASSERT_TRUE(doc.save());
  PDocument again(messages, prefs);
  messages.queueAnswer(PDocument::kKeepOldDirectory);
  ASSERT_TRUE(again.open(newPath));
  EXPECT_EQ(messages.questions().size(), 3u);
}

// A read-only new folder: the user is asked for folders until one is
// writable; cancelling the choice, or having no chooser, keeps the old one.
TEST_F(PDocumentWorkingDirectory, AReadOnlyNewFolderAsksForAnotherUntilAUsableOne) {
  ASSERT_EQ(::chmod(dir.file("new").c_str(), 0555), 0);
  ASSERT_EQ(::chmod(dir.file("locked").c_str(), 0555), 0);
  const struct {
    std::vector<std::optional<std::string>> offers;
    size_t messages;
    std::string folder;
  } rows[] = {
      {{dir.file("locked"), dir.file("chosen")}, 2, dir.file("chosen")},
      {{std::nullopt}, 1, dir.file("old")},
      {{}, 1, dir.file("old")},
  };
  for (const auto& row : rows) {
    messages.clear();
    PDocument doc(messages, prefs);
    doc.setProgressHandler([](std::string_view) {});
    size_t asked = 0;
    if (!row.offers.empty()) {
      doc.setDirectoryChooser([&]() -> std::optional<std::string> { return row.offers[asked++]; });
    }
    ASSERT_TRUE(doc.open(newPath));
    EXPECT_EQ(asked, row.offers.size());
    ASSERT_EQ(messages.messages().size(), row.messages) << row.folder;
    EXPECT_EQ(messages.messages()[0].severity, Severity::kWarning);
    EXPECT_EQ(messages.messages()[0].text,
              "The project has been moved to a location that is read only!\n"
              "Please select a new project working directory!");
    if (row.messages == 2) {
      EXPECT_EQ(messages.messages()[1].text, "The project directory is read only!\n\nPlease make a new selection!");
    }
    EXPECT_EQ(doc.workingDirectory(), real(row.folder));
  }
}

TEST_F(PDocumentWorkingDirectory, AChosenDirectoryMustBeWritable) {
  PDocument doc(messages, prefs);
  ASSERT_EQ(::chmod(dir.file("locked").c_str(), 0555), 0);
  EXPECT_FALSE(doc.setWorkingDirectory(dir.file("locked")));
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].text, "The project directory is read only!\n\nPlease make a new selection!");
  EXPECT_FALSE(doc.isModified());
  // A folder that cannot be made is refused the same way.
  test::writeText(dir.file("plain-file"), "x");
  EXPECT_FALSE(doc.setWorkingDirectory(dir.file("plain-file/sub")));
  EXPECT_EQ(messages.messages().size(), 2u);
  // A missing folder is made.
  ASSERT_TRUE(doc.setWorkingDirectory(dir.file("chosen/audio")));
  EXPECT_TRUE(std::filesystem::is_directory(dir.file("chosen/audio")));
  EXPECT_EQ(doc.workingDirectory(), real(dir.file("chosen/audio")));
  EXPECT_TRUE(doc.isModified());
}

}  // namespace
}  // namespace vantor
