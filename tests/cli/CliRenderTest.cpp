// `vantor render` on a project with one audio track: the range by default,
// by positions and by the locators, the result read back by libsndfile,
// and the refusals that exit 1 or 2 leaving the target as it was.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <cmath>
#include <fstream>
#include <string>
#include <vector>

#include "CliTestSupport.h"
#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioPool.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "foundation/FUserMessages.h"
#include "midi/events/MMidiMessage.h"
#include "model/tree/MTrackList.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"

namespace vantor {
namespace {

using test::runVantor;
using test::slurp;

class CliRender : public ::testing::Test {
 protected:
  // song.vpr: an audio track playing "Take" (1.5 s of 0.25 at 48 kHz, mono)
  // from pulse 0, centred: -3 dB each side. Locators bar 1 to bar 5 (8 s).
  void SetUp() override {
    initializeDocument();
    project = (dir / "song.vpr").string();
    AudioFile file;
    file.typeName = "WAVE";
    file.format.sampleRate = 48000;
    file.format.channels = 1;
    const std::vector<float> samples(72000, 0.25f);
    AudioFileWriter writer;
    ASSERT_TRUE(writer.open((dir / "take.wav").string(), file) && writer.writeFrames(samples.data(), 72000) &&
                writer.close());
    AudioFileReader reader;
    ASSERT_TRUE(reader.open((dir / "take.wav").string()));
    FCapturedMessages messages;
    PPreferences prefs;
    PDocument doc(messages, prefs);
    auto cluster = makeRef<AudioCluster>();
    cluster->addFile(reader.file());
    auto clip = makeRef<PAudioClip>("Take", cluster);
    ASSERT_NE(PAudioPool::ensurePool(*doc.project())->addClip(clip), 0u);
    FRef<MTrackEvent> track = MProject::createTrack("Audio", "Voice");
    MTrackEvent* voice = track.get();
    ASSERT_TRUE(doc.project()->addTrack(std::move(track)));
    auto part = makeRef<MAudioPartEvent>();
    part->setName("Take");
    part->setStart(0);
    part->setLength(7680);
    auto event = makeRef<MAudioEvent>(clip, 0, 72000);
    event->setStart(0);
    event->setLength(1440);
    static_cast<MPartNode*>(part->getNode())->list().insert(event);
    ASSERT_TRUE(doc.project()->addPart(voice, std::move(part)));
    doc.markModified();
    ASSERT_TRUE(doc.save(project));
  }

  // Frames and the left samples of a file through libsndfile.
  static std::vector<float> leftOf(const std::string& path, int* rate) {
    SF_INFO info{};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    if (sf == nullptr) return {};
    std::vector<float> frames(static_cast<size_t>(info.frames * info.channels));
    sf_readf_float(sf, frames.data(), info.frames);
    sf_close(sf);
    *rate = info.samplerate;
    std::vector<float> left;
    for (size_t i = 0; i < frames.size(); i += static_cast<size_t>(info.channels)) left.push_back(frames[i]);
    return left;
  }

  test::TempFolder dir;
  std::string project;
};

TEST_F(CliRender, RendersTheWholeProjectARangeOrTheLocators) {
  struct Case {
    std::vector<std::string> range;
    int64_t frames;
    int rate;
  };
  const Case cases[] = {
      {{}, 72000, 48000},                            // the end of the last sound
      {{"--from", "0.5s", "--to", "2.1.1.0"}, 72000, 48000},  // 0.5 s to bar 2 (2 s)
      {{"--cycle"}, 384000, 48000},                  // bar 1 to bar 5 at 120 BPM: 8 s
      {{"--from", "480", "--rate", "44100"}, 44100, 44100},   // 0.5 s to 1.5 s, converted
  };
  const std::string out = (dir / "mix.wav").string();
  for (const Case& c : cases) {
    std::vector<std::string> args = {"render", project, "-o", out, "--bits", "32f", "--json"};
    args.insert(args.end(), c.range.begin(), c.range.end());
    const auto run = runVantor(args);
    ASSERT_EQ(run.status, 0) << run.err;
    const auto json = nlohmann::json::parse(run.out);
    EXPECT_EQ(json.at("frames").get<int64_t>(), c.frames);
    EXPECT_EQ(json.at("sampleRate").get<int>(), c.rate);
    // 0.25 at -3 dB each side: 0.1768, -15.05 dBFS (a converted step
    // overshoots a little).
    EXPECT_NEAR(json.at("peakDb").get<double>(), -15.05, 0.3);
    int rate = 0;
    const std::vector<float> left = leftOf(out, &rate);
    EXPECT_EQ(rate, c.rate);
    ASSERT_EQ(static_cast<int64_t>(left.size()), c.frames);
    EXPECT_NEAR(left[1000], 0.25 * std::sqrt(0.5), 1e-3);
  }
  const auto human = runVantor({"render", project, "-o", (dir / "mix.aiff").string(), "--bits", "16"});
  ASSERT_EQ(human.status, 0) << human.err;
  EXPECT_NE(human.out.find("72000 frames, 0:01.500, 48000 Hz, 16 bits, loudness "), std::string::npos) << human.out;
}

TEST_F(CliRender, RefusalsExitWithTheirStatusAndLeaveTheTarget) {
  const std::string out = (dir / "keep.wav").string();
  {
    std::ofstream(out) << "the old mix";
  }
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* fragment;
  };
  const Case cases[] = {
      {{"render", project, "-o", (dir / "mix.mp3").string()}, 1, "file type is not known"},
      {{"render", project, "-o", out, "--from", "-3"}, 2, ""},
      {{"render", project, "-o", out, "--cycle", "--from", "1s"}, 2, "excludes"},
      {{"render", project, "-o", out, "--bits", "8"}, 2, ""},
      {{"render", project, "-o", out, "--from", "3s", "--to", "2s"}, 1, "Nothing to render"},
  };
  for (const Case& c : cases) {
    const auto run = runVantor(c.args);
    EXPECT_EQ(run.status, c.status) << run.err;
    EXPECT_NE(run.err.find(c.fragment), std::string::npos) << run.err;
    EXPECT_TRUE(slurp(out) == "the old mix");
  }
  std::filesystem::remove(dir / "take.wav");
  const auto missing = runVantor({"render", project, "-o", out});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("An audio clip cannot be read"), std::string::npos) << missing.err;
  EXPECT_TRUE(slurp(out) == "the old mix");
}

TEST_F(CliRender, MidiTracksSoundThroughEitherInstrumentAndTheClickIsMixedIn) {
  {
    // A MIDI track with one note at bar 1 for a beat.
    FCapturedMessages messages;
    PPreferences prefs;
    PDocument doc(messages, prefs);
    ASSERT_TRUE(doc.open(project));
    FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Keys");
    MTrackEvent* keys = track.get();
    ASSERT_TRUE(doc.project()->addTrack(std::move(track)));
    FRef<MPartEvent> part = keys->createPart();
    part->setName("Riff");
    part->setStart(0);
    part->setLength(1920);
    FRef<MMidiEvent> note = makeMidiEvent(0x90, 72, 110);
    note->setStart(0);
    note->setLength(480);
    static_cast<MPartNode*>(part->getNode())->list().insert(note);
    ASSERT_TRUE(doc.project()->addPart(keys, std::move(part)));
    // The audio track is muted: only the instrument (and the click) sound.
    doc.project()->getTrackList()->at(0)->setFlag(MEventFlag::kMuted, true);
    doc.markModified();
    ASSERT_TRUE(doc.save());
  }
  const std::string out = (dir / "keys.wav").string();
  const auto peakOf = [&](std::vector<std::string> extra) {
    std::vector<std::string> args = {"render", project, "-o", out, "--json"};
    args.insert(args.end(), extra.begin(), extra.end());
    const auto run = runVantor(args);
    EXPECT_EQ(run.status, 0) << run.err;
    const auto json = nlohmann::json::parse(run.out.empty() ? "{}" : run.out);
    return json.value("peakDb", nlohmann::json()).is_null() ? -1000.0 : json.at("peakDb").get<double>();
  };
  EXPECT_GT(peakOf({"--to", "1.3.1.0"}), -40);
  EXPECT_GT(peakOf({"--to", "1.3.1.0", "--soundfont", "default"}), -40);
  // After the note's release the built-in instrument is silent; the click is not.
  EXPECT_EQ(peakOf({"--from", "3.1.1.0", "--to", "4.1.1.0"}), -1000.0);
  EXPECT_GT(peakOf({"--from", "3.1.1.0", "--to", "4.1.1.0", "--click"}), -20);
  const auto broken = runVantor({"render", project, "-o", out, "--soundfont", (dir / "none.sf2").string()});
  EXPECT_EQ(broken.status, 1);
  EXPECT_FALSE(broken.err.empty());
}

}  // namespace
}  // namespace vantor
