// Offline processes in a saved project: the history survives saving and
// opening, removing its entry there gives back the original samples, and
// undoing a process gives back the project's exact bytes.

#include <gtest/gtest.h>

#include <random>

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

// Random sequences of processes and history changes on the clip: undoing
// them all gives back the project's bytes, and redoing them all the bytes
// they had made.
TEST_F(PDocumentProcess, UndoAndRedoOfRandomProcessingRestoreTheBytes) {
  PDocument doc(messages, prefs);
  fill(doc);
  addTake(doc);
  ASSERT_TRUE(doc.save(dir.file("before.vpr")));
  FRef<PAudioClip> clip = FRef<PAudioClip>::share(take(doc));
  const char* const classes[] = {"PGain", "PSilence",   "PFadeIn",   "PFadeOut",
                                 "PEcho", "PNoiseGate", "PDCOffset", "PEnvelope"};
  std::mt19937 random(2024);
  auto pick = [&random](int64_t from, int64_t to) { return std::uniform_int_distribution<int64_t>(from, to)(random); };
  GUndoManager undo;
  size_t performed = 0;
  for (int step = 0; step < 14; ++step) {
    const PEditHistory* history = editHistoryOf(*clip);
    const size_t entries = history != nullptr ? history->size() : 0;
    FRef<MCommand> command;
    const int64_t kind = entries == 0 ? 0 : pick(0, 3);
    FRef<PAudioProcess> process = PAudioProcess::create(classes[pick(0, 7)]);
    std::string error;
    if (process->getClassName() == std::string("PGain")) {
      ASSERT_TRUE(process->setParameter("Gain", std::to_string(pick(-20, 6)), &error));
    }
    const auto index = static_cast<size_t>(entries > 0 ? pick(0, static_cast<int64_t>(entries) - 1) : 0);
    if (kind == 0) {
      const int64_t start = pick(0, 2999);
      command = makeRef<PAudioProcessCommand>(clip, process, start, pick(1, 3000 - start), dir.file(""), &messages);
    } else if (kind == 1) {
      messages.queueAnswer(0);
      command = prepareRemove(clip, index, dir.file(""), messages);
    } else if (kind == 2) {
      messages.queueAnswer(0);
      command = prepareReplace(clip, index, process, dir.file(""), messages);
    } else {
      FRef<PAudioProcess> modified = entryProcess(*clip, index);
      if (!modified->hasParameters()) continue;
      command = prepareModify(clip, index, modified, dir.file(""), messages);
    }
    ASSERT_TRUE(command) << step;
    ASSERT_TRUE(undo.perform(command, doc.project()->getRoot())) << step << ": " << command->failure();
    ++performed;
  }
  ASSERT_TRUE(doc.save(dir.file("after.vpr")));
  for (size_t i = 0; i < performed; ++i) ASSERT_TRUE(undo.undo());
  ASSERT_TRUE(doc.save(dir.file("undone.vpr")));
  EXPECT_EQ(test::readFile(dir.file("undone.vpr")), test::readFile(dir.file("before.vpr")));
  for (size_t i = 0; i < performed; ++i) ASSERT_TRUE(undo.redo());
  ASSERT_TRUE(doc.save(dir.file("redone.vpr")));
  EXPECT_EQ(test::readFile(dir.file("redone.vpr")), test::readFile(dir.file("after.vpr")));
}

}  // namespace
}  // namespace vantor
