// Processing clips: the result written as a new file and put in the
// material, the history and its changes (remove, modify, replace, freeze)
// re-running later entries, the refusals and questions, and undo restoring
// the clip exactly.

#include <gtest/gtest.h>

#include "audio/AudioTestSupport.h"
#include "audio/pool/PClipReader.h"
#include "audio/process/PClipStateCommand.h"
#include "audio/process/PEditHistoryActions.h"
#include "audio/process/ProcessTestSupport.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"

namespace vantor {
namespace {

using test::makeProcess;
using Samples = std::vector<float>;

class ClipProcessing : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeAudio();
    // 400 mono frames at 1000 Hz: frame i holds (i % 50) / 100, a 16-bit
    // file so that the original is not float like the results.
    for (int i = 0; i < 400; ++i) original.push_back(static_cast<float>(i % 50) / 100.0f);
    ASSERT_TRUE(
        test::writeOurs(dir.file("take.wav"), test::makeFile("WAVE", 1000, 1, 16, SampleType::kInteger), original));
    const auto decoded = test::readOurs(dir.file("take.wav"));
    ASSERT_TRUE(decoded);
    original = decoded->samples;  // as 16 bits hold them
    AudioFileReader reader;
    ASSERT_TRUE(reader.open(dir.file("take.wav")));
    auto cluster = makeRef<AudioCluster>();
    cluster->addFile(reader.file());
    clip = makeRef<PAudioClip>("Take", cluster);
  }

  Samples clipSamples() const {
    PClipReader reader(clip->clusterRef(), clip->materialRef());
    Samples out(static_cast<size_t>(clip->lengthFrames()));
    EXPECT_EQ(reader.readFrames(out.data(), clip->lengthFrames()), clip->lengthFrames());
    return out;
  }

  // The clip's stored bytes: cluster files, material and history together.
  test::Bytes clipBytes() const {
    FMemoryStream out;
    FObjectArchive archive(out);
    EXPECT_TRUE(archive.writeArchive(clip.get()));
    return out.takeData();
  }

  FRef<MCommand> processCommand(FRef<PAudioProcess> process, int64_t start, int64_t length) {
    return makeRef<PAudioProcessCommand>(clip, std::move(process), start, length, dir.file(""), &messages);
  }

  test::TempDir dir;
  FCapturedMessages messages;
  Samples original;
  FRef<PAudioClip> clip;
};

// original with frames [from, to) multiplied by factor.
Samples scaled(Samples samples, size_t from, size_t to, float factor) {
  for (size_t i = from; i < to; ++i) samples[i] *= factor;
  return samples;
}

void expectNear(const Samples& actual, const Samples& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (size_t i = 0; i < actual.size(); ++i) ASSERT_NEAR(actual[i], expected[i], 1e-6f) << "frame " << i;
}

TEST_F(ClipProcessing, ProcessWritesANewFileAndUndoRestoresTheClipExactly) {
  const test::Bytes before = clipBytes();
  const test::Bytes fileBefore = test::readBytes(dir.file("take.wav"));
  // -6.0206 dB halves frames 100..199.
  FRef<MCommand> command = processCommand(makeProcess("PGain", {{"Gain", "-6.020599913"}}), 100, 100);
  ASSERT_TRUE(command->perform()) << command->failure();
  EXPECT_EQ(command->description(), "Audio Process");
  expectNear(clipSamples(), scaled(original, 100, 200, 0.5f));
  EXPECT_EQ(test::readBytes(dir.file("take.wav")), fileBefore);
  ASSERT_EQ(clip->getCluster()->files().size(), 2u);
  EXPECT_EQ(clip->getCluster()->files()[1].path, dir.file("Take-Gain-1.wav"));
  const auto written = test::readSndfile(dir.file("Take-Gain-1.wav"));
  ASSERT_TRUE(written);
  EXPECT_EQ(written->samples.size(), 100u);
  const auto* history = editHistoryOf(*clip);
  ASSERT_NE(history, nullptr);
  ASSERT_EQ(history->size(), 1u);
  EXPECT_EQ(history->entries()[0].processClass, "PGain");
  EXPECT_EQ(history->entries()[0].start, 100);
  EXPECT_TRUE(messages.contains("Processing"));
  EXPECT_TRUE(messages.contains("Writing file..."));

  ASSERT_TRUE(command->undo());
  EXPECT_EQ(clipBytes(), before);
  EXPECT_EQ(clip->getHistory(), nullptr);
  ASSERT_TRUE(command->redo());
  expectNear(clipSamples(), scaled(original, 100, 200, 0.5f));
}

TEST_F(ClipProcessing, RemovingAnEntryRunsTheLaterOnesAgain) {
  ASSERT_TRUE(processCommand(makeProcess("PGain", {{"Gain", "-6.020599913"}}), 0, 200)->perform());
  ASSERT_TRUE(processCommand(makeProcess("PSilence"), 150, 100)->perform());
  ASSERT_TRUE(processCommand(makeProcess("PGain", {{"Gain", "6.020599913"}}), 100, 300)->perform());
  Samples expected = scaled(scaled(original, 0, 200, 0.5f), 100, 400, 2.0f);
  std::fill(expected.begin() + 150, expected.begin() + 250, 0.0f);
  expectNear(clipSamples(), expected);
  const test::Bytes threeEntries = clipBytes();

  // Without the first gain: silence, then doubling of 100..399.
  messages.queueAnswer(0);
  FRef<MCommand> remove = prepareRemove(clip, 0, dir.file(""), messages);
  ASSERT_TRUE(remove);
  EXPECT_EQ(messages.questions().back(), "Are you sure you want to remove \"Gain\" ?");
  ASSERT_TRUE(remove->perform()) << remove->failure();
  expected = scaled(original, 100, 400, 2.0f);
  std::fill(expected.begin() + 150, expected.begin() + 250, 0.0f);
  expectNear(clipSamples(), expected);
  ASSERT_EQ(editHistoryOf(*clip)->size(), 2u);
  EXPECT_EQ(editHistoryOf(*clip)->entries()[0].processClass, "PSilence");

  ASSERT_TRUE(remove->undo());
  EXPECT_EQ(clipBytes(), threeEntries);

  // Modify the silence into a -6 dB gain, then replace the last gain by a
  // fade out: later entries follow each change.
  FRef<PAudioProcess> modified = entryProcess(*clip, 1);
  ASSERT_TRUE(modified);
  std::string error;
  EXPECT_FALSE(modified->hasParameters());
  ASSERT_EQ(prepareModify(clip, 1, modified, dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.messages().back().text, "Modification of a process without parameter is not possible.");
  FRef<PAudioProcess> firstGain = entryProcess(*clip, 0);
  ASSERT_TRUE(firstGain->setParameter("Gain", "0", &error));
  FRef<MCommand> modify = prepareModify(clip, 0, firstGain, dir.file(""), messages);
  ASSERT_TRUE(modify);
  ASSERT_TRUE(modify->perform()) << modify->failure();
  expected = scaled(original, 100, 400, 2.0f);
  std::fill(expected.begin() + 150, expected.begin() + 250, 0.0f);
  expectNear(clipSamples(), expected);

  messages.queueAnswer(0);
  FRef<MCommand> replace = prepareReplace(clip, 2, makeProcess("PSilence"), dir.file(""), messages);
  ASSERT_TRUE(replace);
  EXPECT_EQ(messages.questions().back(), "Are you sure you want to replace \"Gain\" ?");
  ASSERT_TRUE(replace->perform());
  expected = original;
  std::fill(expected.begin() + 100, expected.end(), 0.0f);
  expectNear(clipSamples(), expected);
}

TEST_F(ClipProcessing, RefusalsAndDeclinedQuestionsChangeNothing) {
  EXPECT_EQ(prepareRemove(clip, 0, dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.messages().back().text, "File has not been edited!");
  EXPECT_EQ(prepareFreeze(clip, dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.messages().back().text, "File has not been edited!");
  EXPECT_EQ(prepareReplace(clip, 0, nullptr, dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.messages().back().text, "No action selected!");

  ASSERT_TRUE(processCommand(makeProcess("PFadeIn"), 0, 400)->perform());
  const test::Bytes processed = clipBytes();
  EXPECT_EQ(prepareRemove(clip, 5, dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.messages().back().text, "Remove not possible.");
  EXPECT_EQ(prepareModify(clip, 0, makeProcess("PGain"), dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.messages().back().text, "Modify not possible.");
  // "No" (the default) to the question.
  EXPECT_EQ(prepareRemove(clip, 0, dir.file(""), messages), nullptr);
  EXPECT_EQ(prepareFreeze(clip, dir.file(""), messages), nullptr);
  EXPECT_EQ(messages.questions().back(), "Are you sure? You can not undo this!");
  // A range outside the clip and a process that changes no audio.
  EXPECT_FALSE(processCommand(makeProcess("PGain"), 300, 101)->perform());
  EXPECT_FALSE(processCommand(makeProcess("PDCOffsetPrepare"), 0, 10)->perform());
  // A process that cannot run (its impulse file is missing).
  ASSERT_TRUE(processCommand(makeProcess("PConvolution", {{"Impulse Path", dir.file("ir.wav")}}), 0, 10)->perform() ==
              false);
  EXPECT_EQ(clipBytes(), processed);
}

TEST_F(ClipProcessing, DamagedHistoriesAreRefusedWithoutChange) {
  ASSERT_TRUE(processCommand(makeProcess("PGain", {{"Gain", "-6"}}), 0, 100)->perform());
  ASSERT_TRUE(processCommand(makeProcess("PGain", {{"Gain", "3"}}), 50, 100)->perform());
  const FRef<PEditHistory> intact = editHistoryOf(*clip)->clone();
  // Removing entry 0 takes both entries back (through their replaced
  // pieces) and runs entry 1 again: each damage makes one of those fail.
  struct Damage {
    const char* what;
    size_t entry;
    void (*apply)(PEditHistoryEntry&);
  };
  const Damage damages[] = {
      {"a range past the clip", 1, [](PEditHistoryEntry& e) { e.start = 1000; }},
      {"a file that is not there", 0, [](PEditHistoryEntry& e) { e.replaced = {PClipPiece::ofFile(7, 0, e.length)}; }},
      {"an unknown process", 1, [](PEditHistoryEntry& e) { e.processClass = "PNoSuchProcess"; }},
      {"a value out of range", 1, [](PEditHistoryEntry& e) { e.parameters->setFloat("Gain", 1000); }},
  };
  for (const Damage& damage : damages) {
    FRef<PEditHistory> damaged = makeRef<PEditHistory>();
    for (size_t i = 0; i < intact->size(); ++i) {
      PEditHistoryEntry entry = intact->clone()->entries()[i];
      if (i == damage.entry) damage.apply(entry);
      damaged->append(entry);
    }
    clip->setHistory(damaged);
    const test::Bytes before = clipBytes();
    messages.queueAnswer(0);
    FRef<MCommand> remove = prepareRemove(clip, 0, dir.file(""), messages);
    ASSERT_TRUE(remove) << damage.what;
    EXPECT_FALSE(remove->perform()) << damage.what;
    EXPECT_EQ(remove->failure(), "Remove not possible.") << damage.what;
    EXPECT_EQ(clipBytes(), before) << damage.what;
  }
}

TEST_F(ClipProcessing, FreezeRendersTheMaterialIntoOneFile) {
  ASSERT_TRUE(processCommand(makeProcess("PGain", {{"Gain", "-6.020599913"}}), 0, 100)->perform());
  ASSERT_TRUE(processCommand(makeProcess("PSilence"), 300, 100)->perform());
  const Samples edited = clipSamples();
  messages.queueAnswer(0);
  FRef<MCommand> freeze = prepareFreeze(clip, dir.file(""), messages);
  ASSERT_TRUE(freeze);
  ASSERT_TRUE(freeze->perform());
  EXPECT_TRUE(messages.contains("Flattening file..."));
  EXPECT_EQ(clip->getMaterial()->pieces().size(), 1u);
  EXPECT_EQ(editHistoryOf(*clip), nullptr);
  expectNear(clipSamples(), edited);
}

TEST(PEditHistory, StoresAndRefusesDamagedRecords) {
  initializeAudio();
  auto history = makeRef<PEditHistory>();
  history->append(
      {"PGain", makeProcess("PGain", {{"Gain", "3"}})->copyParameters(), 10, 20, 1, {PClipPiece::ofFile(0, 10, 20)}});
  history->append({"PSilence", makeProcess("PSilence")->copyParameters(), 0, 5, 2, {PClipPiece::silence(5)}});
  FMemoryStream out;
  FObjectArchive writer(out);
  ASSERT_TRUE(writer.writeArchive(history.get()));
  const test::Bytes bytes = out.takeData();
  FMemoryStream in(bytes);
  FObjectArchive reader(in);
  FRef<CmObject> back = reader.readArchive();
  auto* read = dynamic_cast<PEditHistory*>(back.get());
  ASSERT_NE(read, nullptr);
  ASSERT_EQ(read->size(), 2u);
  EXPECT_EQ(read->entries()[0].replaced, history->entries()[0].replaced);
  EXPECT_EQ(read->entries()[1].processClass, "PSilence");
  double gain = 0;
  ASSERT_TRUE(read->entries()[0].parameters->getFloat("Gain", &gain));
  EXPECT_EQ(gain, 3.0);
  EXPECT_EQ(PEditHistory::title("Take"), "Offline Process History for Take");
  // Every truncation fails to read; no cut crashes or allocates wildly.
  for (size_t cut = 0; cut + 1 < bytes.size(); ++cut) {
    FMemoryStream part(test::Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(cut)));
    FObjectArchive partial(part);
    bool ok = true;
    FRef<CmObject> object = partial.readArchive(&ok);
    EXPECT_TRUE(!ok || object == nullptr) << cut;
  }
}

}  // namespace
}  // namespace vantor
