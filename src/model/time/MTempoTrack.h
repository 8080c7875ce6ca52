#pragma once
// The tempo track: an ordered array of tempo changes that maps musical
// positions (pulses, 480 to the quarter note) to seconds and back.
//
// Conversions read a table of segments, one per tempo change, rebuilt on
// every edit (insert, remove, move, change of tempo or function). A single
// conversion is a binary search over that table; a batch of ascending values
// is one linear pass. Conversions are const and touch only the table, so
// reader threads may convert while no edit runs (the root updater's
// reader/writer lock keeps edits and readers apart).
//
// Before the first change, and for every negative time, the first change's
// tempo holds, anchored so that pulse 0 lies at second 0. A track without
// any change (possible only through damaged data or removing every change)
// converts at 120 BPM.

#include <cstddef>
#include <span>
#include <vector>

#include "model/time/MTempoEvent.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MArrayNode.h"

namespace vantor {

class MTempoTrackNode : public MArrayNode {
  VANTOR_CLASS(MTempoTrackNode)
 public:
  static constexpr double kDefaultBPM = 120.0;

  // One change at position 0: 120 BPM, jump. Rehearsal tempo 120, off.
  MTempoTrackNode();

  // Seconds at a position in pulses.
  double secondsAt(double pulses) const;
  // Position in pulses at a time in seconds.
  double pulsesAt(double seconds) const;
  // Batches: out[i] = secondsAt(in[i]) (pulsesAt(in[i])) for i below the
  // smaller of the two sizes. Ascending input runs in one linear pass over
  // the table; any order gives the same values as single conversions.
  void secondsAt(std::span<const double> pulses, std::span<double> seconds) const;
  void pulsesAt(std::span<const double> seconds, std::span<double> pulses) const;
  // The tempo in force at a position, in BPM (within a ramp, the ramp's
  // value there; in rehearsal mode, the rehearsal tempo).
  double bpmAt(double pulses) const;

  size_t tempoCount() const;
  // The change at index (in position order), or nullptr.
  MTempoEvent* tempoEvent(size_t index) const;
  // The last change at or before pulses (the first one before all), or
  // nullptr for an empty track.
  MTempoEvent* tempoEventAt(double pulses) const;

  // "RehearsalTempo" in BPM (below MTempoEvent::kMinBPM, or NaN, becomes
  // kMinBPM) and "RehearsalMode": while on, the rehearsal tempo holds
  // everywhere and the changes are ignored.
  float getRehearsalTempo() const { return rehearsalTempo_; }
  void setRehearsalTempo(float bpm);
  bool isRehearsalMode() const { return rehearsalMode_; }
  void setRehearsalMode(bool on);

  // Recomputes the "Time" of every change and the conversion table. Tempo
  // events call it themselves when their tempo, function or position
  // changes while they are held here; the accessor's insert and remove
  // reach it through eventsChanged().
  void tempoChanged();
  void eventsChanged() override;
  void extentChanged(MEvent* event) override;

  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;

  // Archive: the array node's members (Name, Domain, "Events"), then
  // "RehearsalTempo" (float) and "RehearsalMode" (16-bit, 0 or 1). Reading
  // replaces the changes the constructor made; it fails on a member that is
  // not a tempo event or on a rehearsal tempo below 1 BPM.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  // One stretch of the map, from one change to the next.
  struct Segment {
    double ppq = 0;       // start, pulses
    double time = 0;      // start, seconds
    double spb = 0.5;     // tempo at the start, seconds per beat
    double bpm = 120;     // the same as 60 / spb
    double perPulse = 0;  // ramps: BPM gained per pulse; 0 for a constant tempo
  };
  // The events through the const accessor (the non-const override hides it).
  const MEventContainer* constEvents() const { return static_cast<const MDataNode*>(this)->events(); }
  static constexpr size_t kBefore = static_cast<size_t>(-1);

  static double secondsIn(const Segment& segment, double pulses);
  static double pulsesIn(const Segment& segment, double seconds);
  // The segment holding pulses (seconds), or kBefore for positions before
  // the first change (times at or below 0 or before the first change).
  // hint is a segment to start a forward search from (kBefore for none).
  size_t segmentForPulses(double pulses, size_t hint) const;
  size_t segmentForSeconds(double seconds, size_t hint) const;
  double beforeFirstSeconds(double pulses) const;
  double beforeFirstPulses(double seconds) const;
  void rebuild();

  std::vector<Segment> segments_;
  float rehearsalTempo_ = static_cast<float>(kDefaultBPM);
  bool rehearsalMode_ = false;
};

// Accessor over the tempo track: it holds only tempo events.
class MTempoTrackAccessor : public MArrayAccessor {
  VANTOR_CLASS(MTempoTrackAccessor)
 public:
  using MArrayAccessor::MArrayAccessor;
  // Refuses events that are not tempo events.
  [[nodiscard]] bool insert(FRef<MEvent> event) override;
  MTempoEvent* tempoAt(size_t index) const;
};

}  // namespace vantor
