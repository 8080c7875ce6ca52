// Every verb of the shell's language at its boundary values, through
// `vantor edit FILE -e LINE`: a refused line exits 1 with a clear message
// and leaves the file byte for byte; an accepted one exits 0. The table
// must name every verb that `help` lists.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "CliTestSupport.h"

namespace vantor {
namespace {

using test::runVantor;
using test::slurp;
using test::TempFolder;

enum class Expect {
  kOk,       // exit 0
  kRefused,  // exit 1, the message holds the fragment, the file unchanged
  kEither,   // a rule another part of the system decides (names): exit 0,
             // or exit 1 with the file unchanged
};

struct Row {
  const char* line;
  Expect expect;
  const char* fragment = "";
};

constexpr Expect kOk = Expect::kOk;
constexpr Expect kNo = Expect::kRefused;
constexpr Expect kAny = Expect::kEither;

// The project every line runs on: a MIDI track "T" with parts 1:1 (bar 1,
// holding one event) and 1:2 (bar 3), a folder track, an audio track "A"
// whose part 3:1 holds the kick clip (4484 frames at 22050 Hz: 203 ms) as
// event 3:1:1, marker 1 at bar 2, a
// tempo change at bar 3 and a 3/4 signature at bar 5.
const char* const kSetUp[] = {
    "track add midi T",
    "track add folder F",
    "part add 1 1.1.1.0 2.1.1.0 P",
    "event add 1:1 1.1.1.0 1.2.1.0 E",
    "part add 1 3.1.1.0 4.1.1.0 Q",
    "marker add 2.1.1.0 M",
    "tempo 3.1.1.0 100",
    "signature 5.1.1.0 3/4",
    "pool import \"" VANTOR_SHARED_DIR "/corpus/audio/go-audio-wav/kick.wav\"",
    "track add audio A",
    "pool insert 1 A",
};

const Row kRows[] = {
    // Listings.
    {"tracks", kOk},
    {"parts 1", kOk},
    {"parts 99", kNo, "there is no track 99"},
    {"parts 0", kNo, "there is no track named \"0\""},
    {"parts", kNo, "usage: parts TRACK"},
    {"events 1:1", kOk},
    {"events 1:9", kNo, "there is no event 1:9"},
    {"events 1:0", kNo, "is not a number from 1"},
    {"events T:P", kOk},
    {"events T:P:E", kOk},
    {"events T:X", kNo, "there is no event named \"X\" in \"T:X\""},
    {"event add T:P 1.1.1.0 1.2.1.0 E", kOk},
    {"markers", kOk},
    {"tempos", kOk},
    {"signatures", kOk},
    {"groups", kOk},
    // Tracks.
    {"track add midi", kOk},
    {"track add midi X 3", kOk},
    {"track add midi X 0", kNo, "bad track position \"0\" (expected 1 to 4)"},
    {"track add midi X 5", kNo, "expected 1 to 4"},
    {"track add midi X 99999999999999999999", kNo, "bad track position"},
    {"track add midi X -1", kNo, "bad track position"},
    {"track add kazoo", kNo, "unknown track kind"},
    {"track add midi \"\"", kAny},
    {"track remove 1", kOk},
    {"track remove 4", kNo, "there is no track 4"},
    {"track remove -1", kNo, "there is no track named \"-1\""},
    {"track remove", kNo, "usage: track remove"},
    {"track move 1 2", kOk},
    {"track move 1 0", kNo, "expected 1 to 3"},
    {"track move 1 4", kNo, "expected 1 to 3"},
    {"track rename 1 X", kOk},
    {"track rename 1 \"\"", kAny},
    {"track rename 9 X", kNo, "there is no track 9"},
    {"track color 1 #FFFFFF", kOk},
    {"track color 1 16777215", kOk},
    {"track color 1 16777216", kNo, "bad colour"},
    {"track color 1 -1", kNo, "bad colour"},
    {"track color 1 #GGGGGG", kNo, "bad colour"},
    {"track color 1 0x10", kNo, "bad colour"},
    // The mixer channel: -144 dB (off) to +12 dB in hundredths, pan -100
    // to 100.
    {"track volume 1 -6", kOk},
    {"track volume T -6dB", kOk},
    {"track volume 1 +12", kOk},
    {"track volume 1 12.004", kOk},  // rounds to +12.00
    {"track volume 1 12.01", kNo, "the volume must lie between -144 dB (off) and +12 dB"},
    {"track volume 1 -144", kOk},
    {"track volume 1 -144.01", kNo, "the volume must lie between"},
    {"track volume 1 off", kOk},
    {"track volume 1 -99999999999999999999999", kNo, "the volume must lie between"},
    {"track volume 1 1e1", kNo, "bad volume \"1e1\""},
    {"track volume 1 nan", kNo, "bad volume"},
    {"track volume 1 --3", kNo, "bad volume"},
    {"track volume 1 dB", kNo, "bad volume"},
    {"track volume 9 0", kNo, "there is no track 9"},
    {"track volume 1", kNo, "usage: track volume TRACK DB"},
    {"track pan 1 -100", kOk},
    {"track pan 1 R100", kOk},
    {"track pan 1 L30", kOk},
    {"track pan 1 C", kOk},
    {"track pan 1 101", kNo, "the pan must lie between -100 (left) and 100 (right)"},
    {"track pan 1 L101", kNo, "the pan must lie between"},
    {"track pan 1 R-5", kNo, "bad pan \"R-5\""},
    {"track pan 1 1.5", kNo, "bad pan"},
    {"track pan 1 L", kNo, "bad pan"},
    {"track pan 1", kNo, "usage: track pan TRACK VALUE"},
    {"track mute 1", kOk},
    {"track mute 1 off", kOk},
    {"track mute 1 maybe", kNo, "expected on or off, not \"maybe\""},
    {"track mute", kNo, "usage: track mute TRACK [on|off]"},
    {"track solo 1", kOk},
    {"track solo 3 off", kOk},
    {"track solo 1 2", kNo, "expected on or off"},
    {"track solo 9", kNo, "there is no track 9"},
    // Parts and events: positions from 0 to 2147483647, lengths above 0.
    {"part add 1 0 2147483647", kOk},
    {"part add 1 1.1.1.0 1.1.1.0", kNo, "the end must lie after the start"},
    {"part add 1 -1 10", kNo, "Negative positions are not allowed"},
    {"part add 1 0 2147483648", kNo, "positions end at 2147483647"},
    {"part add 1 1e3 2000", kNo, "is not a position"},
    {"part add 1 0x10 2000", kNo, "is not a position"},
    {"part add 2 1 2", kNo, "the Folder track \"F\" holds no parts"},
    {"part add 9 1 2", kNo, "there is no track 9"},
    {"part add 1 1 2 \"\"", kAny},
    {"event add 1:1 0 1", kOk},
    {"event add 1:1 5 5", kNo, "the end must lie after the start"},
    {"event add 1:9 0 1", kNo, "there is no event 1:9"},
    {"remove 1:1", kOk},
    {"remove 1:9", kNo, "there is no event 1:9"},
    {"remove 1", kNo, "is not an event reference"},
    {"remove", kNo, "usage: remove"},
    {"move 1:1 0", kOk},
    {"move 1:1 2147481727", kOk},  // 2147483647 - 1920: the end is the last position
    {"move 1:1 2147481728", kNo, "beyond 2147483647"},
    {"move 1:1 -1", kNo, "Negative positions are not allowed"},
    {"move 1:1 0x10", kNo, "is not a position"},
    {"move 1:1 1.1.1.0 2", kNo, "the track cannot hold parts"},
    {"move 1:1 1.1.1.0 9", kNo, "there is no track 9"},
    {"nudge 0 1:1", kOk},
    {"nudge 2147481727 1:1", kOk},
    {"nudge 2147481728 1:1", kNo, "beyond 2147483647"},
    {"nudge -1 1:1", kNo, "before the start of the project"},
    {"nudge 2147483648 1:1", kNo, "positions end at 2147483647"},
    {"nudge 1e308 1:1", kNo, "is not a position"},
    {"nudge - 1:1", kNo, "No position given"},
    {"nudge 10", kNo, "usage: nudge"},
    {"size 1:1 length 1", kOk},
    {"size 1:1 length 0", kNo, "a length must be above 0"},
    {"size 1:1 length -5", kNo, "Negative positions are not allowed"},
    {"size 1:1 length 2147483647", kOk},  // from 0: the end is the last position
    {"size 1:2 length 2147483647", kNo, "beyond 2147483647"},
    {"size 1:1 end 2147483647", kOk},
    {"size 1:1 end 1.1.1.0", kNo, "a length must be above 0"},
    {"size 1:1 start 1.4.4.119", kOk},
    {"size 1:1 start 2.1.1.0", kNo, "a length must be above 0"},
    {"size 1:1 offset 2147483647", kOk},
    {"size 1:1 offset -5", kNo, "Negative positions are not allowed"},
    {"size 1:1 width 3", kNo, "size takes start, end, offset or length"},
    {"split 1:1 1.1.1.1", kOk},
    {"split 1:1 1.4.4.119", kOk},
    {"split 1:1 1.1.1.0", kNo, "does not lie inside the event"},
    {"split 1:1 2.1.1.0", kNo, "does not lie inside the event"},
    {"mute 1:1", kOk},
    {"mute", kNo, "give the events to change"},
    {"mute 1:9", kNo, "there is no event 1:9"},
    {"unmute 1:1", kOk},
    {"unmute 9:1", kNo, "there is no track 9"},
    {"lock 1:1", kOk},
    {"lock 1:1:2", kNo, "there is no event 1:1:2"},
    {"unlock 1:1", kOk},
    {"unlock", kNo, "give the events to change"},
    {"rename 1:1 X", kOk},
    {"rename 1:1 \"\"", kAny},
    {"rename 1:1", kNo, "usage: rename"},
    {"rename 1:1 \"unclosed", kNo, "unterminated quote"},
    {"color 0 1:1", kOk},
    {"color 16777215 1:1", kOk},
    {"color 16777216 1:1", kNo, "bad colour"},
    {"color -1 1:1", kNo, "bad colour"},
    {"color #12345 1:1", kNo, "bad colour"},
    {"group create G 1:1 1:2", kOk},
    {"group create G 1:1", kNo, "usage: group create"},
    {"group create G 1:1 1:9", kNo, "there is no event 1:9"},
    {"group create \"\" 1:1 1:2", kAny},
    {"group remove 1", kNo, "the project has no groups"},
    {"group remove 0", kNo, "bad group number"},
    {"group remove 2", kNo, "bad group number"},
    {"group remove 99999999999999999999", kNo, "bad group number"},
    // Tempo: 1 to 999.99 BPM in hundredths, one message for every refusal
    // (the text forms refused are tabled in the model's TimeRangeTest).
    {"tempo 1.1.1.0 1", kOk},
    {"tempo 1.1.1.0 999.99", kOk},
    {"tempo 2147483647 120", kOk},
    {"tempo 1.1.1.0 1000", kNo, "the tempo must lie between 1 and 999.99 BPM"},
    {"tempo 1.1.1.0 0.99", kNo, "the tempo must lie between 1 and 999.99 BPM"},
    {"tempo 1.1.1.0 0x10", kNo, "the tempo must lie between 1 and 999.99 BPM"},
    {"tempo 1.1.1.0 120.005", kNo, "the tempo must lie between 1 and 999.99 BPM"},
    {"tempo -1 120", kNo, "Negative positions are not allowed"},
    {"tempo 2147483648 120", kNo, "positions end at 2147483647"},
    {"tempo 1.1.1.0 120 slide", kNo, "jump or ramp"},
    {"tempo type 3.1.1.0 ramp", kOk},
    {"tempo type 2.1.1.0 ramp", kNo, "there is no tempo change at 2.1.1.0"},
    {"tempo type 3.1.1.0 slide", kNo, "jump or ramp"},
    // Signatures: on a bar line, numerator 1 to 255, denominator a power of
    // two up to 128.
    {"signature 1.1.1.0 3/4", kOk},
    {"signature 2.1.1.0 1/1", kOk},
    {"signature 2.1.1.0 255/128", kOk},
    {"signature 6.1.1.0 7/8", kOk},
    {"signature 9.3.1.0 3/4", kNo, "a signature starts on a bar line"},
    {"signature 3 4/4", kNo, "a signature starts on a bar line"},
    {"signature 5.2.1.0 4/4", kNo, "a signature starts on a bar line"},
    {"signature 2.1.1.0 5/7", kNo, "the denominator is 1, 2, 4, 8, 16, 32, 64 or 128"},
    {"signature 2.1.1.0 4/256", kNo, "the denominator is"},
    {"signature 2.1.1.0 0/4", kNo, "the numerator runs from 1 to 255"},
    {"signature 2.1.1.0 256/4", kNo, "the numerator runs from 1 to 255"},
    {"signature 2.1.1.0 4", kNo, "bad signature"},
    {"signature -1 4/4", kNo, "Negative positions are not allowed"},
    // Transport.
    {"locators 0 2147483647", kOk},
    {"locators 1 1", kOk},
    {"locators 5.1.1.0 1.1.1.0", kNo, "must not lie before the left one"},
    {"locators -1 0", kNo, "Negative positions are not allowed"},
    {"cycle on", kOk},
    {"cycle off", kOk},
    {"cycle maybe", kNo, "expected on or off"},
    {"cycle", kNo, "usage: cycle"},
    // Markers.
    {"marker add 0", kOk},
    {"marker add 2147483647", kOk},
    {"marker add 1 R 2147483647", kOk},
    {"marker add -1", kNo, "Negative positions are not allowed"},
    {"marker add 2147483648", kNo, "positions end at 2147483647"},
    {"marker add 1 R 1", kNo, "must end after it starts"},
    {"marker add 1 \"\"", kAny},
    {"marker locators", kOk},
    {"marker locators x", kNo, "usage: marker locators"},
    {"marker move 1 0", kOk},
    {"marker move 1 2147483647", kOk},
    {"marker move 2 0", kNo, "there is no marker with ID 2"},
    {"marker move 0 0", kNo, "bad marker ID"},
    {"marker rename 1 X", kOk},
    {"marker end 1 3.1.1.0", kNo, "has no length"},
    {"marker end 1 -1", kNo, "Negative positions are not allowed"},
    {"marker end 9 3.1.1.0", kNo, "there is no marker with ID 9"},
    {"marker end 1", kNo, "usage: marker end"},
    {"marker locate 1", kOk},
    {"marker locate 0", kNo, "bad marker ID"},
    {"marker locate 9", kNo, "no marker with that ID"},
    {"marker locate", kNo, "usage: marker locate ID"},
    {"marker zoom 1", kOk},
    {"marker zoom 9", kNo, "no marker with that ID"},
    {"marker zoom 1 2", kNo, "usage: marker zoom ID"},
    {"marker timebase linear", kOk},
    {"marker timebase musical", kNo, "already in musical time"},
    {"marker timebase x", kNo, "musical or linear"},
    {"marker rename 1 \"\"", kAny},
    {"marker rename 9 X", kNo, "there is no marker with ID 9"},
    {"marker id 1 2", kOk},
    {"marker id 1 2147483647", kOk},
    {"marker id 1 1", kNo, "the marker already has ID 1"},
    {"marker id 1 0", kNo, "bad marker ID"},
    {"marker id 1 2147483648", kNo, "bad marker ID"},
    {"marker remove 1", kOk},
    {"marker remove 2", kNo, "there is no marker with ID 2"},
    {"marker remove", kNo, "usage: marker remove"},
    // MIDI notes and quantize (part 1:1 holds no notes: 0 notes change).
    {"note add 1:1 1.1.1.10 60 120", kOk},
    {"note add 1:1 0 127 1 127", kOk},
    {"note add 1:1 0 128 120", kNo, "bad pitch \"128\" (expected 0 to 127)"},
    {"note add 1:1 0 60 0", kNo, "the length must be above 0"},
    {"note add 1:1 0 60 10 0", kNo, "bad velocity \"0\" (expected 1 to 127)"},
    {"note add 1:9 0 60 10", kNo, "there is no event 1:9"},
    {"note add 1:1:1 0 60 10", kNo, "\"1:1:1\" is not a MIDI part"},
    {"note add 1:1 0 60", kNo, "usage: note add PART POSITION PITCH LENGTH [VELOCITY]"},
    {"notes 1:1", kOk},
    {"notes 1:1:1", kNo, "is not a MIDI part"},
    {"notes", kNo, "usage: notes PART"},
    {"quantize", kOk},
    {"quantize --grid 1/128 --type triplet --tuplet 64 --swing 100 --magnetic 100 --random 480 --seed 4294967295", kOk},
    {"quantize --grid 1/1 --type dotted --tuplet 1 --swing 0 --magnetic 0 --random 0 --seed 0", kOk},
    {"quantize --grid 1/256", kNo, "bad --grid value \"1/256\""},
    {"quantize --grid 1/3", kNo, "bad --grid value"},
    {"quantize --type swung", kNo, "bad --type value \"swung\" (straight, triplet or dotted)"},
    {"quantize --tuplet 65", kNo, "bad --tuplet value"},
    {"quantize --tuplet 0", kNo, "bad --tuplet value"},
    {"quantize --swing 101", kNo, "bad --swing value"},
    {"quantize --magnetic -1", kNo, "bad --magnetic value"},
    {"quantize --random 481", kNo, "bad --random value"},
    {"quantize --seed 4294967296", kNo, "bad --seed value"},
    {"quantize --track F", kNo, "\"F\" is not a MIDI track"},
    {"quantize --track 9", kNo, "there is no track 9"},
    {"quantize --track T --track 1", kOk},
    {"quantize --lengths --ends", kNo, "choose one of --lengths, --ends, --undo, --freeze and --iterative"},
    {"quantize --bogus", kNo, "unknown option \"--bogus\""},
    {"quantize --grid", kNo, "--grid needs a value"},
    {"quantize lengths --grid 1/1", kOk},
    {"quantize lengths --undo", kNo, "choose one of"},
    {"quantize ends --track T", kOk},
    {"quantize undo", kOk},
    {"quantize freeze --track 1", kOk},
    {"quantize iterative 0", kOk},
    {"quantize iterative 100 --grid 1/8", kOk},
    {"quantize iterative 101", kNo, "bad strength \"101\" (expected 0 to 100)"},
    {"quantize iterative", kNo, "usage: quantize iterative STRENGTH [OPTIONS]"},
    {"quantize set 1/8 Triplet", kOk},
    {"quantize set \"1/16 Note Sw-50%\"", kOk},
    {"quantize set 1/7 Note", kNo, "there is no quantize preset \"1/7 Note\""},
    {"quantize set", kNo, "usage: quantize set NAME"},
    {"quantize next", kOk},
    {"quantize next 2", kNo, "usage: quantize next"},
    {"quantize prev", kOk},
    {"quantize prev x", kNo, "usage: quantize prev"},
    {"quantize toggle", kOk},
    {"quantize toggle 1", kNo, "usage: quantize toggle"},
    {"quantize auto on", kOk},
    {"quantize auto off", kOk},
    {"quantize auto maybe", kNo, "usage: quantize auto on|off"},
    {"quantize auto", kNo, "usage: quantize auto on|off"},
    {"quantize current", kOk},
    {"quantize current now", kNo, "usage: quantize current"},
    // MIDI file export (into the test's working folder).
    {"export midi boundary.mid", kOk},
    {"export midi boundary.mid 0", kOk},
    {"export midi boundary.mid 1", kOk},
    {"export midi boundary.mid 2", kNo, "bad MIDI file type \"2\" (0 or 1)"},
    {"export midi boundary.mid 1 x", kNo, "usage: export midi PATH [0|1]"},
    {"export midi", kNo, "usage: export midi PATH [0|1]"},
    {"export midi /nonexistent-folder/x.mid", kNo, "Can not write MIDI file \"/nonexistent-folder/x.mid\" !"},
    // Import MIDI.
    {"import midi \"" VANTOR_SHARED_DIR "/corpus/midi/kovaxis-midly/Clementi.mid\" 5.1.1.0", kOk},
    {"import midi /nonexistent-folder/x.mid", kNo,
     "Cannot import MIDI file \"/nonexistent-folder/x.mid\": No such file or directory"},
    {"import midi /", kNo, "Cannot import MIDI file \"/\": Is a directory"},
    {"import midi x.mid -1", kNo, "Negative positions are not allowed"},
    {"import midi", kNo, "usage: import midi FILE [POSITION]"},
    // The audio pool. The setup's pool is empty; an import enters a clip.
    {"pool", kOk},
    {"pool x", kNo, "usage: pool"},
    {"pool import \"" VANTOR_SHARED_DIR "/corpus/audio/hound/nonstandard-01.wav\"", kOk},
    {"pool import \"" VANTOR_SHARED_DIR "/corpus/audio/hound/crash-24728523ef4be15c838293b676f6853e73723bf4.wav\"", kNo,
     "Error: Invalid or unsupported file!"},
    {"pool import /nonexistent-folder/x.wav", kNo, "Error: Can not open file!"},
    {"pool import", kNo, "usage: pool import FILE..."},
    {"pool insert X T", kNo, "the pool has no clip \"X\""},
    {"pool insert X", kNo, "usage: pool insert CLIP TRACK [POSITION|origin]"},
    {"pool region X N 0 1", kNo, "the pool has no clip \"X\""},
    {"pool region X N 0 -1", kNo, "usage: pool region CLIP NAME START LENGTH (frames)"},
    {"pool region X N 0", kNo, "usage: pool region"},
    {"pool version X", kNo, "the pool has no clip \"X\""},
    {"pool version", kNo, "usage: pool version CLIP"},
    {"pool remove-unused", kOk},
    {"pool remove-unused x", kNo, "usage: pool remove-unused"},
    {"pool folder Takes", kOk},
    {"pool folder", kNo, "usage: pool folder NAME"},
    {"pool record-folder Takes", kNo, "the pool has no folder \"Takes\""},
    {"pool record-folder /", kOk},
    {"pool record-folder", kNo, "usage: pool record-folder FOLDER"},
    {"pool remove-missing", kOk},
    {"pool remove-missing x", kNo, "usage: pool remove-missing"},
    {"pool trash X", kNo, "the pool has no clip \"X\""},
    {"pool trash", kNo, "usage: pool trash CLIP"},
    {"pool empty-trash", kOk},
    {"pool empty-trash x", kNo, "usage: pool empty-trash"},
    {"pool minimize X", kNo, "the pool has no clip \"X\""},
    {"pool minimize", kNo, "usage: pool minimize CLIP"},
    {"pool archive", kOk},
    {"pool archive x", kNo, "usage: pool archive"},
    {"pool conform", kOk},
    {"pool conform X", kNo, "the pool has no clip \"X\""},
    {"pool conform X Y", kNo, "usage: pool conform [CLIP]"},
    {"pool save /nonexistent-folder/x.vpl", kNo, "No such file or directory"},
    {"pool save", kNo, "usage: pool save FILE"},
    {"pool load /nonexistent-folder/x.vpl", kNo, "Error: Can not open file!"},
    {"pool load \"" VANTOR_SHARED_DIR "/corpus/audio/hound/nonstandard-01.wav\"", kNo,
     "Error: Invalid or unsupported file!"},
    {"pool load", kNo, "usage: pool load FILE"},
    {"pool resolve \"" VANTOR_SHARED_DIR "/corpus/audio/go-audio-wav\"", kOk},
    {"pool resolve /nonexistent-folder", kNo, "Error: Can not open folder!"},
    {"pool resolve /tmp bad", kNo, "a filter is FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]]"},
    {"pool resolve /tmp a=b:x", kNo, "with counts from 0 to 64"},
    {"pool resolve", kNo, "usage: pool resolve FOLDER"},
    {"pool locate X /tmp/x.wav", kNo, "\"X\" is neither a missing file nor a clip of the pool"},
    {"pool locate 1 /tmp/x.wav", kNo, "has no missing file"},
    {"pool locate X", kNo, "usage: pool locate CLIP|PATH NEWPATH"},
    {"pool extract", kNo, "usage: pool extract VIDEO..."},
    // Offline processes on clip 1 (kick, 4484 frames) and its history.
    {"process 1 Gain 0 4484 Gain=-3", kOk},
    {"process 1 \"Simple Echo\" \"Echo length=5\" \"Source=Output\"", kOk},
    {"process 1 Gain 0 4485", kNo, "the range 0 to 4485 does not lie inside"},
    {"process 1 Gain 10 10", kNo, "does not lie inside"},
    {"process 1 Gain Gain=49", kNo, "\"Gain\" takes a number from -96 to 48 dB, not \"49\""},
    {"process 1 Gain Gain", kNo, "bad parameter \"Gain\" (KEY=VALUE)"},
    {"process 1 Louder", kNo, "unknown process \"Louder\""},
    {"process 1 \"Detect Silence\"", kNo, "changes no audio"},
    {"process 1 \"Acoustic Stamp\"", kNo, "No impulse file loaded!"},
    {"process X Gain", kNo, "the pool has no clip \"X\""},
    {"process 1", kNo, "usage: process CLIP PROCESS"},
    {"edits 1", kOk},
    {"edits X", kNo, "the pool has no clip \"X\""},
    {"edits", kNo, "usage: edits CLIP"},
    {"edits remove 1 1", kNo, "File has not been edited!"},
    {"edits remove 1 0", kNo, "history entry"},
    {"edits remove 1", kNo, "usage: edits remove CLIP N"},
    {"edits modify 1 1 Gain=1", kNo, "File has not been edited!"},
    {"edits modify 1", kNo, "usage: edits modify"},
    {"edits replace 1 1 Silence", kNo, "File has not been edited!"},
    {"edits replace 1 1 Louder", kNo, "unknown process"},
    {"edits replace 1 1", kNo, "usage: edits replace"},
    {"edits freeze 1", kNo, "File has not been edited!"},
    {"edits freeze", kNo, "usage: edits freeze CLIP"},
    // Fades of audio events (up to the event's length, both together too)
    // and the project's automatic fades (up to 1000 ms).
    {"fade 3:1:1 --in 10 --out 10 --curve sine", kOk},
    {"fade A:1:1 --out 203", kOk},
    {"fade 3:1:1 --in 0", kOk},
    {"fade 3:1:1 --in 204", kNo, "are longer than the event (4484 frames)"},
    {"fade 3:1:1 --in 100 --out 110", kNo, "are longer than the event"},
    {"fade 3:1:1 --in -1", kNo, "bad fade length \"-1\""},
    {"fade 3:1:1 --in 1e2", kNo, "bad fade length"},
    {"fade 3:1:1 --in 1 --curve cubic", kNo, "unknown curve \"cubic\""},
    {"fade 3:1:1 --in", kNo, "--in needs a value"},
    {"fade 3:1:1 --over 1", kNo, "unknown option \"--over\""},
    {"fade 3:1:1 --curve log", kNo, "usage: fade EVENT..."},
    {"fade 1:1 --in 1", kNo, "\"1:1\" is not an audio event"},
    {"fade 3:9:1 --in 1", kNo, "there is no event 3:9"},
    {"autofade", kOk},
    {"autofade on", kOk},
    {"autofade off --in 5 --curve exp", kOk},
    {"autofade --out 1000", kOk},
    {"autofade --out 1000.5", kNo, "the automatic fade length must lie between 0 and 1000 ms"},
    {"autofade maybe", kNo, "expected on or off"},
    {"autofade on off", kNo, "usage: autofade"},
    // The session.
    {"undo", kNo, "nothing to undo"},
    {"undo 0", kNo, "bad count"},
    {"redo", kNo, "nothing to redo"},
    {"redo 1000001", kNo, "bad count"},
    {"history", kOk},
    {"help", kOk},
    {"help track add", kOk},
    {"help nothing", kNo, "no command \"nothing\""},
    // `vantor edit` saves by itself: save and save as are refused there.
    {"save", kNo, "save is not used with edit"},
    {"save as", kNo, "usage: save as PATH"},
    {"save as /nonexistent-folder/x.vpr", kNo, "not used with edit"},
    {"save backup", kOk},
    {"save backup now", kNo, "usage"},
    {"quit", kOk},
    {"exit", kOk},
};

// The verb names that `help` lists: the leading words of each entry.
std::set<std::string> verbsInHelp(const std::string& help) {
  std::set<std::string> verbs;
  std::istringstream lines(help);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind("  ", 0) != 0 || line.rfind("   ", 0) == 0) continue;
    std::istringstream words(line);
    std::string word;
    std::string name;
    while (words >> word && word.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos) {
      name += (name.empty() ? "" : " ") + word;
    }
    if (!name.empty()) verbs.insert(name);
  }
  return verbs;
}

// The verb a line runs: the longest listed name its words begin with.
std::string verbOf(const std::string& line, const std::set<std::string>& verbs) {
  std::string best;
  for (const std::string& verb : verbs) {
    const bool starts = line.rfind(verb, 0) == 0 && (line.size() == verb.size() || line[verb.size()] == ' ');
    if (starts && verb.size() > best.size()) best = verb;
  }
  return best;
}

TEST(CliBoundary, EveryVerbAtItsBoundaryValues) {
  TempFolder dir;
  const std::string base = (dir / "base.vpr").string();
  ASSERT_EQ(runVantor({"new", base}).status, 0);
  std::vector<std::string> setUp = {"edit", base};
  for (const char* line : kSetUp) setUp.insert(setUp.end(), {"-e", line});
  const auto made = runVantor(setUp);
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string original = slurp(base);

  const std::string file = (dir / "row.vpr").string();
  for (const Row& row : kRows) {
    std::filesystem::copy_file(base, file, std::filesystem::copy_options::overwrite_existing);
    const auto r = runVantor({"edit", file, "-e", row.line});
    const bool unchanged = slurp(file) == original;
    switch (row.expect) {
      case Expect::kOk:
        EXPECT_EQ(r.status, 0) << row.line << "\n" << r.err;
        break;
      case Expect::kRefused:
        EXPECT_EQ(r.status, 1) << row.line;
        EXPECT_NE(r.err.find(row.fragment), std::string::npos) << row.line << "\n" << r.err;
        EXPECT_NE(r.err.find("the project was not saved"), std::string::npos) << row.line << "\n" << r.err;
        EXPECT_TRUE(unchanged) << row.line;
        break;
      case Expect::kEither:
        EXPECT_TRUE(r.status == 0 || (r.status == 1 && unchanged)) << row.line << "\n" << r.err;
        break;
    }
  }

  // Every verb of the language has its rows.
  const auto help = runVantor({"shell", base}, "help\n");
  ASSERT_EQ(help.status, 0);
  const std::set<std::string> verbs = verbsInHelp(help.out);
  EXPECT_GT(verbs.size(), 40u);
  std::set<std::string> covered;
  for (const Row& row : kRows) {
    covered.insert(verbOf(row.line, verbs));
    EXPECT_FALSE(verbOf(row.line, verbs).empty()) << "help does not list the verb of \"" << row.line << "\"";
  }
  for (const std::string& verb : verbs) EXPECT_TRUE(covered.count(verb)) << "no boundary rows for \"" << verb << "\"";
}

TEST(CliBoundary, TimeAndTempoReadAsPeopleTypeThem) {
  TempFolder dir;
  const std::string file = (dir / "t.vpr").string();
  ASSERT_EQ(runVantor({"new", file, "--tempo", "140"}).status, 0);
  // Whole pulses and fixed decimals, never an exponent.
  const auto far = runVantor({"time", file, "2147483647"});
  ASSERT_EQ(far.status, 0) << far.err;
  EXPECT_NE(far.out.find("pulses  2147483647\n"), std::string::npos) << far.out;
  EXPECT_EQ(far.out.find("e+"), std::string::npos) << far.out;
  const auto near = runVantor({"time", file, "1234567"});
  EXPECT_NE(near.out.find("pulses  1234567\n"), std::string::npos) << near.out;
  EXPECT_EQ(near.out.find("e+"), std::string::npos) << near.out;
  // 140 is stored as a float of seconds per beat and shown as typed.
  const auto info = runVantor({"info", file});
  EXPECT_NE(info.out.find("140.00 BPM"), std::string::npos) << info.out;
  const auto json = runVantor({"info", file, "--json"});
  EXPECT_NE(json.out.find("\"bpm\": 140.0"), std::string::npos) << json.out;
  const auto tempos = runVantor({"shell", file}, "tempos\n");
  EXPECT_NE(tempos.out.find("140.00 BPM"), std::string::npos) << tempos.out;
  // `new` refuses what the shell refuses, with the same message.
  for (const char* bad : {"inf", "1e9", "0.001", "1000", "0x10"}) {
    const auto r = runVantor({"new", (dir / "n.vpr").string(), "--tempo", bad});
    EXPECT_NE(r.status, 0) << bad;
    EXPECT_NE(r.err.find("the tempo must lie between 1 and 999.99 BPM"), std::string::npos) << bad << r.err;
  }
  const auto odd = runVantor({"new", (dir / "n.vpr").string(), "--signature", "5/7"});
  EXPECT_NE(odd.status, 0);
  EXPECT_NE(odd.err.find("the denominator is"), std::string::npos) << odd.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "n.vpr"));
}

}  // namespace
}  // namespace vantor
