// `vantor process` and `vantor history` on a project whose pool holds one
// clip: results as new files, the history listed, changed and frozen, the
// samples read back through the pool, and every refusal leaving the project
// file byte for byte.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioPool.h"
#include "audio/pool/PClipReader.h"
#include "cli/ProcessCommand.h"
#include "cli/ShellSession.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "foundation/FClock.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"

namespace vantor {
namespace {

using test::runVantor;
using test::slurp;

class CliProcess : public ::testing::Test {
 protected:
  // song.vpr with the clip "Take": 2000 mono frames at 8000 Hz, silent but
  // for 0.5 over [400, 800) and [1400, 1600).
  void SetUp() override {
    initializeDocument();
    project = (dir / "song.vpr").string();
    AudioFile file;
    file.typeName = "WAVE";
    file.format.sampleRate = 8000;
    file.format.channels = 1;
    original.assign(2000, 0.0f);
    std::fill(original.begin() + 400, original.begin() + 800, 0.5f);
    std::fill(original.begin() + 1400, original.begin() + 1600, 0.5f);
    AudioFileWriter writer;
    ASSERT_TRUE(writer.open((dir / "take.wav").string(), file) && writer.writeFrames(original.data(), 2000) &&
                writer.close());
    AudioFileReader reader;
    ASSERT_TRUE(reader.open((dir / "take.wav").string()));
    PDocument doc(messages, prefs);
    auto cluster = makeRef<AudioCluster>();
    cluster->addFile(reader.file());
    ASSERT_NE(PAudioPool::ensurePool(*doc.project())->addClip(makeRef<PAudioClip>("Take", cluster)), 0u);
    doc.markModified();
    ASSERT_TRUE(doc.save(project));
  }

  // The samples of the clip as the saved project has them.
  std::vector<float> clipSamples(const std::string& name = "Take") {
    PDocument doc(messages, prefs);
    EXPECT_TRUE(doc.openForReading(project));
    PAudioClip* clip = PAudioPool::poolOf(*doc.project())->findClip(name);
    EXPECT_NE(clip, nullptr);
    if (clip == nullptr) return {};
    PClipReader reader(clip->clusterRef(), clip->materialRef());
    std::vector<float> out(static_cast<size_t>(clip->lengthFrames()));
    EXPECT_EQ(reader.readFrames(out.data(), clip->lengthFrames()), clip->lengthFrames());
    return out;
  }

  test::TempFolder dir;
  std::string project;
  std::vector<float> original;
  FCapturedMessages messages;
  PPreferences prefs;
};

nlohmann::json json(const test::RunResult& result) {
  EXPECT_EQ(result.status, 0) << result.err;
  return result.status == 0 ? nlohmann::json::parse(result.out) : nlohmann::json();
}

TEST_F(CliProcess, ProcessListRemoveAndFreeze) {
  // -6.0206 dB halves the first burst.
  const auto processed =
      json(runVantor({"process", project, "Take", "Gain", "--param", "Gain=-6.020599913", "--to", "1000", "--json"}));
  EXPECT_EQ(processed.at("class"), "PGain");
  EXPECT_EQ(processed.at("to"), 1000);
  const std::string written = processed.at("file");
  EXPECT_EQ(std::filesystem::path(written).parent_path(), std::filesystem::canonical(dir.path()));
  std::vector<float> expected = original;
  for (size_t i = 0; i < 1000; ++i) expected[i] *= 0.5f;
  const std::vector<float> halved = clipSamples();
  ASSERT_EQ(halved.size(), expected.size());
  for (size_t i = 0; i < halved.size(); ++i) ASSERT_NEAR(halved[i], expected[i], 1e-4f) << i;

  // Without --replace or --new-version the question is asked; a script takes "Replace".
  const auto asked = runVantor({"process", project, "1", "Silence", "--from", "1500"});
  ASSERT_EQ(asked.status, 0) << asked.err;
  EXPECT_NE(asked.err.find("Replace original or create new file?\n(answered: Replace)"), std::string::npos)
      << asked.err;
  const auto history = json(runVantor({"history", project, "Take", "--json"}));
  EXPECT_EQ(history.at("title"), "Offline Process History for Take");
  ASSERT_EQ(history.at("entries").size(), 2u);
  EXPECT_EQ(history.at("entries")[0].at("action"), "Gain");
  EXPECT_EQ(history.at("entries")[0].at("status"), "Done");
  EXPECT_EQ(history.at("entries")[1].at("from"), 1500);
  const auto listing = runVantor({"history", project, "Take"});
  EXPECT_NE(listing.out.find("Offline Process History for Take"), std::string::npos);
  EXPECT_NE(listing.out.find("Silence"), std::string::npos);

  // Without --yes a script answers "No": nothing changes.
  const std::string before = slurp(project);
  const auto declined = runVantor({"history", project, "Take", "--remove", "1"});
  EXPECT_EQ(declined.status, 1);
  EXPECT_NE(declined.err.find("Are you sure you want to remove \"Gain\" ?"), std::string::npos);
  EXPECT_EQ(slurp(project), before);
  ASSERT_EQ(runVantor({"-y", "history", project, "Take", "--remove", "1"}).status, 0);
  expected = original;
  std::fill(expected.begin() + 1500, expected.end(), 0.0f);
  EXPECT_EQ(clipSamples(), expected);

  const auto frozen = runVantor({"-y", "history", project, "Take", "--freeze"});
  ASSERT_EQ(frozen.status, 0) << frozen.err;
  EXPECT_EQ(clipSamples(), expected);
  EXPECT_TRUE(json(runVantor({"history", project, "Take", "--json"})).at("entries").empty());
  const auto again = runVantor({"-y", "history", project, "Take", "--freeze"});
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("File has not been edited!"), std::string::npos);
}

int processTyping(const std::vector<std::string>& args, const std::string& typed, std::string* err) {
  std::vector<std::string> words{"process"};
  words.insert(words.end(), args.begin(), args.end());
  return test::runVantorTyping(words, typed, err);
}

TEST_F(CliProcess, OverlappingRegionsAreProcessedOnceOrNotAtAll) {
  {
    PDocument doc(messages, prefs);
    ASSERT_TRUE(doc.open(project));
    PAudioClip* take = PAudioPool::poolOf(*doc.project())->findClip("Take");
    take->addRegion(makeRef<MRegionMarker>("Early", 300, 500));  // [300, 800)
    take->addRegion(makeRef<MRegionMarker>("Late", 600, 400));   // [600, 1000)
    take->addRegion(makeRef<MRegionMarker>("End", 1500, 200));   // [1500, 1700)
    doc.markModified();
    ASSERT_TRUE(doc.save());
  }
  const std::string question = "You have selected regions for processing\nthat refer to overlapping audio material!\n";
  const std::string before = slurp(project);
  std::string err;
  EXPECT_EQ(processTyping({project, "Take", "Gain", "--param", "Gain=-6.020599913", "--region", "Early", "--region",
                           "Late", "--replace"},
                          "Cancel\n", &err),
            1);
  EXPECT_EQ(err, question + "  1) Skip Doubles (default)\n  2) Cancel\nanswer: ");
  EXPECT_EQ(slurp(project), before);

  // A script skips the doubles: [300, 1000) once, and [1500, 1700), as one action.
  const auto once = runVantor({"process", project, "Take", "Gain", "--param", "Gain=-6.020599913", "--region", "Late",
                               "--region", "End", "--region", "Early", "--replace", "--json"});
  ASSERT_EQ(once.status, 0) << once.err;
  EXPECT_EQ(once.err, question + "(answered: Skip Doubles)\n");
  EXPECT_EQ(nlohmann::json::parse(once.out).at("ranges"),
            nlohmann::json::parse(R"([{"from": 300, "to": 1000}, {"from": 1500, "to": 1700}])"));
  std::vector<float> expected = original;
  for (size_t i = 300; i < 1000; ++i) expected[i] *= 0.5f;
  for (size_t i = 1500; i < 1700; ++i) expected[i] *= 0.5f;
  const std::vector<float> halved = clipSamples();
  ASSERT_EQ(halved.size(), expected.size());
  for (size_t i = 0; i < halved.size(); ++i) ASSERT_NEAR(halved[i], expected[i], 1e-4f) << i;

  const auto missing = runVantor({"process", project, "Take", "Gain", "--region", "Chorus", "--replace"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "the clip \"Take\" has no region \"Chorus\"\n");
}

TEST_F(CliProcess, ModifyReplaceAndNewVersion) {
  ASSERT_EQ(runVantor({"process", project, "Take", "PGain", "--param", "Gain=6"}).status, 0);
  ASSERT_EQ(runVantor({"history", project, "Take", "--modify", "1", "--param", "Gain=-6.020599913"}).status, 0);
  std::vector<float> samples = clipSamples();
  EXPECT_NEAR(samples[500], 0.25f, 1e-4f);
  ASSERT_EQ(runVantor({"-y", "history", project, "Take", "--replace", "1", "Silence"}).status, 0);
  EXPECT_EQ(clipSamples(), std::vector<float>(2000, 0.0f));
  const auto noParameters = runVantor({"history", project, "Take", "--modify", "1", "--param", "Gain=1"});
  EXPECT_EQ(noParameters.status, 2);
  const auto modifyNone = runVantor({"history", project, "Take", "--modify", "1"});
  EXPECT_EQ(modifyNone.status, 1);
  EXPECT_NE(modifyNone.err.find("Modification of a process without parameter is not possible."), std::string::npos);

  // A new version keeps the original clip as it was.
  const auto version = json(runVantor({"process", project, "Take", "Fade In", "--new-version", "--json"}));
  EXPECT_EQ(version.at("clip"), "Take 2");
  EXPECT_EQ(clipSamples("Take"), std::vector<float>(2000, 0.0f));
  EXPECT_NEAR(clipSamples("Take 2")[1000], 0.0f, 1e-6f);  // the silence, faded
}

TEST_F(CliProcess, DetectSilenceAddsNamedRegions) {
  // Bursts at [400, 800) and [1400, 1600): at 8000 Hz the default 500 ms
  // bridge (4000 frames) would join them, so 50 ms.
  const auto found =
      json(runVantor({"process", project, "Take", "Detect Silence", "--param", "Min. Closing Time=50", "--param",
                      "Region Name=Hit", "--param", "Auto Number Start=3", "--add-regions", "--json"}));
  EXPECT_EQ(found.at("summary"), "Number of Region Detected: 2");
  ASSERT_EQ(found.at("regions").size(), 2u);
  EXPECT_EQ(found.at("regions")[0].at("name"), "Hit 3");
  EXPECT_EQ(found.at("regions")[1].at("start"), 1400);
  EXPECT_EQ(found.at("regions")[1].at("end"), 1600);
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.openForReading(project));
  EXPECT_EQ(PAudioPool::poolOf(*doc.project())->findClip("Take")->regions().size(), 2u);

  const auto none =
      runVantor({"process", project, "Take", "Detect Silence", "--param", "Open Threshold=-3", "--from", "1000"});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.out, "No region detected!\n");
  // 600 frames of 0.5 in 2000: a mean of 0.15.
  const auto offset = runVantor({"process", project, "Take", "Compute DC Offset"});
  EXPECT_EQ(offset.out, "DC Offset: 15.0000 %\n");
}

TEST_F(CliProcess, StripSilenceKeepsTheRegionsOfTheClipsEvents) {
  {
    // An audio track whose part plays frames 200..1999 of the clip over
    // 1800 pulses: one pulse per frame.
    PDocument doc(messages, prefs);
    ASSERT_TRUE(doc.open(project));
    MProject* song = doc.project();
    FRef<MTrackEvent> track = MProject::createTrack("Audio", "Voice");
    MTrackEvent* voice = track.get();
    ASSERT_TRUE(song->addTrack(std::move(track)));
    auto part = makeRef<MAudioPartEvent>();
    part->setName("Take");  // which gives the part its node
    part->setLength(7680);
    auto event = makeRef<MAudioEvent>(FRef<PAudioClip>::share(PAudioPool::poolOf(*song)->findClip("Take")), 200, 1800);
    event->setStart(100);
    event->setLength(1800);
    static_cast<MPartNode*>(part->getNode())->list().insert(event);
    ASSERT_TRUE(song->addPart(voice, std::move(part)));
    doc.markModified();
    ASSERT_TRUE(doc.save());
  }
  const auto stripped = runVantor(
      {"process", project, "Take", "Detect Silence", "--param", "Min. Closing Time=50", "--strip-silence", "--json"});
  ASSERT_EQ(stripped.status, 0) << stripped.err;
  EXPECT_TRUE(nlohmann::json::parse(stripped.out).at("stripped").get<bool>());
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.openForReading(project));
  // The bursts [400, 800) and [1400, 1600) as events at 100 + (frame - 200).
  std::vector<std::vector<double>> events;
  doc.project()->forEachEvent([&](MEvent& e) {
    if (auto* audio = dynamic_cast<MAudioEvent*>(&e)) {
      events.push_back({static_cast<double>(audio->getClipStart()), static_cast<double>(audio->getClipEnd()),
                        e.getStart(), e.getLength()});
    }
  });
  EXPECT_EQ(events, (std::vector<std::vector<double>>{{400, 800, 300, 400}, {1400, 1600, 1300, 200}}));
}

TEST_F(CliProcess, DetectSilenceAddsEventsAtTheirPlaces) {
  ASSERT_EQ(runVantor({"edit", project, "-e", "track add audio Voice"}).status, 0);
  const auto added = json(runVantor({"process", project, "Take", "Detect Silence", "--param", "Min. Closing Time=50",
                                     "--add-events", "Voice", "--json"}));
  EXPECT_TRUE(added.at("events").get<bool>());
  // At 120 beats a minute (960 pulses a second) frame 400 of 8000 Hz lies
  // at 0.05 s = 48 pulses, frame 1400 at 168.
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.openForReading(project));
  std::vector<std::vector<double>> parts;
  doc.project()->forEachEvent([&](MEvent& e) {
    auto* part = dynamic_cast<MAudioPartEvent*>(&e);
    if (part == nullptr) return;
    for (const auto& inside : static_cast<MPartNode*>(part->getNode())->list()) {
      auto* audio = dynamic_cast<MAudioEvent*>(inside.get());
      ASSERT_NE(audio, nullptr);
      parts.push_back(
          {part->getStart(), static_cast<double>(audio->getClipStart()), static_cast<double>(audio->getClipLength())});
    }
  });
  ASSERT_EQ(parts.size(), 2u);
  EXPECT_NEAR(parts[0][0], 48, 1e-6);
  EXPECT_NEAR(parts[1][0], 168, 1e-6);
  EXPECT_EQ(parts[0][1], 400);
  EXPECT_EQ(parts[1][2], 200);
  EXPECT_EQ(PAudioPool::poolOf(*doc.project())->findClip("Take")->regions().size(), 2u);
  const auto noTrack = runVantor({"process", project, "Take", "Detect Silence", "--add-events", "Drums"});
  EXPECT_EQ(noTrack.status, 1);
}

TEST_F(CliProcess, ShellVerbsProcessChangeAndUndo) {
  const std::string before = slurp(project);
  // Processed, modified, replaced and undone in one session: the saved
  // project is the original byte for byte.
  const auto undone =
      runVantor({"-y", "edit", project, "-e", "process Take Gain 0 1000 Gain=6", "-e", "edits modify Take 1 Gain=-6",
                 "-e", "edits replace Take 1 Silence", "-e", "edits Take", "-e", "undo 3"});
  ASSERT_EQ(undone.status, 0) << undone.err;
  EXPECT_NE(undone.out.find("Offline Process History for Take\n  1  Silence  frames 0 to 1000"), std::string::npos)
      << undone.out;
  EXPECT_EQ(slurp(project), before);
  EXPECT_EQ(clipSamples(), original);
  // Freezing empties the session's undo history.
  const auto frozen = runVantor(
      {"-y", "edit", project, "-e", "process Take Silence 1500 2000", "-e", "edits freeze Take", "-e", "undo"});
  EXPECT_EQ(frozen.status, 1);
  EXPECT_NE(frozen.err.find("nothing to undo"), std::string::npos);
}

TEST_F(CliProcess, AShellProcessOnANewFileThatFailsMakesNoNewVersion) {
  std::ostringstream out, err;
  cli::CliContext context{out, err};
  std::istringstream answers("New File\n");
  context.messages.setTerminal(&answers);
  PDocument document(context.messages, context.preferences);
  ASSERT_TRUE(cli::openProject(context, document, project, cli::OpenPurpose::kEdit));
  FManualClock clock{0};
  cli::ShellSession session(context, document, clock);
  EXPECT_FALSE(session.execute("process Take \"Acoustic Stamp\" \"Impulse Path=/nonexistent.wav\""));
  EXPECT_NE(err.str().find("Replace original or create new file?"), std::string::npos) << err.str();
  EXPECT_NE(err.str().find("\"/nonexistent.wav\": No such file or directory"), std::string::npos) << err.str();
  const PAudioPool* pool = PAudioPool::poolOf(*document.project());
  ASSERT_EQ(pool->clips().size(), 1u);
  // A process that works is one action: one undo takes the version away too.
  answers.clear();
  answers.str("New File\n");
  ASSERT_TRUE(session.execute("process Take Gain 0 1000 Gain=6")) << err.str();
  EXPECT_EQ(pool->clips().size(), 2u);
  ASSERT_TRUE(session.execute("undo"));
  EXPECT_EQ(pool->clips().size(), 1u);
}

TEST_F(CliProcess, RefusalsLeaveTheProjectAsItWas) {
  const std::string before = slurp(project);
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* fragment;
  };
  const Case cases[] = {
      {{"process", project, "Take", "Louder"}, 2, "unknown process \"Louder\"; the processes are: Gain, Silence"},
      {{"process", project, "Take", "Gain", "--param", "Gain=99"}, 2, "\"Gain\" takes a number from -96 to 48 dB"},
      {{"process", project, "Take", "Gain", "--param", "Gain"}, 2, "bad parameter \"Gain\" (KEY=VALUE)"},
      {{"process", project, "Take", "Gain", "--param", "Volume=1"}, 2, "\"Volume\" is no parameter of Gain"},
      {{"process", project, "Vox", "Gain"}, 1, "there is no clip \"Vox\" in the pool"},
      {{"process", project, "Take", "Gain", "--from", "1500", "--to", "2001"},
       1,
       "the range 1500 to 2001 does not lie inside \"Take\" (0 to 2000 frames)"},
      {{"process", project, "Take", "Acoustic Stamp", "--param", "Impulse Path=/nonexistent.wav"},
       1,
       "\"/nonexistent.wav\": No such file or directory"},
      {{"history", project, "Take", "--remove", "1"}, 1, "File has not been edited!"},
      {{"history", project, "Take", "--remove", "0"}, 2, ""},
      {{"history", project, "Take", "--remove", "1", "--freeze"}, 2, ""},
      {{"history", project, "Take", "--param", "Gain=1"}, 2, "--param belongs to --modify or --replace"},
      {{"history", project, "Take", "--replace", "99999999999999999999", "Silence"},
       2,
       "N must be an entry number, not \"99999999999999999999\""},
      {{"history", project, "Take", "--replace", "", "Silence"}, 2, "N must be an entry number, not \"\""},
      {{"process", project, "Take", "Gain", "--add-regions"},
       2,
       "--add-regions, --add-events and --strip-silence belong to Detect Silence"},
  };
  for (const Case& c : cases) {
    const auto result = runVantor(c.args);
    EXPECT_EQ(result.status, c.status) << c.args[3] << " " << result.err;
    EXPECT_NE(result.err.find(c.fragment), std::string::npos) << result.err;
    EXPECT_EQ(slurp(project), before);
  }
  ASSERT_EQ(runVantor({"process", project, "Take", "Gain"}).status, 0);
  const std::string processed = slurp(project);
  const auto bad = runVantor({"-y", "history", project, "Take", "--replace", "1", "Louder"});
  EXPECT_EQ(bad.status, 2);
  const auto past = runVantor({"-y", "history", project, "Take", "--remove", "2"});
  EXPECT_EQ(past.status, 1);
  EXPECT_NE(past.err.find("Remove not possible."), std::string::npos);
  EXPECT_EQ(slurp(project), processed);
  EXPECT_EQ(runVantor({"process", "--help"}).status, 0);
  EXPECT_EQ(runVantor({"history", "--help"}).status, 0);
}

}  // namespace
}  // namespace vantor
