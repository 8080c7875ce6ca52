// Every file of the shared MIDI corpus through the shipped command: imported
// into a new project, saved, exported, and the export read by python3-mido
// against mido's reading of the original. Notes, controllers, program
// changes, pitch bends, pressures, system exclusives, tempo changes and
// signatures must all come back at the same ticks (scaled to 480 to the
// quarter note and rounded as the export rounds).

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/CliTestSupport.h"
#include "midi/smf/MidoOracle.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

// For each pair ORIGINAL EXPORT: "SAME PATH", "SKIP PATH" (mido refuses the
// original or it counts in SMPTE frames) or "DIFF PATH" and the first lines
// that differ. Notes pair a note-off with the earliest sounding note of its
// channel and pitch, as the importer does; notes left sounding end with their
// track; a note lasts at least one tick, as the export writes it. Tempo and
// signature maps are compared as the values in force from each tick on;
// tempos to a microsecond, since the importer keeps a tempo as a 32-bit
// float of seconds. System common and real-time messages have no place in
// a file: the reader passes over them.
constexpr const char* kCompareScript = R"(import sys, mido
from fractions import Fraction

def scaled(tick, division):
    return int(Fraction(tick * 480, division) + Fraction(1, 2))

def messages(path):
    f = mido.MidiFile(path)
    d = f.ticks_per_beat
    notes, other, tempo, sig = [], [], {}, {}
    for track in f.tracks:
        tick, sounding = 0, {}
        for m in track:
            tick += m.time
            t = scaled(tick, d)
            if m.type == 'note_on' and m.velocity > 0:
                sounding.setdefault((m.channel, m.note), []).append((t, m.velocity))
            elif m.type in ('note_on', 'note_off'):
                waiting = sounding.get((m.channel, m.note))
                if waiting:
                    start, velocity = waiting.pop(0)
                    notes.append((m.channel, m.note, start, max(t, start + 1), velocity))
            elif m.type == 'set_tempo':
                tempo[t] = m.tempo
            elif m.type == 'time_signature':
                sig[t] = (m.numerator, m.denominator)
            elif not m.is_meta and m.bytes()[0] <= 0xF0:
                other.append((t, m.hex()))
        end = scaled(tick, d)
        for (channel, note), waiting in sounding.items():
            for start, velocity in waiting:
                notes.append((channel, note, start, max(end, start + 1), velocity))
    return sorted(notes), sorted(other), tempo, sig

def in_force(changes, default):
    out, last = [], default
    for tick in sorted(set(changes) | {0}):
        value = changes.get(tick, last)
        if tick == 0 or value != last:
            out.append((tick, value))
        last = value
    return out

def same_tempo(a, b):
    return len(a) == len(b) and all(x[0] == y[0] and abs(x[1] - y[1]) <= 1 for x, y in zip(a, b))

args = sys.argv[1:]
for original, exported in zip(args[0::2], args[1::2]):
    try:
        if mido.MidiFile(original).ticks_per_beat <= 0:
            raise ValueError
        a = messages(original)
    except Exception:
        print('SKIP', original)
        continue
    b = messages(exported)
    faults = [name for name, x, y in (('notes', a[0], b[0]), ('messages', a[1], b[1])) if x != y]
    if not same_tempo(in_force(a[2], 500000), in_force(b[2], 500000)):
        faults.append('tempo %s / %s' % (in_force(a[2], 500000)[:4], in_force(b[2], 500000)[:4]))
    if in_force(a[3], (4, 4)) != in_force(b[3], (4, 4)):
        faults.append('signatures %s / %s' % (in_force(a[3], (4, 4))[:4], in_force(b[3], (4, 4))[:4]))
    for name, x, y in (('notes', a[0], b[0]), ('messages', a[1], b[1])):
        if x != y:
            only = sorted(set(x) ^ set(y))[:3]
            faults.append('%s: %d / %d, e.g. %s' % (name, len(x), len(y), only))
    print(('DIFF ' + original + ' ' + ' | '.join(faults)) if faults else ('SAME ' + original))
)";

TEST(MidiFileRoundTrip, EveryCorpusFileMidoReadsExportsWithTheSameMessagesAtTheSameTicks) {
  const fs::path corpus = fs::path(VANTOR_SHARED_DIR) / "corpus" / "midi";
  if (!fs::exists(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
  if (!test::haveMido()) GTEST_SKIP() << "python3-mido is not installed";
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(corpus)) {
    if (entry.is_regular_file() && entry.path().extension() != ".txt") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());

  // A system common status with data bytes: the reader passes over the
  // status alone and takes its data for running status, where mido knows
  // the message's length, so the notes differ by design.
  const std::vector<std::string> readDifferently = {
      "test-illegal-message-f1-xx.mid", "test-illegal-message-f2-xx-xx.mid", "test-illegal-message-f3-xx.mid"};
  test::TempFolder folder;
  std::string pairs;
  int index = 0;
  for (const fs::path& file : files) {
    SCOPED_TRACE(file.string());
    const std::string project = (folder.path() / ("p" + std::to_string(index) + ".vpr")).string();
    const std::string exported = (folder.path() / ("e" + std::to_string(index++) + ".mid")).string();
    ASSERT_EQ(test::runVantor({"new", project}).status, 0);
    const test::RunResult imported = test::runVantor({"import-midi", project, file.string()});
    if (imported.status != 0) {
      // A file we cannot import is refused with the reason, nothing else.
      EXPECT_EQ(imported.status, 1);
      EXPECT_NE(imported.err.find("Cannot import MIDI file"), std::string::npos) << imported.err;
      continue;
    }
    const test::RunResult written = test::runVantor({"export-midi", project, exported});
    ASSERT_EQ(written.status, 0) << written.err;
    if (std::find(readDifferently.begin(), readDifferently.end(), file.filename()) != readDifferently.end()) continue;
    pairs += " " + test::quoteArgument(file.string()) + " " + test::quoteArgument(exported);
  }

  int same = 0;
  for (const std::string& line : test::runPython(kCompareScript, pairs)) {
    if (line.rfind("SAME ", 0) == 0) ++same;
    EXPECT_EQ(line.rfind("DIFF ", 0), std::string::npos) << line;
  }
  EXPECT_GT(same, 50);
}

}  // namespace
}  // namespace vantor
