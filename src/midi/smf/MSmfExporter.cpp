#include "midi/smf/MSmfExporter.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

#include "midi/events/MMidiMessage.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"
#include "midi/smf/MSmfVariableLength.h"
#include "midi/smf/MSmfWriter.h"
#include "model/markers/MMarkerEvent.h"
#include "model/markers/MMarkerEventController.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"

namespace vantor {

namespace {

// The groups of events at one tick, in the order they are written.
constexpr uint64_t kMetaRank = 0;
constexpr uint64_t kNoteOffRank = 1;
constexpr uint64_t kOtherRank = 2;
constexpr uint64_t kNoteOnRank = 3;

constexpr uint64_t kMaxOrder = (uint64_t{1} << 30) - 1;
constexpr int64_t kMaxTick = 0xFFFFFFFF;
constexpr uint32_t kMaxMicroseconds = 0xFFFFFF;  // three bytes of a tempo event
constexpr double kRampStep = 120;                // a sixteenth note, pulses
constexpr uint8_t kEndOfTrack = 0x2F;
constexpr uint8_t kMarkerMeta = 0x06;

enum class Kind : uint8_t { kChannel, kSysex, kMeta, kTempo, kSignature, kMarker };

// One event to write. Sorting by key alone orders by tick, then rank, then
// the order of gathering: key = tick << 32 | rank << 30 | order.
struct Item {
  uint64_t key;
  // Tempo: microseconds per quarter note; signature: numerator | denominator
  // << 16; system exclusive, meta event and marker: the index of the source.
  uint32_t value;
  uint8_t status;
  uint8_t data1;
  uint8_t data2;
  Kind kind;
  int64_t tick() const { return static_cast<int64_t>(key >> 32); }
};
static_assert(sizeof(Item) == 16, "two million of them are sorted at once");

int64_t tickOf(double pulses) {
  if (!(pulses > 0)) return 0;  // also NaN
  const double rounded = std::floor(pulses + 0.5);
  return rounded >= static_cast<double>(kMaxTick) ? kMaxTick : static_cast<int64_t>(rounded);
}

uint32_t microsecondsOf(double secondsPerQuarter) {
  const double us = std::round(secondsPerQuarter * 1e6);
  if (!(us >= 1)) return 1;
  return us >= kMaxMicroseconds ? kMaxMicroseconds : static_cast<uint32_t>(us);
}

// Gathers the events of one file track, sorts them and writes them.
class TrackItems {
 public:
  explicit TrackItems(bool includeMuted) : includeMuted_(includeMuted) {}

  // Starts the next track; the order of gathering runs on across tracks.
  void clear() {
    items_.clear();
    sources_.clear();
  }
  void addConductor(const MProject& project);
  void addMidiTrack(const MTrackEvent& track);
  // Sorts the items and writes them into the open track; counts the events.
  [[nodiscard]] bool writeTo(MSmfWriter& writer, int64_t* events, std::string* error);

 private:
  void add(int64_t tick, uint64_t rank, Kind kind, uint32_t value, uint8_t status = 0, uint8_t data1 = 0,
           uint8_t data2 = 0) {
    items_.push_back(
        {static_cast<uint64_t>(tick) << 32 | rank << 30 | (order_++ & kMaxOrder), value, status, data1, data2, kind});
  }
  uint32_t source(const MEvent& event) {
    sources_.push_back(&event);
    return static_cast<uint32_t>(sources_.size() - 1);
  }
  void addTempos(const MTempoTrackNode& tempo);
  void addRamp(const MTempoTrackNode& tempo, double from, double to);
  void addSignatures(const MSignatureTrackNode& signatures);
  void addMarkers(const MDataNode& markers, const MTempoTrackNode& tempo);
  void addPart(const MPartEvent& part);
  void addEvent(const MEvent& event, double position);
  void addNote(const MMidiNote& note, double position);
  [[nodiscard]] bool writeItem(MSmfWriter& writer, const Item& item) const;

  std::vector<Item> items_;
  std::vector<const MEvent*> sources_;
  uint64_t order_ = 0;
  bool includeMuted_;
};

void TrackItems::addConductor(const MProject& project) {
  if (const MTempoTrackNode* tempo = project.getTempoNode()) addTempos(*tempo);
  if (const MSignatureTrackNode* signatures = project.getSignatureNode()) addSignatures(*signatures);
  const MMarkerTrackEvent* markers = project.getMarkerTrack();
  if (markers != nullptr && markers->getNode() != nullptr && project.getTempoNode() != nullptr) {
    addMarkers(*markers->getNode(), *project.getTempoNode());
  }
}

void TrackItems::addTempos(const MTempoTrackNode& tempo) {
  if (tempo.isRehearsalMode()) {
    add(0, kMetaRank, Kind::kTempo, microsecondsOf(60.0 / tempo.getRehearsalTempo()));
    return;
  }
  const size_t count = tempo.tempoCount();
  if (count == 0) {
    add(0, kMetaRank, Kind::kTempo, microsecondsOf(60.0 / MTempoTrackNode::kDefaultBPM));
    return;
  }
  // The first tempo holds from the start, where a file would assume 120 BPM.
  if (tickOf(tempo.tempoEvent(0)->getStart()) > 0) {
    add(0, kMetaRank, Kind::kTempo, microsecondsOf(tempo.tempoEvent(0)->getSPB()));
  }
  for (size_t i = 0; i < count; ++i) {
    const MTempoEvent& change = *tempo.tempoEvent(i);
    const MTempoEvent* next = i + 1 < count ? tempo.tempoEvent(i + 1) : nullptr;
    if (next != nullptr && next->isRamp() && next->getStart() > change.getStart()) {
      addRamp(tempo, change.getStart(), next->getStart());
    } else {
      add(tickOf(change.getStart()), kMetaRank, Kind::kTempo, microsecondsOf(change.getSPB()));
    }
  }
}

// A file knows only jumps: each step takes the mean tempo over its pulses,
// (seconds at its end - seconds at its start) / its quarter notes, so the
// file reaches every step's start at the project's second.
void TrackItems::addRamp(const MTempoTrackNode& tempo, double from, double to) {
  const double step = std::max(kRampStep, std::ceil((to - from) / MSmfExporter::kMaxRampSteps));
  for (int64_t i = 0;; ++i) {
    const double a = from + static_cast<double>(i) * step;
    if (a >= to) break;
    const double b = std::min(a + step, to);
    const double seconds = tempo.secondsAt(b) - tempo.secondsAt(a);
    add(tickOf(a), kMetaRank, Kind::kTempo, microsecondsOf(seconds / ((b - a) / MSmfExporter::kDivision)));
  }
}

void TrackItems::addSignatures(const MSignatureTrackNode& signatures) {
  for (size_t i = 0; i < signatures.signatureCount(); ++i) {
    const MTimeSignatureEvent& s = *signatures.signature(i);
    // A file holds 1 to 255 beats; a denominator of 0 reads as 4 in bars.
    const uint32_t numerator = std::clamp<uint32_t>(s.getNumerator(), 1, 255);
    const uint32_t denominator = s.getDenominator() == 0 ? 4 : s.getDenominator();
    add(tickOf(s.getStart()), kMetaRank, Kind::kSignature, numerator | denominator << 16);
  }
}

void TrackItems::addMarkers(const MDataNode& markers, const MTempoTrackNode& tempo) {
  const MEventContainer* events = markers.events();
  if (events == nullptr) return;
  for (const auto& event : *events) {
    const auto* marker = dynamic_cast<const MMarkerEvent*>(event.get());
    if (marker == nullptr || dynamic_cast<const MCycleEvent*>(marker) != nullptr) continue;
    const double pulses = MMarkerEventController::toPulses(markers, marker->getStart(), &tempo);
    add(tickOf(pulses), kMetaRank, Kind::kMarker, source(*marker));
  }
}

void TrackItems::addMidiTrack(const MTrackEvent& track) {
  const MDataNode* node = track.getNode();
  if (node == nullptr || node->events() == nullptr) return;
  for (const auto& event : *node->events()) {
    const auto* part = dynamic_cast<const MPartEvent*>(event.get());
    if (part != nullptr && (includeMuted_ || !part->isMuted())) addPart(*part);
  }
}

void TrackItems::addPart(const MPartEvent& part) {
  const MDataNode* node = part.getNode();
  if (node == nullptr || node->events() == nullptr) return;
  const MEventContainer& events = *node->events();
  // The part shows its content from its offset on, for its length.
  const double first = part.getOffset();
  const double end = first + part.getLength();
  const double origin = part.getContentOrigin();
  // A part loaded without trust may hold its events out of order: it is
  // read whole instead of from a search (the items are sorted anyway).
  const bool ordered = !part.hasFlag(MMidiPartEvent::kUnchecked);
  for (size_t i = ordered ? events.lowerBound(first) : 0; i < events.size(); ++i) {
    const MEvent& event = *events.at(i);
    const bool shown = event.getStart() >= first && event.getStart() < end;
    if (!shown && ordered) break;
    if (shown && (includeMuted_ || !event.isMuted())) addEvent(event, origin + event.getStart());
  }
}

void TrackItems::addEvent(const MEvent& event, double position) {
  if (const auto* midi = dynamic_cast<const MMidiEvent*>(&event)) {
    if (midi->getStatusType() == 0x90) {
      addNote(static_cast<const MMidiNote&>(*midi), position);
    } else if (const std::optional<MMidiMessage> message = midiMessageOf(*midi)) {
      add(tickOf(position), kOtherRank, Kind::kChannel, 0, message->status, message->data1, message->data2);
    } else if (const auto* sysex = dynamic_cast<const MMidiSysex*>(midi); sysex && sysex->getByteCount() > 0) {
      add(tickOf(position), kOtherRank, Kind::kSysex, source(*sysex));
    }
  } else if (const auto* meta = dynamic_cast<const MSmfEvent*>(&event)) {
    if (meta->getMetaType() != kEndOfTrack) add(tickOf(position), kMetaRank, Kind::kMeta, source(*meta));
  }
}

void TrackItems::addNote(const MMidiNote& note, double position) {
  const MMidiMessage on = *midiMessageOf(note);
  const int64_t start = tickOf(position);
  const int64_t end = std::max(tickOf(position + note.getLength()), std::min(start + 1, kMaxTick));
  add(start, kNoteOnRank, Kind::kChannel, 0, on.status, on.data1, std::max<uint8_t>(on.data2, 1));
  if (note.getData3() != 0) {
    const MMidiMessage off = noteOffMessageOf(note);
    add(end, kNoteOffRank, Kind::kChannel, 0, off.status, off.data1, off.data2);
  } else {
    add(end, kNoteOffRank, Kind::kChannel, 0, on.status, on.data1, 0);
  }
}

bool TrackItems::writeItem(MSmfWriter& writer, const Item& item) const {
  const int64_t tick = item.tick();
  switch (item.kind) {
    case Kind::kChannel:
      return writer.channelEvent(tick, item.status, item.data1, item.data2);
    case Kind::kTempo:
      // Whole microseconds below 2^24 are exact as a float.
      return writer.tempo(tick, static_cast<float>(item.value));
    case Kind::kSignature:
      return writer.timeSignature(tick, static_cast<int>(item.value & 0xFFFF), static_cast<int>(item.value >> 16));
    case Kind::kMarker: {
      const std::string& name = static_cast<const MMarkerEvent*>(sources_[item.value])->getName();
      return writer.metaEvent(kMarkerMeta, tick, reinterpret_cast<const uint8_t*>(name.data()),
                              static_cast<uint32_t>(name.size()));
    }
    case Kind::kMeta: {
      const auto& meta = static_cast<const MSmfEvent&>(*sources_[item.value]);
      return writer.metaEvent(meta.getMetaType(), tick, meta.getData().data(),
                              static_cast<uint32_t>(meta.getData().size()));
    }
    case Kind::kSysex: {
      const std::vector<uint8_t>& bytes = static_cast<const MMidiSysex&>(*sources_[item.value]).getBytes();
      if (bytes.front() == 0xF0) return writer.systemExclusive(tick, bytes.data(), static_cast<uint32_t>(bytes.size()));
      // A message kept without its leading 0xF0 gets one.
      std::vector<uint8_t> whole(bytes.size() + 1, 0xF0);
      std::copy(bytes.begin(), bytes.end(), whole.begin() + 1);
      return writer.systemExclusive(tick, whole.data(), static_cast<uint32_t>(whole.size()));
    }
  }
  return false;
}

bool TrackItems::writeTo(MSmfWriter& writer, int64_t* events, std::string* error) {
  if (order_ > kMaxOrder + 1) {
    *error = "the project holds more events than a MIDI file export can take";
    return false;
  }
  std::sort(items_.begin(), items_.end(), [](const Item& a, const Item& b) { return a.key < b.key; });
  int64_t previous = 0;
  for (const Item& item : items_) {
    if (!writeItem(writer, item)) {
      // The writer refuses a delta time above what four bytes hold; every
      // other refusal comes from the stream.
      if (item.tick() - previous > kSmfMaxVariableLength) {
        *error = "an event at tick " + std::to_string(item.tick()) +
                 " lies too far after the one before it for a MIDI file (at most 268435455 ticks apart)";
      }
      return false;
    }
    previous = item.tick();
    ++*events;
  }
  return true;
}

// The MIDI tracks of list and of the folders in it, in list order.
void collectMidiTracks(const MTrackList& list, bool includeMuted, std::vector<const MTrackEvent*>* tracks) {
  for (size_t i = 0; i < list.count(); ++i) {
    const MTrackEvent* track = list.at(i);
    if (!includeMuted && track->isMuted()) continue;
    if (const auto* folder = dynamic_cast<const MFolderTrack*>(track)) {
      if (const MTrackList* inner = folder->getTrackList()) collectMidiTracks(*inner, includeMuted, tracks);
    } else if (dynamic_cast<const MMidiTrackEvent*>(track) != nullptr) {
      tracks->push_back(track);
    }
  }
}

std::optional<std::string_view> nameOf(const std::string& name) {
  if (name.empty()) return std::nullopt;
  return std::string_view(name);
}

}  // namespace

MSmfExporter::MSmfExporter(const MProject& project, MSmfExportOptions options) : project_(project), options_(options) {}

bool MSmfExporter::write(FStream& stream, std::string* error) {
  summary_ = {};
  std::vector<const MTrackEvent*> tracks;
  if (const MTrackList* list = project_.getTrackList()) collectMidiTracks(*list, options_.includeMuted, &tracks);
  MSmfWriter writer(stream);
  MSmfHeader header;
  header.format = options_.type == 0 ? 0 : 1;
  header.trackCount = static_cast<int16_t>(options_.type == 0 ? 1 : std::min<size_t>(tracks.size() + 1, 0x7FFF));
  header.division = kDivision;
  const auto failed = [&] {
    summary_.tracks = writer.tracksWritten();
    return false;
  };
  error->clear();
  if (!writer.beginFile(header)) return failed();
  TrackItems items(options_.includeMuted);
  items.addConductor(project_);
  if (options_.type == 0) {
    for (const MTrackEvent* track : tracks) items.addMidiTrack(*track);
  }
  if (!writer.beginTrack() || !items.writeTo(writer, &summary_.events, error) || !writer.endTrack()) {
    return failed();
  }
  for (size_t i = 0; options_.type != 0 && i < tracks.size(); ++i) {
    items.clear();
    items.addMidiTrack(*tracks[i]);
    const std::string name = tracks[i]->getName();
    if (!writer.beginTrack(nameOf(name)) || !items.writeTo(writer, &summary_.events, error) || !writer.endTrack()) {
      return failed();
    }
  }
  if (!writer.endFile()) return failed();
  summary_.tracks = writer.tracksWritten();
  return true;
}

}  // namespace vantor
