#include "cli/DemoProject.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/pool/PAudioPool.h"
#include "audio/process/PStripSilenceCommand.h"
#include "cli/ShellQuantize.h"
#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "cli/SilenceOptions.h"
#include "midi/events/MMidiEvent.h"
#include "midi/events/MMidiNote.h"
#include "model/edit/MInsertCommand.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor::cli {

namespace {

// Pulses: 480 to the quarter note, so a 4/4 bar is 1920 and a 3/4 bar 1440.
constexpr int kBeat = 480;
constexpr int kSixteenth = kBeat / 4;
constexpr int kFourFourBars = 8;  // then two bars of 3/4
constexpr int kBars = 10;

// The song's steps as a user types them. The MIDI notes and the voice's
// pieces are placed between them (see buildDemoProject).
const char* const kSetUpLines[] = {
    "track add midi Drums",
    "track add midi Bass",
    "track add midi Chords",
    "track add audio Voice",
    // A steady start, then a ramp from bar 5 that arrives at 132 BPM on the
    // coda, whose two bars are in 3/4.
    "tempo 5.1.1.0 120 jump",
    "tempo 9.1.1.0 132 ramp",
    "signature 9.1.1.0 3/4",
    // Parts after the signature, so that their ends fall on bar 11.
    "part add Drums 1.1.1.0 11.1.1.0 Groove",
    "part add Bass 1.1.1.0 11.1.1.0 Line",
    "part add Chords 1.1.1.0 11.1.1.0 Changes",
    "marker add 1.1.1.0 Intro",
    "marker add 5.1.1.0 Build",
    "marker add 9.1.1.0 Coda",
    "locators 5.1.1.0 9.1.1.0",
    "cycle on",
};

const char* const kMixLines[] = {
    "track volume Drums -3dB", "track volume Bass -4dB",  "track pan Bass L10",  "track volume Chords -9dB",
    "track pan Chords R25",    "track volume Voice -5dB", "track pan Voice L20", "autofade on --in 2 --out 2",
};

// The progression, a chord per bar: C, Am, F, G twice, then F and C in
// the coda. Bass roots (an octave below middle C and lower) and the
// chord's three notes around middle C.
struct Chord {
  int root;
  int notes[3];
};
constexpr Chord kProgression[kBars] = {
    {48, {60, 64, 67}}, {45, {57, 60, 64}}, {41, {57, 60, 65}}, {43, {55, 59, 62}}, {48, {60, 64, 67}},
    {45, {57, 60, 64}}, {41, {57, 60, 65}}, {43, {55, 59, 62}}, {41, {57, 60, 65}}, {48, {55, 60, 64}},
};

int barStart(int bar) {
  return bar < kFourFourBars ? bar * 4 * kBeat : (kFourFourBars * 4 + (bar - kFourFourBars) * 3) * kBeat;
}
int beatsIn(int bar) { return bar < kFourFourBars ? 4 : 3; }

// Places notes as a player would: up to 18 pulses early or late, and a
// velocity that wanders by up to 12. The seed is fixed, so every run makes
// the same project.
class Humanizer {
 public:
  FRef<MEvent> note(int start, int length, int pitch, int velocity, int channel) {
    auto event = makeRef<MMidiNote>();
    const int late = std::uniform_int_distribution<int>(-18, 18)(random_);
    const int loud = std::uniform_int_distribution<int>(-12, 12)(random_);
    event->setStart(std::max(0, start + late));
    event->setLength(length);
    event->setData1(static_cast<uint8_t>(pitch));
    event->setData2(static_cast<uint8_t>(std::clamp(velocity + loud, 1, 127)));
    event->setChannel(static_cast<uint8_t>(channel));
    return FRef<MEvent>(event);
  }

 private:
  std::mt19937 random_{2026};
};

FRef<MEvent> program(int number, int channel) {
  auto event = makeRef<MMidiProgramChange>();
  event->setStart(0);
  event->setData1(static_cast<uint8_t>(number));
  event->setChannel(static_cast<uint8_t>(channel));
  return FRef<MEvent>(event);
}

// Kick on 1 (and 3), snare on the back beats, closed hi-hat on the
// eighths; the last bar a crash and a kick. Channel 10 (9 from 0).
std::vector<FRef<MEvent>> drumNotes(Humanizer& human) {
  constexpr int kDrums = 9, kKick = 36, kSnare = 38, kHat = 42, kCrash = 49;
  std::vector<FRef<MEvent>> notes;
  for (int bar = 0; bar < kBars; ++bar) {
    const int at = barStart(bar);
    if (bar == kBars - 1) {
      notes.push_back(human.note(at, kBeat, kCrash, 110, kDrums));
      notes.push_back(human.note(at, kBeat, kKick, 110, kDrums));
      continue;
    }
    for (int eighth = 0; eighth < beatsIn(bar) * 2; ++eighth) {
      notes.push_back(human.note(at + eighth * kBeat / 2, kSixteenth, kHat, eighth % 2 == 0 ? 80 : 60, kDrums));
    }
    for (int beat = 0; beat < beatsIn(bar); ++beat) {
      const bool kick = beat == 0 || (beatsIn(bar) == 4 && beat == 2);
      notes.push_back(human.note(at + beat * kBeat, kSixteenth, kick ? kKick : kSnare, kick ? 105 : 95, kDrums));
    }
  }
  return notes;
}

// The root on each beat, the last eighth of the bar leading on; a finger
// bass (program 33) on channel 2.
std::vector<FRef<MEvent>> bassNotes(Humanizer& human) {
  std::vector<FRef<MEvent>> notes{program(33, 1)};
  for (int bar = 0; bar < kBars; ++bar) {
    const int root = kProgression[bar].root;
    const int at = barStart(bar);
    const int beats = bar == kBars - 1 ? 1 : beatsIn(bar);
    for (int beat = 0; beat < beats; ++beat) {
      notes.push_back(human.note(at + beat * kBeat, kBeat - kSixteenth, root, 96, 1));
    }
    if (bar < kBars - 1)
      notes.push_back(human.note(at + beatsIn(bar) * kBeat - kBeat / 2, kSixteenth, root + 7, 80, 1));
  }
  return notes;
}

// The chord held for each half of a 4/4 bar and for a whole 3/4 bar; an
// electric piano (program 4) on channel 1.
std::vector<FRef<MEvent>> chordNotes(Humanizer& human) {
  std::vector<FRef<MEvent>> notes{program(4, 0)};
  for (int bar = 0; bar < kBars; ++bar) {
    const int at = barStart(bar);
    const int hold = beatsIn(bar) == 4 ? 2 * kBeat : 3 * kBeat;
    for (int start = at; start < at + beatsIn(bar) * kBeat; start += hold) {
      for (int pitch : kProgression[bar].notes) notes.push_back(human.note(start, hold - kSixteenth, pitch, 70, 0));
    }
  }
  return notes;
}

bool run(ShellSession& session, const std::string& line) { return session.execute(line); }

// A word for a shell line: quotes, backslashes and blanks escaped, so that
// any path reads back as one word.
std::string shellWord(const std::string& text) {
  std::string word;
  for (char c : text) {
    if (c == '"' || c == '\\' || c == '\'' || c == '#' || std::isspace(static_cast<unsigned char>(c))) word += '\\';
    word += c;
  }
  return word;
}

// Inserts events into the content of the track's first part, one undo step.
bool fillPart(ShellSession& session, const std::string& track, std::vector<FRef<MEvent>> events) {
  MTrackEvent* t = session.track(track);
  const std::vector<MEvent*> parts = t != nullptr ? eventsOf(t->getNode()) : std::vector<MEvent*>{};
  if (parts.empty() || parts.front()->getNode() == nullptr) return session.fail("the part of " + track + " is missing");
  return session.perform(makeRef<MInsertCommand>(FRef<MDataNode>::share(parts.front()->getNode()), std::move(events)));
}

bool placeNotes(ShellSession& session, DemoSummary* summary) {
  Humanizer human;
  std::vector<FRef<MEvent>> drums = drumNotes(human);
  std::vector<FRef<MEvent>> bass = bassNotes(human);
  std::vector<FRef<MEvent>> chords = chordNotes(human);
  summary->notes = drums.size() + bass.size() + chords.size() - 2;  // less the two program changes
  if (!fillPart(session, "Drums", std::move(drums)) || !fillPart(session, "Bass", std::move(bass)) ||
      !fillPart(session, "Chords", std::move(chords))) {
    return false;
  }
  // The humanized notes back onto the 1/16 grid (one undo step).
  QuantizeRequest request;
  request.tracks = {"Drums", "Bass", "Chords"};
  request.grid = 4;  // 1/16: 2^4
  request.gridGiven = true;
  return runQuantize(session, request, &summary->quantized);
}

// Finds the stretches of sound in the voice as `vantor detect-silence`
// does (its default thresholds) and keeps only those ("Strip Silence"),
// then fades each piece in and out.
bool stripVoice(ShellSession& session, const std::filesystem::path& voicePath, DemoSummary* summary) {
  AudioFileReader reader;
  if (!reader.open(voicePath.string())) return session.fail("\"" + voicePath.string() + "\": " + reader.error());
  std::ostringstream unused;
  const auto regions = detectSilence(reader, SilenceOptions{}, unused);
  if (!regions || regions->empty()) return session.fail("no stretch of sound was found in the voice");
  summary->stretches = regions->size();
  PAudioPool* pool = PAudioPool::ensurePool(session.project());
  if (pool == nullptr || pool->clips().empty()) return session.fail("the voice is not in the pool");
  if (!session.perform(makeRef<PStripSilenceCommand>(pool->clips().back(), *regions))) return false;
  std::string line = "fade";
  for (size_t i = 1; i <= regions->size(); ++i) line += " Voice:1:" + std::to_string(i);
  return run(session, line + " --in 5 --out 40 --curve sine");
}

}  // namespace

bool writeDemoVoice(const std::filesystem::path& path, int rate, std::string* error) {
  // E, C, A, B over the first four chords; each tone a few harmonics with a
  // slow vibrato, a 20 ms attack, a gentle decay and a 100 ms release to
  // zero, so the gaps between them are true silence.
  constexpr double kPitches[] = {659.26, 523.25, 440.0, 493.88};
  constexpr double kTone = 1.2, kEvery = 2.0, kAttack = 0.02, kRelease = 0.1;
  const auto frames = static_cast<int64_t>(std::size(kPitches) * kEvery * rate);
  std::vector<float> samples(static_cast<size_t>(frames), 0.0f);
  for (size_t n = 0; n < std::size(kPitches); ++n) {
    const auto first = static_cast<int64_t>(n * kEvery * rate);
    double phase = 0;
    for (int64_t i = 0; i < static_cast<int64_t>(kTone * rate); ++i) {
      const double t = static_cast<double>(i) / rate;
      const double envelope = std::min({t / kAttack, (kTone - t) / kRelease, 1.0}) * std::exp(-0.6 * t);
      phase += 2 * std::numbers::pi * kPitches[n] * (1 + 0.004 * std::sin(2 * std::numbers::pi * 5.5 * t)) / rate;
      const double tone = std::sin(phase) + 0.4 * std::sin(2 * phase) + 0.15 * std::sin(3 * phase);
      samples[static_cast<size_t>(first + i)] = static_cast<float>(0.3 * envelope * tone);
    }
  }
  AudioFile file;
  file.typeName = "WAVE";
  file.format.sampleRate = static_cast<float>(rate);
  file.format.channels = 1;
  file.format.bitsPerSample = 24;
  std::error_code ec;
  std::filesystem::create_directories(path.parent_path(), ec);
  AudioFileWriter writer;
  if (!writer.open(path.string(), file) || !writer.writeFrames(samples.data(), frames) || !writer.close()) {
    *error = "\"" + path.string() + "\": " + writer.error();
    return false;
  }
  return true;
}

bool buildDemoProject(ShellSession& session, const std::filesystem::path& voicePath, DemoSummary* summary) {
  for (const char* line : kSetUpLines) {
    if (!run(session, line)) return false;
  }
  if (!placeNotes(session, summary)) return false;
  if (!run(session, "pool import " + shellWord(voicePath.string())) || !run(session, "pool insert 1 Voice 1.1.1.0")) {
    return false;
  }
  if (!stripVoice(session, voicePath, summary)) return false;
  for (const char* line : kMixLines) {
    if (!run(session, line)) return false;
  }
  return true;
}

}  // namespace vantor::cli
