#pragma once
// "Export Midi File": writes a project as a Standard MIDI File at 480 ticks
// per quarter note, so one tick is one pulse.
//
// "Type 1" writes a first track without a name holding the tempo map, the
// time signatures and the project's markers (meta events of type 6 with the
// marker's name; the locators are left out), then one track per MIDI track,
// named as the track, in the order of the track list (tracks inside a
// folder where the folder stands). "Type 0" merges the same events into one
// track.
//
// What a MIDI track contributes:
// - Every MIDI event of its parts at its project position (the part's
//   content origin plus the event's start), and the kept meta events
//   (MSmfEvent) except end of track, which would cut the track short.
// - Only what a part shows: events whose position lies in [part start, part
//   end). A note that starts there is written whole, also past the part's
//   end, as it plays.
// - Muted tracks, parts and events are left out unless includeMuted is set,
//   so the file plays as the project does.
// - Events keep their own channel; the track's device channel is not applied.
//
// Notes become a note-on and a note-off. The note-off is 0x80 with the
// note-off velocity (data3) when data3 is set, and otherwise a note-on of
// velocity 0, which keeps the running status (readers take both as a
// note-off of velocity 0). A note of velocity 0 is written with velocity 1:
// a note-on of 0 would end it at once. Overlapping notes of one pitch are
// written as they are; a reader that pairs note-ons and note-offs first in,
// first out gets them back.
//
// Positions are rounded to the nearest tick, halves up; negative positions
// become 0. A note ends at its rounded end position (so notes that touch in
// the project touch in the file), and at least one tick after its start.
//
// Tempo: each change at its tick, and the first one also at tick 0 when it
// lies later, since the first tempo holds from the start. A ramp becomes steps of a sixteenth note
// (longer for very long ramps, at most kMaxRampSteps per ramp), each with
// the mean tempo of its step, so that every step begins at the second the
// project gives it, to the microsecond. A tempo slower than a file can hold
// (0xFFFFFF microseconds per quarter note, about 3.58 BPM) is written as
// that. In rehearsal mode the rehearsal tempo alone is written.
//
// Order within a track at one tick: meta events first (tempo, signature,
// marker, kept meta events), then note-offs, then the other channel and
// system-exclusive messages, then note-ons. Within each of these the events
// keep the order they were gathered in (track list, then parts in start
// order, then the events of a part in their order), so a Type 0 file keeps
// equal-time events in the order of their tracks. A note that ends where the
// next note of its pitch begins lets go before the next one sounds.

#include <cstdint>
#include <string>

#include "foundation/FStream.h"

namespace vantor {

class MProject;

struct MSmfExportOptions {
  // 0 or 1 ("Type 0", "Type 1").
  int type = 1;
  // Also write muted tracks, parts and events.
  bool includeMuted = false;
};

// What an export wrote: the "MTrk" chunks, and the events in them without
// the track names and ends of track.
struct MSmfExportSummary {
  int tracks = 0;
  int64_t events = 0;
};

class MSmfExporter {
 public:
  static constexpr int32_t kDivision = 480;  // ticks per quarter note
  static constexpr int kMaxRampSteps = 4096;

  // The project must outlive the exporter and not change while it writes.
  MSmfExporter(const MProject& project, MSmfExportOptions options);

  // Writes the whole file to stream from its position on. False when the
  // stream failed (*error is then empty: the stream knows why) or the
  // project holds what a MIDI file cannot (*error says why, in words for
  // the user); the bytes written are then incomplete and must be thrown
  // away.
  [[nodiscard]] bool write(FStream& stream, std::string* error);

  // What the last write() wrote (up to its failure).
  const MSmfExportSummary& summary() const { return summary_; }

 private:
  const MProject& project_;
  MSmfExportOptions options_;
  MSmfExportSummary summary_;
};

}  // namespace vantor
