// "Export Midi File" of projects built through the model, read back by an
// independent reader (python3-mido).

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/FFileStream.h"
#include "midi/MMidiInit.h"
#include "midi/events/MMidiEvent.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"
#include "midi/smf/MSmfExporter.h"
#include "midi/smf/MidoOracle.h"
#include "model/markers/MMarkerEvent.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackList.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;
using test::MidoLines;

class SmfExport : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeMidi();
    root_ = MProject::createNew();
    ASSERT_TRUE(root_);
    path_ = (fs::temp_directory_path() / ("vantor-export-" + std::to_string(getpid()) + ".mid")).string();
  }
  void TearDown() override { fs::remove(path_); }
  MProject& project() { return *root_->getProject(); }

  MTrackEvent* addTrack(const std::string& name, bool muted = false) {
    FRef<MTrackEvent> track = MProject::createTrack("MIDI", name);
    track->setFlag(MEventFlag::kMuted, muted);
    EXPECT_TRUE(project().addTrack(track));
    return track.get();
  }
  // A part with events at part-relative starts, in the order given.
  void addPart(MTrackEvent* track, double start, double length, double offset, std::vector<FRef<MEvent>> events,
               bool muted = false) {
    FRef<MPartEvent> part = track->createPart();
    part->setStart(start);
    part->setLength(length);
    part->setOffset(offset);
    part->setFlag(MEventFlag::kMuted, muted);
    auto& list = static_cast<MPartNode*>(part->getNode())->list();
    for (auto& event : events) list.append(std::move(event));
    list.sortAfterAppend();
    EXPECT_TRUE(project().addPart(track, part));
  }

  MSmfExportSummary exportTo(MSmfExportOptions options) {
    FFileStream stream;
    EXPECT_TRUE(stream.open(path_, FFileStream::Mode::kWrite));
    MSmfExporter exporter(project(), options);
    std::string error;
    EXPECT_TRUE(exporter.write(stream, &error)) << error;
    EXPECT_TRUE(stream.close());
    return exporter.summary();
  }

  void buildSong();

  FRef<MRoot> root_;
  std::string path_;
};

template <class T>
FRef<MEvent> midi(double start, uint8_t channel, uint8_t data1, uint8_t data2 = 0) {
  FRef<T> event = makeRef<T>();
  event->setStart(start);
  event->setChannel(channel);
  event->setData1(data1);
  event->setData2(data2);
  return event;
}

FRef<MEvent> note(double start, uint8_t pitch, uint8_t velocity, double length, uint8_t channel = 0,
                  uint8_t offVelocity = 0, bool muted = false) {
  FRef<MMidiNote> n = makeRef<MMidiNote>();
  n->setStart(start);
  n->setChannel(channel);
  n->setData1(pitch);
  n->setData2(velocity);
  n->setData3(offVelocity);
  n->setLength(length);
  n->setFlag(MEventFlag::kMuted, muted);
  return n;
}

// Two MIDI tracks holding every kind of event, a muted track, a tempo change
// to 60 BPM at bar 3, a marker at bar 2 and 6/8 from bar 5.
void SmfExport::buildSong() {
  MProject& project = this->project();
  FRef<MAccessor> tempo = project.getTempoNode()->getWriteAccessor();
  ASSERT_TRUE(tempo->insert(makeRef<MTempoEvent>(3840, 60)));
  ASSERT_TRUE(project.getSignatureNode()->getWriteAccessor()->insert(makeRef<MTimeSignatureEvent>(7680, 6, 8)));
  FRef<MMarkerEvent> marker = makeRef<MMarkerEvent>();
  marker->setName("Verse");
  marker->setStart(1920);
  ASSERT_TRUE(project.getMarkerTrack()->getNode()->getWriteAccessor()->insert(marker));

  MTrackEvent* keys = addTrack("Keys");
  FRef<MMidiPitchBend> bend = makeRef<MMidiPitchBend>();
  bend->setStart(240);
  bend->setValue(0x3000);
  FRef<MMidiSysex> sysex = makeRef<MMidiSysex>();
  sysex->setStart(320);
  sysex->setBytes({0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7});
  FRef<MEvent> text = makeRef<MSmfEvent>(1, std::vector<uint8_t>{'h', 'i'});
  text->setStart(0);
  addPart(keys, 0, 3840, 0,
          {text, midi<MMidiProgramChange>(0, 0, 5), midi<MMidiController>(0, 0, 7, 100), note(0, 60, 100, 480), bend,
           midi<MMidiAfterTouch>(300, 0, 0x50), midi<MMidiPolyPressure>(310, 0, 60, 0x20), sysex,
           note(480, 60, 90, 480, 0, 64),  // starts where the first ends; a note-off velocity of its own
           note(1000, 62, 70, 500), note(1200, 62, 71, 500),  // overlapping, same pitch
           note(2000, 64, 100, 100, 0, 0, true)});            // muted
  // Shows its content from 480 on, at 3840 (content origin 3360), until 5760.
  addPart(keys, 3840, 1920, 480,
          {note(0, 65, 100, 10), note(480, 67, 100, 240),
           note(600.5, 69, 100, 0.2),  // 3960.5 rounds up; the end keeps a tick
           note(2400, 71, 100, 10)});
  addPart(keys, 5760, 1920, 0, {note(0, 72, 100, 10)}, true);

  MTrackEvent* bass = addTrack("Bass");
  addPart(bass, 0, 3840, 0, {midi<MMidiController>(480, 1, 10, 64), note(480, 40, 80, 480, 1)});
  MTrackEvent* ghost = addTrack("Ghost", true);
  addPart(ghost, 0, 1920, 0, {note(0, 50, 100, 10)});
}

TEST_F(SmfExport, TypeOneAndTypeZeroReadBackByMido) {
  if (!test::haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  buildSong();

  // Hex by hand: 500000 us = 07 A1 20, 1000000 = 0F 42 40; 4/4 = 04 02 18 08,
  // 6/8 = 06 03 18 08; "Verse" 56 65 72 73 65, "Keys" 4B 65 79 73, "Bass"
  // 42 61 73 73, "hi" 68 69; bend 0x3000 = E0 00 60; velocity 90 = 5A.
  MSmfExportSummary summary = exportTo({1, false});
  EXPECT_EQ(test::readWithMido(path_), (MidoLines{"type 1 tracks 3 division 480",
                                                  "0 0 FF 51 03 07 A1 20",
                                                  "0 0 FF 58 04 04 02 18 08",
                                                  "0 1920 FF 06 05 56 65 72 73 65",
                                                  "0 3840 FF 51 03 0F 42 40",
                                                  "0 7680 FF 58 04 06 03 18 08",
                                                  "0 7680 FF 2F 00",
                                                  "1 0 FF 03 04 4B 65 79 73",
                                                  "1 0 FF 01 02 68 69",  // meta events first at a tick
                                                  "1 0 C0 05",
                                                  "1 0 B0 07 64",
                                                  "1 0 90 3C 64",  // note-ons last
                                                  "1 240 E0 00 60",
                                                  "1 300 D0 50",
                                                  "1 310 A0 3C 20",
                                                  "1 320 F0 7E 7F 09 01 F7",
                                                  "1 480 90 3C 00",  // note-offs before note-ons
                                                  "1 480 90 3C 5A",
                                                  "1 960 80 3C 40",
                                                  "1 1000 90 3E 46",
                                                  "1 1200 90 3E 47",
                                                  "1 1500 90 3E 00",
                                                  "1 1700 90 3E 00",
                                                  "1 3840 90 43 64",
                                                  "1 3961 90 45 64",
                                                  "1 3962 90 45 00",
                                                  "1 4080 90 43 00",
                                                  "1 4080 FF 2F 00",
                                                  "2 0 FF 03 04 42 61 73 73",
                                                  "2 480 B1 0A 40",
                                                  "2 480 91 28 50",
                                                  "2 960 91 28 00",
                                                  "2 960 FF 2F 00"}));
  EXPECT_EQ(summary.tracks, 3);
  EXPECT_EQ(summary.events, 5 + 19 + 3);

  // One track: equal ticks keep the groups, and within a group the order of
  // the tracks (Keys before Bass at 480 and 960).
  summary = exportTo({0, false});
  EXPECT_EQ(test::readWithMido(path_), (MidoLines{"type 0 tracks 1 division 480",
                                                  "0 0 FF 51 03 07 A1 20",
                                                  "0 0 FF 58 04 04 02 18 08",
                                                  "0 0 FF 01 02 68 69",
                                                  "0 0 C0 05",
                                                  "0 0 B0 07 64",
                                                  "0 0 90 3C 64",
                                                  "0 240 E0 00 60",
                                                  "0 300 D0 50",
                                                  "0 310 A0 3C 20",
                                                  "0 320 F0 7E 7F 09 01 F7",
                                                  "0 480 90 3C 00",
                                                  "0 480 B1 0A 40",
                                                  "0 480 90 3C 5A",
                                                  "0 480 91 28 50",
                                                  "0 960 80 3C 40",
                                                  "0 960 91 28 00",
                                                  "0 1000 90 3E 46",
                                                  "0 1200 90 3E 47",
                                                  "0 1500 90 3E 00",
                                                  "0 1700 90 3E 00",
                                                  "0 1920 FF 06 05 56 65 72 73 65",
                                                  "0 3840 FF 51 03 0F 42 40",
                                                  "0 3840 90 43 64",
                                                  "0 3961 90 45 64",
                                                  "0 3962 90 45 00",
                                                  "0 4080 90 43 00",
                                                  "0 7680 FF 58 04 06 03 18 08",
                                                  "0 7680 FF 2F 00"}));
  EXPECT_EQ(summary.tracks, 1);
  EXPECT_EQ(summary.events, 27);

  // With the muted ones: the muted note, the muted part and the muted track.
  summary = exportTo({1, true});
  const MidoLines all = test::readWithMido(path_);
  ASSERT_FALSE(all.empty());
  EXPECT_EQ(all[0], "type 1 tracks 4 division 480");
  for (const char* line : {"1 2000 90 40 64", "1 5760 90 48 64", "3 0 FF 03 05 47 68 6F 73 74", "3 0 90 32 64"}) {
    EXPECT_NE(std::find(all.begin(), all.end(), line), all.end()) << line;
  }
  EXPECT_EQ(summary.events, 27 + 3 * 2);
}

TEST_F(SmfExport, TempoRampsKeepTheSecondsOfTheProject) {
  if (!test::haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  // 120 BPM at 0, a ramp to 60 BPM at bar 2, then 100 BPM at bar 3.
  MTempoTrackNode& tempo = *project().getTempoNode();
  FRef<MAccessor> accessor = tempo.getWriteAccessor();
  ASSERT_TRUE(accessor->insert(makeRef<MTempoEvent>(1920, 60, MTempoFunc::kRamp)));
  ASSERT_TRUE(accessor->insert(makeRef<MTempoEvent>(3840, 100)));
  std::vector<FRef<MEvent>> notes;
  for (int tick = 0; tick <= 4800; tick += 120) notes.push_back(note(tick, 60, 100, 30));
  addPart(addTrack("Clock"), 0, 5000, 0, std::move(notes));
  exportTo({0, false});

  // mido walks the tempo map itself; at every step (a sixteenth, 120
  // ticks) its second must be the project's, to within the microsecond
  // rounding of the steps before.
  const MidoLines lines = test::readWithMido(path_, true);
  int tempos = 0;
  int tick = 0;
  for (const std::string& line : lines) {
    if (line.find(" FF 51 ") != std::string::npos) ++tempos;
    if (line.find(" 90 3C 64") == std::string::npos) continue;
    EXPECT_NEAR(std::stod(line), tempo.secondsAt(tick), 5e-6) << "tick " << tick;
    tick += 120;
  }
  EXPECT_EQ(tick, 4920);
  // 16 steps of a sixteenth over the ramp, then 60 and 100 BPM.
  EXPECT_EQ(tempos, 18);
}

TEST_F(SmfExport, APartNotYetCheckedIsReadWhole) {
  if (!test::haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  // As loaded while loaded parts are not trusted: its events out of order.
  FRef<MPartEvent> part = addTrack("Loaded")->createPart();
  part->setLength(1920);
  part->setFlag(MMidiPartEvent::kUnchecked, true);
  auto& list = static_cast<MPartNode*>(part->getNode())->list();
  for (double start : {960.0, 1920.0, 0.0}) list.append(note(start, 60, 100, 10));
  ASSERT_TRUE(project().addPart(project().getTrackList()->at(0), part));
  exportTo({0, false});
  EXPECT_EQ(test::readWithMido(path_),
            (MidoLines{"type 0 tracks 1 division 480", "0 0 FF 51 03 07 A1 20", "0 0 FF 58 04 04 02 18 08",
                       "0 0 90 3C 64", "0 10 90 3C 00", "0 960 90 3C 64", "0 970 90 3C 00", "0 970 FF 2F 00"}));
}

TEST_F(SmfExport, AnEventTooFarForAFileFailsWithAReason) {
  addPart(addTrack("Far"), 0, 3e8, 0, {note(0, 60, 100, 10), note(2.7e8, 60, 100, 10)});
  FFileStream stream;
  ASSERT_TRUE(stream.open(path_, FFileStream::Mode::kWrite));
  MSmfExporter exporter(project(), {});
  std::string error;
  EXPECT_FALSE(exporter.write(stream, &error));
  EXPECT_EQ(error,
            "an event at tick 270000000 lies too far after the one before it for a MIDI file (at most 268435455 "
            "ticks apart)");
  (void)stream.close();
}

}  // namespace
}  // namespace vantor
