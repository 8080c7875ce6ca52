// Feeds arbitrary bytes to the MIDI-file parser. What it reports is written
// back with the writer (tempo and signature events in a conductor track of
// their own, every track in a chunk of its own) and parsed again: the same
// tracks, names and events must come back (write-back check). Where the
// writer refuses an event (a gap between two events too large for one
// delta), the check is skipped.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/FMemoryStream.h"
#include "midi/smf/MSmfReader.h"
#include "midi/smf/MSmfWriter.h"

namespace {

using namespace vantor;

struct Event {
  enum Kind { kChannel, kSysex, kMeta, kText } kind;
  int64_t tick;
  uint8_t status;  // or the meta type
  std::vector<uint8_t> bytes;
  bool operator==(const Event&) const = default;
};

struct Track {
  bool named = false;
  std::string name;
  std::vector<Event> events;
  bool operator==(const Track&) const = default;
};

struct Conductor {
  bool isTempo;
  int64_t tick;
  double seconds;
  int numerator;
  int denominator;
};

class Recorder : public MSmfReader {
 public:
  std::deque<Track> tracks;
  std::vector<Conductor> conductor;

  MSmfTrackHandle createTrack(int) override { return &tracks.emplace_back(); }
  void setTrackName(MSmfTrackHandle t, std::string_view name) override {
    static_cast<Track*>(t)->named = true;
    static_cast<Track*>(t)->name = std::string(name);
  }
  void channelEvent(MSmfTrackHandle t, int64_t tick, uint8_t status, uint8_t d1, uint8_t d2) override {
    // Data bytes go back as 7 bits: a top bit would turn into a status byte
    // under running status.
    add(t, {Event::kChannel, tick, status, {static_cast<uint8_t>(d1 & 0x7F), static_cast<uint8_t>(d2 & 0x7F)}});
  }
  void systemExclusive(MSmfTrackHandle t, int64_t tick, const uint8_t* bytes, uint32_t count) override {
    add(t, {Event::kSysex, tick, 0xF0, {bytes, bytes + count}});
  }
  void metaEvent(MSmfTrackHandle t, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) override {
    if (data == nullptr && length != 0) __builtin_trap();
    add(t, {Event::kMeta, tick, type, bytesOf(data, length)});
  }
  void textEvent(MSmfTrackHandle t, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) override {
    add(t, {Event::kText, tick, type, bytesOf(data, length)});
  }
  void tempo(int64_t tick, float seconds) override { conductor.push_back({true, tick, seconds, 0, 0}); }
  void timeSignature(int64_t tick, int numerator, int denominator) override {
    conductor.push_back({false, tick, 0.0, numerator, denominator});
  }

 private:
  static std::vector<uint8_t> bytesOf(const uint8_t* data, uint32_t length) {
    return data != nullptr ? std::vector<uint8_t>(data, data + length) : std::vector<uint8_t>();
  }
  static void add(MSmfTrackHandle t, Event event) { static_cast<Track*>(t)->events.push_back(std::move(event)); }
};

bool writeEvent(MSmfWriter& w, const Event& e) {
  switch (e.kind) {
    case Event::kChannel:
      return w.channelEvent(e.tick, e.status, e.bytes[0], e.bytes[1]);
    case Event::kSysex:
      return w.systemExclusive(e.tick, e.bytes.data(), static_cast<uint32_t>(e.bytes.size()));
    case Event::kMeta:
    case Event::kText:
      return w.metaEvent(e.status, e.tick, e.bytes.data(), static_cast<uint32_t>(e.bytes.size()));
  }
  return false;
}

// Writes what first reported; false when the writer refused something.
bool writeBack(const Recorder& first, std::vector<Conductor>& conductor, FMemoryStream& out) {
  MSmfWriter w(out);
  if (!w.beginFile(first.header())) return false;
  std::stable_sort(conductor.begin(), conductor.end(), [](auto& a, auto& b) { return a.tick < b.tick; });
  if (!conductor.empty()) {
    if (!w.beginTrack()) return false;
    for (const Conductor& c : conductor) {
      const bool ok = c.isTempo ? w.tempo(c.tick, static_cast<float>(std::round(c.seconds * 1e6)))
                                : w.timeSignature(c.tick, c.numerator, c.denominator);
      if (!ok) return false;
    }
    if (!w.endTrack()) return false;
  }
  for (const Track& track : first.tracks) {
    if (!w.beginTrack(track.named ? std::optional<std::string_view>(track.name) : std::nullopt)) return false;
    for (const Event& e : track.events) {
      if (!writeEvent(w, e)) return false;
    }
    if (!w.endTrack()) return false;
  }
  return w.endFile();
}

bool sameConductor(const std::vector<Conductor>& a, const std::vector<Conductor>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].isTempo != b[i].isTempo || a[i].tick != b[i].tick || a[i].numerator != b[i].numerator ||
        a[i].denominator != b[i].denominator) {
      return false;
    }
    // Seconds as a float carry the microseconds to within one or two.
    if (std::fabs(a[i].seconds - b[i].seconds) > 2.5e-6) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Recorder first;
  if (!first.read(data, size)) return 0;
  // A signature whose denominator has no 32-bit value cannot be written.
  for (const Conductor& c : first.conductor) {
    if (!c.isTempo && c.denominator == 0) return 0;
  }
  std::vector<Conductor> conductor = first.conductor;
  FMemoryStream out;
  if (!writeBack(first, conductor, out)) return 0;
  Recorder second;
  if (!second.read(out.data().data(), out.data().size())) __builtin_trap();
  if (second.tracks != first.tracks || !sameConductor(conductor, second.conductor)) __builtin_trap();
  return 0;
}
