// Automatic saving: beside the project, on the preferences' interval, driven
// by a clock the test moves by hand.

#include <gtest/gtest.h>

#include <cerrno>

#include "PDocumentTestSupport.h"
#include "document/PSafeFile.h"

namespace vantor {
namespace {

using test::Bytes;

class PDocumentAutoSave : public test::DocumentTest {
 protected:
  static constexpr int64_t kMinute = 60 * 1000;
};

TEST_F(PDocumentAutoSave, WritesBesideTheProjectAfterTheIntervalAndLeavesTheProjectAlone) {
  const std::string path = savedProject("song.vpr");
  const Bytes project = test::readFile(path);
  const std::string autoSave = dir.file("song.autosave.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  ASSERT_TRUE(doc.devices()->setSampleRate(22050));
  doc.markModified();

  FManualClock clock(1000);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));  // the interval starts now
  clock.advance(5 * kMinute - 1);          // the default: 5 minutes
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  EXPECT_FALSE(PSafeFile::exists(autoSave));
  clock.advance(1);
  EXPECT_TRUE(doc.autoSaveIfDue(clock));
  EXPECT_EQ(test::readFile(path), project);
  EXPECT_TRUE(doc.isModified());
  EXPECT_EQ(doc.path(), path);

  PDocument recovered(messages, prefs);
  ASSERT_TRUE(recovered.open(autoSave));
  EXPECT_EQ(recovered.devices()->sampleRate(), 22050);
  EXPECT_EQ(recovered.project()->getTrackList()->count(), 1u);

  // The state names the automatic save, in the preferences file too.
  EXPECT_EQ(prefs.getString("Auto Save State"), autoSave);
  PPreferences stored;
  ASSERT_TRUE(stored.load(dir.file("preferences")));
  EXPECT_EQ(stored.getString("Auto Save State"), autoSave);
}

TEST_F(PDocumentAutoSave, SavesOnlyChangesAndCountsFromTheLastAutomaticSave) {
  const std::string path = savedProject("song.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  ASSERT_TRUE(prefs.setInt("Auto Save Interval", 2));
  FManualClock clock(0);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(10 * kMinute);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));  // nothing changed since the open
  doc.markModified();
  EXPECT_TRUE(doc.autoSaveIfDue(clock));  // the interval passed long ago
  doc.markModified();
  clock.advance(2 * kMinute - 1);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(1);
  EXPECT_TRUE(doc.autoSaveIfDue(clock));
  clock.advance(2 * kMinute);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));  // no change since
}

TEST_F(PDocumentAutoSave, ASaveRemovesTheAutomaticSaveAndClearsTheState) {
  const std::string path = savedProject("song.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  doc.markModified();
  FManualClock clock(0);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(5 * kMinute);
  ASSERT_TRUE(doc.autoSaveIfDue(clock));
  ASSERT_TRUE(PSafeFile::exists(dir.file("song.autosave.vpr")));
  ASSERT_TRUE(doc.save());
  EXPECT_FALSE(PSafeFile::exists(dir.file("song.autosave.vpr")));
  EXPECT_EQ(prefs.getString("Auto Save State"), "");
  // After the save the interval starts again.
  doc.markModified();
  clock.advance(5 * kMinute);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(5 * kMinute);
  EXPECT_TRUE(doc.autoSaveIfDue(clock));
}

TEST_F(PDocumentAutoSave, NothingIsWrittenWhenSwitchedOffOrUntitled) {
  FManualClock clock(0);
  PDocument untitled(messages, prefs);
  fill(untitled);
  EXPECT_FALSE(untitled.autoSaveIfDue(clock));
  clock.advance(60 * kMinute);
  EXPECT_FALSE(untitled.autoSaveIfDue(clock));

  const std::string path = savedProject("song.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  doc.markModified();
  ASSERT_TRUE(prefs.override("Auto Save", "off"));
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(60 * kMinute);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  EXPECT_FALSE(PSafeFile::exists(dir.file("song.autosave.vpr")));
  // Switched on again, the interval counts from then.
  prefs.clearOverrides();
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(5 * kMinute);
  EXPECT_TRUE(doc.autoSaveIfDue(clock));
}

TEST_F(PDocumentAutoSave, TheAutoSaversListDrivesOpenDocuments) {
  const std::string path = savedProject("song.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  doc.markModified();
  FManualClock clock(0);
  EXPECT_EQ(FAutoSavers::instance().runDue(clock), 0);
  clock.advance(5 * kMinute);
  EXPECT_EQ(FAutoSavers::instance().runDue(clock), 1);
  EXPECT_TRUE(PSafeFile::exists(dir.file("song.autosave.vpr")));
}

TEST_F(PDocumentAutoSave, AFailedAutomaticSaveWarnsAndTriesAgainNextInterval) {
  const std::string path = savedProject("song.vpr");
  PDocument doc(messages, prefs);
  doc.setProgressHandler([](std::string_view) {});
  ASSERT_TRUE(doc.open(path));
  doc.markModified();
  FManualClock clock(0);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(5 * kMinute);
  messages.clear();
  {
    test::TemporaryFailure full(ENOSPC);
    EXPECT_FALSE(doc.autoSaveIfDue(clock));
  }
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].severity, FUserMessages::Severity::kWarning);
  EXPECT_EQ(messages.messages()[0].text, "The project could not be saved automatically to \"" +
                                             dir.file("song.autosave.vpr") + "\" !\nopen: No space left on device");
  clock.advance(1);
  EXPECT_FALSE(doc.autoSaveIfDue(clock));
  clock.advance(5 * kMinute);
  EXPECT_TRUE(doc.autoSaveIfDue(clock));
}

}  // namespace
}  // namespace vantor
