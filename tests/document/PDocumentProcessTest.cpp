// Offline processes in a saved project: the history survives saving and
// opening, removing its entry there gives back the original samples, and
// undoing a process gives back the project's exact bytes.

#include <gtest/gtest.h>

#include "PDocumentTestSupport.h"
#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/pool/PAudioPool.h"
#include "audio/pool/PClipReader.h"
#include "audio/process/PClipStateCommand.h"
#include "audio/process/PEditHistoryActions.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
namespace {

class PDocumentProcess : public test::DocumentTest {
 protected:
  // A stereo 16-bit take of 3000 frames at 8000 Hz in the folder, entered
  // in doc's pool as the clip "Take".
  void addTake(PDocument& doc) {
    AudioFile file;
    file.typeName = "WAVE";
    file.format.sampleRate = 8000;
    file.format.channels = 2;
    std::vector<float> samples(6000);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>((i * 37) % 200) / 250.0f - 0.4f;
    AudioFileWriter writer;
    ASSERT_TRUE(writer.open(dir.file("take.wav"), file) && writer.writeFrames(samples.data(), 3000) && writer.close());
    AudioFileReader reader;
    ASSERT_TRUE(reader.open(dir.file("take.wav")));
    auto cluster = makeRef<AudioCluster>();
    cluster->addFile(reader.file());
    ASSERT_NE(PAudioPool::ensurePool(*doc.project())->addClip(makeRef<PAudioClip>("Take", cluster)), 0u);
    doc.markModified();
  }

  static PAudioClip* take(PDocument& doc) { return PAudioPool::poolOf(*doc.project())->findClip("Take"); }

  static std::vector<float> samplesOf(PAudioClip& clip) {
    PClipReader reader(clip.clusterRef(), clip.materialRef());
    std::vector<float> out(static_cast<size_t>(clip.lengthFrames() * reader.channels()));
    EXPECT_EQ(reader.readFrames(out.data(), clip.lengthFrames()), clip.lengthFrames());
    return out;
  }

  FRef<MCommand> gain(PDocument& doc, const char* decibels, int64_t start, int64_t length) {
    FRef<PAudioProcess> process = PAudioProcess::create("PGain");
    std::string error;
    EXPECT_TRUE(process->setParameter("Gain", decibels, &error));
    return makeRef<PAudioProcessCommand>(FRef<PAudioClip>::share(take(doc)), process, start, length, dir.file(""),
                                         &messages);
  }
};

TEST_F(PDocumentProcess, HistoryRoundTripThroughASavedProject) {
  const std::string path = dir.file("song.vpr");
  std::vector<float> original;
  {
    PDocument doc(messages, prefs);
    fill(doc);
    addTake(doc);
    original = samplesOf(*take(doc));
    GUndoManager undo;
    ASSERT_TRUE(undo.perform(gain(doc, "-12", 500, 2000), doc.project()->getRoot()));
    ASSERT_NE(samplesOf(*take(doc)), original);
    ASSERT_TRUE(doc.save(path));
  }
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  PAudioClip* clip = take(doc);
  ASSERT_NE(clip, nullptr);
  const PEditHistory* history = editHistoryOf(*clip);
  ASSERT_NE(history, nullptr);
  ASSERT_EQ(history->size(), 1u);
  EXPECT_EQ(PEditHistory::actionName(history->entries()[0]), "Gain");
  messages.queueAnswer(0);
  FRef<MCommand> remove = prepareRemove(FRef<PAudioClip>::share(clip), 0, dir.file(""), messages);
  ASSERT_TRUE(remove);
  GUndoManager undo;
  ASSERT_TRUE(undo.perform(remove, doc.project()->getRoot()));
  EXPECT_EQ(samplesOf(*clip), original);
  EXPECT_EQ(editHistoryOf(*clip), nullptr);
}

TEST_F(PDocumentProcess, UndoOfAProcessGivesBackTheProjectBytes) {
  PDocument doc(messages, prefs);
  fill(doc);
  addTake(doc);
  ASSERT_TRUE(doc.save(dir.file("before.vpr")));
  GUndoManager undo;
  ASSERT_TRUE(undo.perform(gain(doc, "3", 0, 3000), doc.project()->getRoot()));
  ASSERT_TRUE(undo.perform(gain(doc, "-3", 1000, 10), doc.project()->getRoot()));
  ASSERT_TRUE(doc.save(dir.file("processed.vpr")));
  EXPECT_NE(test::readFile(dir.file("processed.vpr")), test::readFile(dir.file("before.vpr")));
  ASSERT_TRUE(undo.undo());
  ASSERT_TRUE(undo.undo());
  ASSERT_TRUE(doc.save(dir.file("undone.vpr")));
  EXPECT_EQ(test::readFile(dir.file("undone.vpr")), test::readFile(dir.file("before.vpr")));
}

}  // namespace
}  // namespace vantor
