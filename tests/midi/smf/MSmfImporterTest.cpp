// "Import MIDI": files written by python3-mido, hand-made SMPTE and damaged
// files, and every file of the shared corpus against mido's reading.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "midi/MMidiInit.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"
#include "midi/quantize/MGridQuantize.h"
#include "midi/quantize/MQuantizeFunctions.h"
#include "midi/smf/MSmfImportCommand.h"
#include "midi/smf/MSmfImporter.h"
#include "midi/smf/MidoOracle.h"
#include "midi/smf/SmfBytes.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackList.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;
using test::Bytes;

Bytes readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

MMidiPartEvent* placementOf(const MTrackEvent& track) {
  return dynamic_cast<MMidiPartEvent*>(track.getNode()->events()->at(0));
}
const MEventContainer& eventsOf(const MTrackEvent& track) { return *placementOf(track)->getNode()->events(); }

class SmfImport : public ::testing::Test {
 protected:
  void SetUp() override { initializeMidi(); }

  // Imports bytes at position; the result, or a failed expectation.
  MSmfImport import(const Bytes& bytes, double position = 0, const MTempoTrackNode* tempo = nullptr) {
    MSmfImporter importer(position, tempo);
    std::string reason;
    EXPECT_TRUE(importer.importBytes(bytes.data(), bytes.size(), &reason)) << reason;
    return importer.takeResult();
  }
};

// Written by mido at 100 ticks to the quarter note, so a tick is 4.8 pulses:
// a tempo-only track, a track with every kind of event, and an empty one.
constexpr const char* kWriteScript = R"(import sys, mido
M, Msg = mido.MetaMessage, mido.Message
f = mido.MidiFile(ticks_per_beat=100)
f.tracks.append(mido.MidiTrack([M('set_tempo', tempo=500000, time=0), M('set_tempo', tempo=400000, time=200)]))
events = [(0, M('track_name', name='Piano')), (0, M('time_signature', numerator=6, denominator=8)),
    (0, M('text', text='hello')), (0, Msg('note_on', note=60, velocity=100)),
    (5, Msg('sysex', data=[0x7E, 0x7F, 0x09, 0x01])), (10, Msg('note_on', note=60, velocity=90)),
    (11, Msg('note_on', note=62, velocity=70)), (12, Msg('note_on', note=62, velocity=0)),
    (15, Msg('pitchwheel', channel=2, pitch=1000)), (16, Msg('control_change', control=7, value=99)),
    (17, Msg('note_off', note=70, velocity=5)), (20, Msg('note_off', note=60, velocity=30)),
    (40, Msg('note_on', note=60, velocity=0)), (45, Msg('note_on', note=64, velocity=80)),
    (50, M('marker', text='Verse')), (300, M('end_of_track'))]
track, last = mido.MidiTrack(), 0
for tick, m in events:
    track.append(m.copy(time=tick - last))
    last = tick
f.tracks.append(track)
f.tracks.append(mido.MidiTrack([M('track_name', name='Empty')]))
f.save(sys.argv[1])
)";

struct Expected {
  const char* kind;  // "note", "sysex", "bend", "ctrl", or a meta type's display name
  double start;
  int channel, data1, data2;
  double length;  // notes
  int data3;      // notes
};

TEST_F(SmfImport, MidoFileImportsToClassesTicksAndTempoMap) {
  if (!test::haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  const fs::path path = fs::temp_directory_path() / ("vantor-import-" + std::to_string(getpid()) + ".mid");
  test::runPython(kWriteScript, path.string());
  MSmfImport result = import(readFile(path));
  fs::remove(path);

  // The tempo-only track makes no track; the empty one does.
  ASSERT_EQ(result.tracks.size(), 2u);
  EXPECT_EQ(result.tracks[0]->getName(), "Piano");
  EXPECT_EQ(result.tracks[1]->getName(), "Empty");
  EXPECT_EQ(eventsOf(*result.tracks[1]).size(), 0u);
  EXPECT_EQ(placementOf(*result.tracks[1])->getLength(), 1920.0);
  // Ticks * 4.8; note 60 (tick 0) ends at the first note-off (tick 20), the
  // overlapping one (tick 10) at the note-on of velocity 0 (tick 40); note
  // 64 sounds until the end of the track (tick 300). The note-off of 70
  // matches nothing and is dropped.
  const Expected expected[] = {
      {"SMF:Text", 0, 0, 0, 0, 0, 0},  {"note", 0, 0, 60, 100, 96, 30},   {"sysex", 24, 0, 0, 0, 0, 0},
      {"note", 48, 0, 60, 90, 144, 0}, {"note", 52.8, 0, 62, 70, 4.8, 0}, {"bend", 72, 2, 104, 71, 0, 0},
      {"ctrl", 76.8, 0, 7, 99, 0, 0},  {"note", 216, 0, 64, 80, 1224, 0}, {"SMF:Marker", 240, 0, 0, 0, 0, 0},
  };
  const MEventContainer& events = eventsOf(*result.tracks[0]);
  ASSERT_EQ(events.size(), std::size(expected));
  for (size_t i = 0; i < events.size(); ++i) {
    const Expected& e = expected[i];
    const MEvent* event = events.at(i);
    SCOPED_TRACE(i);
    EXPECT_DOUBLE_EQ(event->getStart(), e.start);
    if (const auto* meta = dynamic_cast<const MSmfEvent*>(event)) {
      EXPECT_STREQ(meta->getDisplayName(), e.kind);
      continue;
    }
    const auto* midi = dynamic_cast<const MMidiEvent*>(event);
    ASSERT_NE(midi, nullptr);
    EXPECT_EQ(midi->getChannel(), e.channel);
    EXPECT_EQ(midi->getData1(), e.data1);
    EXPECT_EQ(midi->getData2(), e.data2);
    const std::string kind = e.kind;
    if (kind == "note") {
      const auto* note = dynamic_cast<const MMidiNote*>(event);
      ASSERT_NE(note, nullptr);
      EXPECT_DOUBLE_EQ(note->getLength(), e.length);
      EXPECT_EQ(note->getData3(), e.data3);
    } else if (kind == "sysex") {
      const auto* sysex = dynamic_cast<const MMidiSysex*>(event);
      ASSERT_NE(sysex, nullptr);
      EXPECT_EQ(sysex->getBytes(), (std::vector<uint8_t>{0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7}));
    } else {
      EXPECT_NE(dynamic_cast<const MMidiPitchBend*>(event) != nullptr, kind == "ctrl");
      EXPECT_NE(dynamic_cast<const MMidiController*>(event) != nullptr, kind == "bend");
    }
  }
  EXPECT_DOUBLE_EQ(placementOf(*result.tracks[0])->getLength(), 1440.0);
  EXPECT_EQ(result.counts.notes, 4u);
  EXPECT_EQ(result.counts.meta, 2u);
  EXPECT_EQ(result.counts.dropped, 1u);
  // 500000 us at tick 0, 400000 us at tick 200 (960 pulses); 6/8 at 0.
  ASSERT_EQ(result.tempos.size(), 2u);
  EXPECT_EQ(result.tempos[0].pulses, 0.0);
  EXPECT_EQ(result.tempos[0].secondsPerQuarter, 0.5f);
  EXPECT_EQ(result.tempos[1].pulses, 960.0);
  EXPECT_EQ(result.tempos[1].secondsPerQuarter, 0.4f);
  ASSERT_EQ(result.signatures.size(), 1u);
  EXPECT_EQ(result.signatures[0].numerator, 6);
  EXPECT_EQ(result.signatures[0].denominator, 8);
}

// A file with one note, a tempo of 150 BPM at tick 0 and 6/8 at tick 0,
// division 480.
Bytes smallFile() {
  return test::file(
      {test::header(1, 1, 480), test::chunk("MTrk", {0x00, 0xFF, 0x51, 0x03, 0x06, 0x1A, 0x80,  //
                                                     0x00, 0xFF, 0x58, 0x04, 0x06, 0x03, 0x18, 0x08, 0x00, 0x90, 0x3C,
                                                     0x64, 0x83, 0x60, 0x80, 0x3C, 0x40, 0x00, 0xFF, 0x2F, 0x00})});
}

TEST_F(SmfImport, AtAPositionTheFileRulesTheTempoMapFromThereAndUndoRestoresIt) {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  // 120 BPM from 0, 90 BPM from bar 3 (3840); 4/4 from 0.
  ASSERT_TRUE(project.getTempoNode()->getWriteAccessor()->insert(makeRef<MTempoEvent>(3840.0, 90.0)));
  const Bytes before = test::archiveBytes(&project);

  MSmfImport result = import(smallFile(), 1920, project.getTempoNode());
  MSmfImportCounts counts = result.counts;
  EXPECT_EQ(counts.notes, 1u);
  const MGridQuantize grid(4, MGridQuantize::kStraight);
  FRef<MCommand> command = makeImportMidiCommand(project, result, 1920, grid, MQuantizeSettings{});
  command->setProject(FRef<MProject>::share(&project));
  ASSERT_TRUE(command->perform()) << command->failure();
  const Bytes after = test::archiveBytes(&project);

  // The change before the position stays; the one after it gives way to
  // the file's.
  const MTempoTrackNode& tempo = *project.getTempoNode();
  ASSERT_EQ(tempo.tempoCount(), 2u);
  EXPECT_EQ(tempo.tempoEvent(0)->getStart(), 0.0);
  EXPECT_EQ(tempo.tempoEvent(0)->getSPB(), 0.5f);
  EXPECT_EQ(tempo.tempoEvent(1)->getStart(), 1920.0);
  EXPECT_EQ(tempo.tempoEvent(1)->getSPB(), 0.4f);
  // 1920 pulses at 120 BPM is 2 s; the note's 480 pulses at 150 BPM 0.4 s.
  EXPECT_NEAR(tempo.secondsAt(2400.0), 2.4, 1e-6);  // 0.4 s per beat, kept as a float
  const MSignatureTrackNode& signatures = *project.getSignatureNode();
  ASSERT_EQ(signatures.signatureCount(), 2u);
  EXPECT_EQ(signatures.signature(1)->getPosition(), 1920);
  EXPECT_EQ(signatures.signature(1)->getNumerator(), 6);
  ASSERT_EQ(project.getTrackList()->count(), 1u);
  const MEvent* note = eventsOf(*project.getTrackList()->at(0)).at(0);
  EXPECT_EQ(note->getStart(), 0.0);
  EXPECT_EQ(note->getLength(), 480.0);
  EXPECT_EQ(placementOf(*project.getTrackList()->at(0))->getStart(), 1920.0);

  ASSERT_TRUE(command->undo());
  EXPECT_EQ(test::archiveBytes(&project), before);
  ASSERT_TRUE(command->redo());
  EXPECT_EQ(test::archiveBytes(&project), after);
}

TEST_F(SmfImport, AutoQuantizeMovesImportedNotesAndKeepsTheirInitialPlaces) {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  // One note at tick 130 (division 480): 1/16 grid points lie at 0 and 120.
  const Bytes bytes =
      test::file({test::header(0, 1, 480),
                  test::chunk("MTrk", {0x81, 0x02, 0x90, 0x3C, 0x64, 0x10, 0x80, 0x3C, 0x40, 0x00, 0xFF, 0x2F, 0x00})});
  MSmfImport result = import(bytes);
  MQuantizeSettings settings;
  settings.autoQuantize = true;
  FRef<MCommand> command =
      makeImportMidiCommand(project, result, 0, MGridQuantize(4, MGridQuantize::kStraight), settings);
  ASSERT_TRUE(command->perform());
  const auto* note = dynamic_cast<const MMidiNote*>(eventsOf(*project.getTrackList()->at(0)).at(0));
  ASSERT_NE(note, nullptr);
  EXPECT_EQ(note->getStart(), 120.0);
  EXPECT_EQ(note->getInitialStart(), 130.0);
}

// Division 0xE728: 25 frames of 40 ticks, 1000 ticks a second. A note from
// tick 1000 to 3000 (1 s to 3 s), 60 BPM from tick 2000 in the note's chunk
// and 120 BPM from 0 in a chunk after it.
Bytes smpteFile(bool withTempo) {
  Bytes track = {0x87, 0x68, 0x90, 0x3C, 0x64};
  if (withTempo) {
    test::append(track, {0x87, 0x68, 0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40, 0x87, 0x68});
  } else {
    test::append(track, {0x8F, 0x50});  // 2000 ticks
  }
  test::append(track, {0x80, 0x3C, 0x40, 0x00, 0xFF, 0x2F, 0x00});
  if (!withTempo) return test::file({test::header(0, 1, 0xE728), test::chunk("MTrk", track)});
  return test::file({test::header(1, 2, 0xE728), test::chunk("MTrk", track),
                     test::chunk("MTrk", {0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20, 0x00, 0xFF, 0x2F, 0x00})});
}

TEST_F(SmfImport, SmpteTicksBecomePulsesThroughSeconds) {
  // The file's tempo: 1 s at 120 BPM is 960 pulses; 3 s is 2 s at 120 BPM
  // (1920) and 1 s at 60 BPM (480).
  MSmfImport withTempo = import(smpteFile(true));
  ASSERT_EQ(withTempo.tracks.size(), 1u);
  const MEvent* note = eventsOf(*withTempo.tracks[0]).at(0);
  EXPECT_DOUBLE_EQ(note->getStart(), 960.0);
  EXPECT_DOUBLE_EQ(note->getLength(), 2400.0 - 960.0);
  ASSERT_EQ(withTempo.tempos.size(), 2u);
  EXPECT_DOUBLE_EQ(withTempo.tempos[1].pulses, 1920.0);

  // Without a tempo of its own the project's map places it: 60 BPM, import
  // at pulse 480 (1 s); the note from 2 s (960) to 4 s (1920), counted from
  // the part's start.
  MTempoTrackNode projectTempo;
  projectTempo.tempoEvent(0)->setBPM(60.0);
  MSmfImport withoutTempo = import(smpteFile(false), 480, &projectTempo);
  ASSERT_EQ(withoutTempo.tracks.size(), 1u);
  note = eventsOf(*withoutTempo.tracks[0]).at(0);
  EXPECT_DOUBLE_EQ(note->getStart(), 480.0);
  EXPECT_DOUBLE_EQ(note->getLength(), 960.0);
  EXPECT_TRUE(withoutTempo.tempos.empty());
}

TEST_F(SmfImport, DamagedFilesFailWithAReasonOrYieldWhatCouldBeRead) {
  const struct {
    Bytes bytes;
    const char* reason;
  } refused[] = {
      {{}, "it is not a MIDI file (it does not begin with \"MThd\")"},
      {{'R', 'I', 'F', 'F', 0, 0, 0, 4, 'W', 'A', 'V', 'E', 0, 0}, "it is not a MIDI file"},
      {{'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 1, 0}, "its header is cut short"},
      {test::file({test::header(1, 1, 0)}), "its time division is 0 ticks"},
  };
  for (const auto& row : refused) {
    MSmfImporter importer(0, nullptr);
    std::string reason;
    EXPECT_FALSE(importer.importBytes(row.bytes.data(), row.bytes.size(), &reason));
    EXPECT_NE(reason.find(row.reason), std::string::npos) << reason;
  }
  // A track chunk cut short after one note-on: the note ends where the
  // chunk's events end.
  Bytes cut =
      test::file({test::header(1, 1, 480),
                  test::chunk("MTrk", {0x00, 0x90, 0x3C, 0x64, 0x83, 0x60, 0x90, 0x3E, 0x64, 0x00, 0xFF, 0x2F, 0x00})});
  cut.resize(cut.size() - 8);
  MSmfImport result = import(cut);
  ASSERT_EQ(result.tracks.size(), 1u);
  ASSERT_EQ(eventsOf(*result.tracks[0]).size(), 1u);
  EXPECT_EQ(eventsOf(*result.tracks[0]).at(0)->getLength(), 0.0);
  EXPECT_EQ(importMidiFailure("a.mid", "why"), "Cannot import MIDI file \"a.mid\": why");
}

// Every note mido reads, paired as the importer pairs them (a note-off ends
// the earliest sounding note of its channel and pitch; notes still sounding
// end with their track), at 480 pulses to the quarter note.
constexpr const char* kNotesScript = R"(import sys, mido
for path in sys.argv[1:]:
    print('FILE', path)
    try:
        f = mido.MidiFile(path, clip=False)
    except Exception:
        print('FAIL')
        continue
    div = f.ticks_per_beat
    if div & 0x8000 or div == 0:
        print('FAIL')
        continue
    out = []
    for track in f.tracks:
        tick, sounding, notes = 0, {}, []
        for m in track:
            tick += m.time
            if m.type == 'note_on' and m.velocity > 0:
                n = [m.channel, m.note, tick, None, m.velocity]
                sounding.setdefault((m.channel, m.note), []).append(n)
                notes.append(n)
            elif m.type in ('note_on', 'note_off'):
                q = sounding.get((m.channel, m.note))
                if q:
                    q.pop(0)[3] = tick
        for n in notes:
            end = tick if n[3] is None else n[3]
            out.append('%d %d %.4f %.4f %d' % (n[0], n[1], n[2] * 480 / div, (end - n[2]) * 480 / div, n[4]))
    for line in sorted(out):
        print(line)
)";

// Files whose stray system-common messages (0xF1, 0xF2, 0xF3 with their
// data bytes) the reader passes over one byte at a time, as the format's
// readers do, so that their data bytes run on under the running status;
// mido skips the whole message.
bool readDifferently(const std::string& file) {
  for (const char* name :
       {"test-illegal-message-f1-xx.mid", "test-illegal-message-f2-xx-xx.mid", "test-illegal-message-f3-xx.mid"}) {
    if (fs::path(file).filename() == name) return true;
  }
  return false;
}

// Cut short and with bytes changed, a file still imports or fails with a
// reason; what it gives holds its events in order, none of negative length.
void importDamaged(const Bytes& bytes) {
  for (size_t i = 1; i < 16 && bytes.size() > 16; ++i) {
    Bytes damaged = bytes;
    if (i % 2 == 0) {
      damaged.resize(bytes.size() * i / 16);
    } else {
      damaged[14 + (bytes.size() - 14) * i / 16] ^= static_cast<uint8_t>(0x55 + i);
    }
    MSmfImporter importer(0, nullptr);
    std::string reason;
    if (!importer.importBytes(damaged.data(), damaged.size(), &reason)) {
      EXPECT_FALSE(reason.empty());
      continue;
    }
    for (const auto& track : importer.takeResult().tracks) {
      double last = 0;
      for (const auto& event : *placementOf(*track)->getNode()->events()) {
        EXPECT_GE(event->getStart(), last);
        EXPECT_GE(event->getLength(), 0.0);
        last = event->getStart();
      }
    }
  }
}

std::vector<std::string> importedNotes(const MSmfImport& result) {
  std::vector<std::string> lines;
  char line[128];
  for (const auto& track : result.tracks) {
    for (const auto& event : *placementOf(*track)->getNode()->events()) {
      const auto* note = dynamic_cast<const MMidiNote*>(event.get());
      if (note == nullptr) continue;
      std::snprintf(line, sizeof line, "%d %d %.4f %.4f %d", note->getChannel(), note->getData1(), note->getStart(),
                    note->getLength(), note->getData2());
      lines.push_back(line);
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

TEST_F(SmfImport, EveryCorpusFileImportsDamagedOrNotAndItsNotesEqualMidos) {
  const fs::path corpus = fs::path(VANTOR_SHARED_DIR) / "corpus" / "midi";
  if (!fs::exists(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(corpus)) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  ASSERT_FALSE(files.empty());
  std::string arguments;
  for (const auto& file : files) arguments += " '" + file + "'";
  std::map<std::string, std::vector<std::string>> mido;
  if (test::haveMido()) {
    std::string current;
    for (const std::string& line : test::runPython(kNotesScript, arguments)) {
      if (line.rfind("FILE ", 0) == 0) {
        current = line.substr(5);
        mido[current];
      } else if (line == "FAIL") {
        mido.erase(current);  // mido refuses the file: nothing to compare
      } else {
        mido[current].push_back(line);
      }
    }
  }
  size_t compared = 0;
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    const Bytes bytes = readFile(file);
    MSmfImporter importer(0, nullptr);
    std::string reason;
    if (!importer.importBytes(bytes.data(), bytes.size(), &reason)) {
      EXPECT_FALSE(reason.empty());
      continue;
    }
    const MSmfImport result = importer.takeResult();
    importDamaged(bytes);
    auto it = mido.find(file);
    if (it == mido.end() || readDifferently(file)) continue;
    EXPECT_EQ(importedNotes(result), it->second);
    ++compared;
  }
  if (test::haveMido()) {
    EXPECT_GT(compared, 50u);
  }
}

}  // namespace
}  // namespace vantor
