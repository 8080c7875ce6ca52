// Our files against an independent reader and writer (python3-mido), and
// the shared corpus of outside files.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "foundation/FFileStream.h"
#include "midi/smf/MSmfReader.h"
#include "midi/smf/MSmfWriter.h"
#include "midi/smf/MidoOracle.h"
#include "midi/smf/SmfRecorder.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

using test::haveMido;
using test::runPython;

TEST(SmfInterop, MidoReadsWhatWeWrite) {
  if (!haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  const fs::path path = fs::temp_directory_path() / "vantor-smf-written.mid";
  FFileStream stream;
  ASSERT_TRUE(stream.open(path.string(), FFileStream::Mode::kWrite));
  MSmfWriter w(stream);
  MSmfHeader h;
  h.division = 384;
  ASSERT_TRUE(w.beginFile(h));
  ASSERT_TRUE(w.beginTrack("Tempo"));
  ASSERT_TRUE(w.tempo(0, 500000.0f));
  ASSERT_TRUE(w.timeSignature(768, 6, 8));
  ASSERT_TRUE(w.endTrack());
  ASSERT_TRUE(w.beginTrack("Notes"));
  const uint8_t sysex[] = {0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7};
  ASSERT_TRUE(w.systemExclusive(0, sysex, sizeof sysex));
  ASSERT_TRUE(w.channelEvent(0, 0x90, 60, 100));
  ASSERT_TRUE(w.metaEvent(0x06, 10, reinterpret_cast<const uint8_t*>("M"), 1));
  ASSERT_TRUE(w.channelEvent(384, 0x90, 60, 0));  // running status across a meta event
  ASSERT_TRUE(w.channelEvent(400, 0xC2, 9, 0));
  // Enough notes that the chunk length is fixed up after the buffer went
  // to the file.
  for (int i = 0; i < 100000; ++i) ASSERT_TRUE(w.channelEvent(400 + i, 0x91, i % 128, 64));
  ASSERT_TRUE(w.endTrack());
  ASSERT_TRUE(w.endFile());
  ASSERT_TRUE(stream.close());

  const Lines lines = test::readWithMido(path.string());
  ASSERT_EQ(lines.size(), 1u + 4 + 6 + 100000 + 1) << (lines.empty() ? "" : lines[0]);
  const Lines head(lines.begin(), lines.begin() + 11);
  EXPECT_EQ(head,
            (Lines{"type 1 tracks 2 division 384", "0 0 FF 03 05 54 65 6D 70 6F", "0 0 FF 51 03 07 A1 20",
                   "0 768 FF 58 04 06 03 18 08", "0 768 FF 2F 00", "1 0 FF 03 05 4E 6F 74 65 73",
                   "1 0 F0 7E 7F 09 01 F7", "1 0 90 3C 64", "1 10 FF 06 01 4D", "1 384 90 3C 00", "1 400 C2 09"}));
  EXPECT_EQ(lines[11 + 99999], "1 100399 91 1F 40");  // 99999 % 128 = 31
  EXPECT_EQ(lines.back(), "1 100399 FF 2F 00");
  fs::remove(path);
}

TEST(SmfInterop, WeReadWhatMidoWrites) {
  if (!haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  const fs::path path = fs::temp_directory_path() / "vantor-smf-mido.mid";
  const std::string script = R"(import sys, mido
f = mido.MidiFile(type=1, ticks_per_beat=240)
t = mido.MidiTrack(); f.tracks.append(t)
t.append(mido.MetaMessage('set_tempo', tempo=400000, time=0))
t.append(mido.MetaMessage('time_signature', numerator=6, denominator=8, time=480))
t = mido.MidiTrack(); f.tracks.append(t)
t.append(mido.MetaMessage('track_name', name='Bass', time=0))
t.append(mido.Message('note_on', channel=1, note=40, velocity=90, time=0))
t.append(mido.Message('note_on', channel=1, note=40, velocity=0, time=240))
t.append(mido.Message('pitchwheel', channel=1, pitch=-8192, time=5))
t.append(mido.Message('program_change', channel=1, program=33, time=0))
t.append(mido.Message('sysex', data=[1, 2, 3], time=7))
t.append(mido.MetaMessage('marker', text='X', time=0))
t.append(mido.MetaMessage('text', text='hi', time=1))
f.tracks.append(mido.MidiTrack())
f.save(sys.argv[1])
)";
  runPython(script, path.string());
  FFileStream stream;
  ASSERT_TRUE(stream.open(path.string(), FFileStream::Mode::kRead));
  test::SmfRecorder r;
  ASSERT_TRUE(r.read(stream));
  EXPECT_EQ(r.header().division, 240);
  EXPECT_EQ(r.lines, (Lines{"begin", "tempo @0 0.400000", "sig @480 6/8", "track 1", "t1.0 @0 91 28 5A",
                            "t1.0 @240 91 28 00", "t1.0 @245 E1 00 00", "t1.0 @245 C1 21 00",
                            "t1.0 @252 sysex F0 01 02 03 F7", "t1.0 @252 meta 06 X", "t1.0 @253 text 01 hi",
                            "t1.0 name Bass", "t1.0 endtrack 253", "track 2", "t2.1 endtrack 0", "end"}));
  fs::remove(path);
}

// Counts channel events per chunk index.
class ChannelCounter : public MSmfReader {
 public:
  std::map<int, int> counts;
  MSmfTrackHandle createTrack(int index) override {
    counts[index] += 0;
    return reinterpret_cast<MSmfTrackHandle>(static_cast<intptr_t>(index + 1));
  }
  void channelEvent(MSmfTrackHandle track, int64_t, uint8_t, uint8_t, uint8_t) override {
    ++counts[static_cast<int>(reinterpret_cast<intptr_t>(track)) - 1];
  }
};

TEST(SmfInterop, CorpusParsesAndMatchesMidoChannelCounts) {
  const fs::path corpus = fs::path(VANTOR_SHARED_DIR) / "corpus";
  if (!fs::is_directory(corpus / "midi")) GTEST_SKIP() << "no corpus at " << corpus;
  // Which files mido reads, from the corpus's table of peer results.
  std::set<std::string> midoReads;
  std::ifstream table(corpus / "PEER_RESULTS_midi.tsv");
  for (std::string line; std::getline(table, line);) {
    std::vector<std::string> cells;
    std::stringstream row(line);
    for (std::string cell; std::getline(row, cell, '\t');) cells.push_back(cell);
    if (cells.size() > 3 && cells[3].rfind("ok:", 0) == 0) midoReads.insert(cells[0]);
  }
  ASSERT_GT(midoReads.size(), 50u);

  std::map<std::string, std::string> ours;
  std::string arguments;
  for (const auto& entry : fs::recursive_directory_iterator(corpus / "midi")) {
    if (!entry.is_regular_file()) continue;
    FFileStream stream;
    ASSERT_TRUE(stream.open(entry.path().string(), FFileStream::Mode::kRead));
    ChannelCounter counter;
    (void)counter.read(stream);  // every file, damaged ones included, without a crash
    const std::string relative = fs::relative(entry.path(), corpus).string();
    if (midoReads.count(relative) == 0) continue;
    std::string counts;
    for (const auto& [index, count] : counter.counts) {
      if (count > 0) counts += " " + std::to_string(index) + ":" + std::to_string(count);
    }
    ours[relative] = counts;
    arguments += " '" + entry.path().string() + "'";
  }
  if (!haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  const std::string script = R"(import sys, os, mido
corpus = os.path.dirname(os.path.dirname(os.path.dirname(sys.argv[1])))
for path in sys.argv[1:]:
    f = mido.MidiFile(path)
    counts = [sum(1 for m in t if hasattr(m, 'channel')) for t in f.tracks]
    # Tracks without channel messages may hold only tempo: compare the others.
    print(os.path.relpath(path, corpus) + '\t' + ''.join(' %d:%d' % (i, c) for i, c in enumerate(counts) if c))
)";
  // System common messages with data bytes have no meaning inside a file;
  // the parser passes over their status byte alone and reads their data as
  // running status, where mido knows their lengths.
  const std::set<std::string> knownDifferent = {"midi/jazz-soft-test-midi-files/test-illegal-message-f1-xx.mid",
                                                "midi/jazz-soft-test-midi-files/test-illegal-message-f3-xx.mid"};
  const Lines lines = runPython(script, arguments);
  ASSERT_EQ(lines.size(), ours.size());
  for (const std::string& line : lines) {
    const size_t tab = line.find('\t');
    const std::string name = line.substr(0, tab);
    if (knownDifferent.count(name) != 0) continue;
    std::string theirs = line.substr(tab + 1);
    EXPECT_EQ(ours[name], theirs) << name;
  }
}

}  // namespace
}  // namespace vantor
