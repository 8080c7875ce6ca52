#pragma once
// "Import MIDI": reads a Standard MIDI File into new MIDI tracks and a tempo
// and signature map, without touching any project. makeImportMidiCommand()
// (MSmfImportCommand.h) then applies the result as one undoable action.
//
// How a file maps onto the model:
// - Every track chunk that holds channel or system-exclusive events, and
//   every empty "MTrk", becomes one MIDI track with one MIDI part, named
//   after the chunk's track name ("Track N", N the chunk's number from 1,
//   when it has none). A chunk with only meta events (a conductor track:
//   tempo, signatures, texts, markers, copyright) makes no track; its meta
//   events join the part of the first track the file makes (none: dropped).
// - A note-on starts a note; a note-off (or a note-on of velocity 0) ends
//   the earliest sounding note of the same channel and pitch and gives its
//   velocity to data3. Unmatched note-offs are dropped; notes still sounding
//   when their chunk ends end there.
// - Other channel messages become their event classes, system exclusive an
//   MMidiSysex, other meta events (texts too) an MSmfEvent of their type.
// - Ticks at the file's division become pulses (480 to the quarter note)
//   exactly, fractions kept. SMPTE files count time in frames: a tick is
//   first a time in seconds, then pulses by the file's tempo changes (120
//   BPM before the first), or by the project's tempo map when the file has
//   none.
// - The part starts at the import position; events count from the part's
//   start. Tempo changes and signatures land at the import position plus
//   their pulses. A signature lands on the nearest whole pulse.
//
// Names that are not UTF-8 are read as Latin-1; NULs are dropped and a name
// is cut to the longest whole-character prefix that is a valid name.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FRef.h"
#include "midi/smf/MSmfReader.h"
#include "model/tree/MEvent.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {

class MTempoTrackNode;

// How many events of each kind an import made.
struct MSmfImportCounts {
  size_t notes = 0;
  size_t polyPressures = 0;
  size_t controllers = 0;
  size_t programChanges = 0;
  size_t afterTouches = 0;
  size_t pitchBends = 0;
  size_t sysex = 0;
  size_t meta = 0;
  // Note-offs without a sounding note, and meta events of meta-only chunks
  // when the file makes no track.
  size_t dropped = 0;
};

// A tempo change, pulses from the import position.
struct MSmfImportTempo {
  double pulses = 0;
  float secondsPerQuarter = 0.5f;
};

// A time signature, whole pulses from the import position.
struct MSmfImportSignature {
  int64_t pulses = 0;
  uint16_t numerator = 4;
  uint16_t denominator = 4;
};

// What a file gave: new tracks (each with one MMidiPartEvent placed at the
// import position, its MMidiPart filled and sorted), and the file's tempo
// map and signatures in position order. tempos is empty when the file has
// no tempo change (signatures likewise); otherwise it begins at pulse 0 (an
// implicit 120 BPM when the file's first change comes later; an implicit
// 4/4 for signatures).
struct MSmfImport {
  std::vector<FRef<MTrackEvent>> tracks;
  std::vector<MSmfImportTempo> tempos;
  std::vector<MSmfImportSignature> signatures;
  MSmfImportCounts counts;
};

class MSmfImporter : public MSmfReader {
 public:
  // position: the pulse where the file's start lands. projectTempo (may be
  // null: 120 BPM) converts an SMPTE file that carries no tempo change.
  MSmfImporter(double position, const MTempoTrackNode* projectTempo);
  ~MSmfImporter() override;

  // Reads the file's bytes and builds the result. False, with *reason (in
  // words that follow "Cannot import MIDI file \"PATH\": "), when the file
  // is no MIDI file, its header is cut short, or its division is unusable;
  // then nothing was built. Damage inside track chunks does not fail: what
  // could be read is imported.
  [[nodiscard]] bool importBytes(const uint8_t* data, size_t size, std::string* reason);
  // The result of a successful importBytes(); leaves the importer empty.
  MSmfImport takeResult();

  // Reader callbacks.
  bool beginFile() override;
  MSmfTrackHandle createTrack(int index) override;
  void setTrackName(MSmfTrackHandle track, std::string_view name) override;
  void endTrack(MSmfTrackHandle track, int64_t tick) override;
  void channelEvent(MSmfTrackHandle track, int64_t tick, uint8_t status, uint8_t data1, uint8_t data2) override;
  void systemExclusive(MSmfTrackHandle track, int64_t tick, const uint8_t* bytes, uint32_t count) override;
  void metaEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) override;
  void textEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) override;
  void tempo(int64_t tick, float secondsPerQuarter) override;
  void timeSignature(int64_t tick, int numerator, int denominator) override;

 private:
  struct Chunk;
  class TickConverter;

  Chunk* chunkOf(MSmfTrackHandle track);
  void addEvent(Chunk& chunk, int64_t tick, FRef<MEvent> event);
  void noteOn(Chunk& chunk, int64_t tick, uint8_t channel, uint8_t pitch, uint8_t velocity);
  void noteOff(Chunk& chunk, int64_t tick, uint8_t channel, uint8_t pitch, uint8_t velocity);
  // Ends the notes still sounding in chunk at tick.
  void closeChunk(Chunk& chunk, int64_t tick);
  void build(const TickConverter& convert);
  void buildTimeMap(const TickConverter& convert);
  FRef<MTrackEvent> buildTrack(Chunk& chunk, const TickConverter& convert);

  double position_;
  const MTempoTrackNode* projectTempo_;
  std::vector<Chunk> chunks_;
  Chunk* open_ = nullptr;  // the chunk whose notes may still sound
  std::vector<std::pair<int64_t, float>> tempos_;
  std::vector<MSmfImportSignature> signatures_;  // in file ticks
  MSmfImport result_;
  std::string refusal_;  // why beginFile() refused the file
};

// "Cannot import MIDI file \"PATH\": REASON".
std::string importMidiFailure(std::string_view path, std::string_view reason);

// A track or part name made from a file's bytes (see above).
std::string importedName(std::string_view bytes);

}  // namespace vantor
