#include "midi/smf/MSmfImporter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "midi/events/MMidiMessage.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MName.h"
#include "model/tree/MProject.h"

namespace vantor {

namespace {

constexpr double kPulsesPerQuarter = 480.0;
// A part that holds nothing still gets one bar of 4/4, so it can be seen
// and filled.
constexpr double kEmptyPartLength = 1920.0;
// A sounding note's length until its note-off comes.
constexpr double kSounding = -1.0;

MSmfTrackHandle handleOf(size_t index) { return reinterpret_cast<MSmfTrackHandle>(static_cast<uintptr_t>(index + 1)); }

}  // namespace

// One track chunk as it is read: its events with their ticks in the file's
// division (a note's length holds its end tick until build()).
struct MSmfImporter::Chunk {
  int index = 0;
  std::string name;
  std::vector<FRef<MEvent>> events;
  int64_t lastTick = 0;
  int64_t endTick = -1;
  bool hasData = false;  // channel or system-exclusive events
  bool closed = false;
  bool makesTrack = false;
  // Sounding notes per channel and pitch, earliest first: indexes into
  // events, from head on.
  std::vector<std::vector<uint32_t>> sounding;
  std::vector<uint32_t> head;
};

// File ticks to pulses from the file's start.
class MSmfImporter::TickConverter {
 public:
  TickConverter(const MSmfHeader& header, const std::vector<std::pair<int64_t, float>>& tempos, double position,
                const MTempoTrackNode* projectTempo)
      : position_(position), projectTempo_(projectTempo) {
    if (!header.smpte) {
      pulsesPerTick_ = kPulsesPerQuarter / header.division;
      return;
    }
    smpte_ = true;
    // -29 stands for 30 frames drop-frame: 29.97 frames per second.
    const double fps = header.frames == -29 ? 30000.0 / 1001.0 : -static_cast<double>(header.frames);
    secondsPerTick_ = 1.0 / (fps * header.division);
    segments_.push_back({0.0, 0.0, 0.5});
    for (const auto& [tick, spb] : tempos) {
      const double seconds = static_cast<double>(tick) * secondsPerTick_;
      const double pulses = fromSegments(seconds);
      if (seconds == segments_.back().seconds) {
        segments_.back().spb = spb;
      } else {
        segments_.push_back({seconds, pulses, spb});
      }
    }
    useFileTempo_ = !tempos.empty();
    if (!useFileTempo_ && projectTempo_ != nullptr) startSeconds_ = projectTempo_->secondsAt(position_);
  }

  double operator()(int64_t tick) const {
    if (!smpte_) return static_cast<double>(tick) * pulsesPerTick_;
    const double seconds = static_cast<double>(tick) * secondsPerTick_;
    if (useFileTempo_) return fromSegments(seconds);
    // The project's tempo map places the file's times from the import
    // position on.
    if (projectTempo_ != nullptr) return projectTempo_->pulsesAt(startSeconds_ + seconds) - position_;
    return seconds / 0.5 * kPulsesPerQuarter;
  }

 private:
  struct Segment {
    double seconds;
    double pulses;
    double spb;
  };
  double fromSegments(double seconds) const {
    auto it = std::upper_bound(segments_.begin(), segments_.end(), seconds,
                               [](double s, const Segment& segment) { return s < segment.seconds; });
    const Segment& segment = it == segments_.begin() ? segments_.front() : *(it - 1);
    return segment.pulses + (seconds - segment.seconds) / segment.spb * kPulsesPerQuarter;
  }

  bool smpte_ = false;
  bool useFileTempo_ = false;
  double pulsesPerTick_ = 1.0;
  double secondsPerTick_ = 0.0;
  double position_;
  double startSeconds_ = 0.0;
  const MTempoTrackNode* projectTempo_;
  std::vector<Segment> segments_;
};

MSmfImporter::MSmfImporter(double position, const MTempoTrackNode* projectTempo)
    : position_(position), projectTempo_(projectTempo) {}

MSmfImporter::~MSmfImporter() = default;

bool MSmfImporter::importBytes(const uint8_t* data, size_t size, std::string* reason) {
  chunks_.clear();
  tempos_.clear();
  signatures_.clear();
  result_ = {};
  open_ = nullptr;
  refusal_.clear();
  if (size < 4 || std::memcmp(data, "MThd", 4) != 0) {
    *reason = "it is not a MIDI file (it does not begin with \"MThd\")";
    return false;
  }
  if (size < 14) {
    *reason = "its header is cut short";
    return false;
  }
  if (!read(data, size)) {
    *reason = refusal_.empty() ? "its header cannot be read" : refusal_;
    return false;
  }
  if (open_ != nullptr) closeChunk(*open_, open_->lastTick);
  // Tempo changes of several chunks: position order; the last of equal
  // ticks wins.
  std::stable_sort(tempos_.begin(), tempos_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  const TickConverter convert(header(), tempos_, position_, projectTempo_);
  build(convert);
  return true;
}

MSmfImport MSmfImporter::takeResult() {
  MSmfImport result = std::move(result_);
  result_ = {};
  return result;
}

bool MSmfImporter::beginFile() {
  // Without ticks per quarter note (or per frame) no event has a place.
  if (header().division <= 0) {
    refusal_ = "its time division is 0 ticks";
    return false;
  }
  return true;
}

MSmfTrackHandle MSmfImporter::createTrack(int index) {
  // A chunk that ended without an end-of-track event gets no endTrack call.
  if (open_ != nullptr) closeChunk(*open_, open_->lastTick);
  chunks_.emplace_back();
  Chunk& chunk = chunks_.back();
  chunk.index = index;
  chunk.sounding.resize(16 * 128);
  chunk.head.assign(16 * 128, 0);
  open_ = &chunk;
  return handleOf(chunks_.size() - 1);
}

MSmfImporter::Chunk* MSmfImporter::chunkOf(MSmfTrackHandle track) {
  const auto index = reinterpret_cast<uintptr_t>(track);
  if (index == 0 || index > chunks_.size()) return nullptr;
  return &chunks_[index - 1];
}

void MSmfImporter::setTrackName(MSmfTrackHandle track, std::string_view name) {
  if (Chunk* chunk = chunkOf(track)) chunk->name = importedName(name);
}

void MSmfImporter::endTrack(MSmfTrackHandle track, int64_t tick) {
  Chunk* chunk = chunkOf(track);
  if (chunk == nullptr) return;
  if (tick >= 0) chunk->endTick = tick;
  closeChunk(*chunk, tick >= 0 ? tick : chunk->lastTick);
  if (open_ == chunk) open_ = nullptr;
}

void MSmfImporter::closeChunk(Chunk& chunk, int64_t tick) {
  if (chunk.closed) return;
  chunk.closed = true;
  for (size_t key = 0; key < chunk.sounding.size(); ++key) {
    const auto& queue = chunk.sounding[key];
    for (size_t i = chunk.head[key]; i < queue.size(); ++i) {
      chunk.events[queue[i]]->setLength(static_cast<double>(tick));
    }
  }
  chunk.sounding = {};
  chunk.head = {};
}

void MSmfImporter::addEvent(Chunk& chunk, int64_t tick, FRef<MEvent> event) {
  event->setStart(static_cast<double>(tick));
  chunk.lastTick = tick;
  chunk.events.push_back(std::move(event));
}

void MSmfImporter::noteOn(Chunk& chunk, int64_t tick, uint8_t channel, uint8_t pitch, uint8_t velocity) {
  FRef<MMidiNote> note = makeRef<MMidiNote>();
  note->setChannel(channel);
  note->setData1(pitch);
  note->setData2(velocity);
  note->setLength(kSounding);
  ++result_.counts.notes;
  chunk.sounding[channel * 128u + pitch].push_back(static_cast<uint32_t>(chunk.events.size()));
  addEvent(chunk, tick, std::move(note));
}

void MSmfImporter::noteOff(Chunk& chunk, int64_t tick, uint8_t channel, uint8_t pitch, uint8_t velocity) {
  chunk.lastTick = tick;
  const size_t key = channel * 128u + pitch;
  auto& queue = chunk.sounding[key];
  uint32_t& head = chunk.head[key];
  if (head == queue.size()) {
    ++result_.counts.dropped;
    return;
  }
  auto* note = static_cast<MMidiNote*>(chunk.events[queue[head]].get());
  note->setLength(static_cast<double>(tick));
  note->setData3(velocity);
  if (++head == queue.size()) {
    queue.clear();
    head = 0;
  }
}

void MSmfImporter::channelEvent(MSmfTrackHandle track, int64_t tick, uint8_t status, uint8_t data1, uint8_t data2) {
  Chunk* chunk = chunkOf(track);
  if (chunk == nullptr || chunk->closed) return;
  chunk->hasData = true;
  data1 &= 0x7F;
  data2 &= 0x7F;
  const uint8_t kind = status & 0xF0;
  const uint8_t channel = status & 0x0F;
  if (kind == 0x90 && data2 != 0) return noteOn(*chunk, tick, channel, data1, data2);
  if (kind == 0x80 || kind == 0x90) return noteOff(*chunk, tick, channel, data1, kind == 0x80 ? data2 : 0);
  FRef<MMidiEvent> event = makeMidiEvent(status, data1, data2);
  if (!event) return;
  MSmfImportCounts& counts = result_.counts;
  switch (kind) {
    case 0xA0:
      ++counts.polyPressures;
      break;
    case 0xB0:
      ++counts.controllers;
      break;
    case 0xC0:
      ++counts.programChanges;
      break;
    case 0xD0:
      ++counts.afterTouches;
      break;
    default:
      ++counts.pitchBends;
      break;
  }
  addEvent(*chunk, tick, std::move(event));
}

void MSmfImporter::systemExclusive(MSmfTrackHandle track, int64_t tick, const uint8_t* bytes, uint32_t count) {
  Chunk* chunk = chunkOf(track);
  if (chunk == nullptr || chunk->closed) return;
  chunk->hasData = true;
  FRef<MMidiSysex> sysex = makeRef<MMidiSysex>();
  sysex->setBytes(std::vector<uint8_t>(bytes, bytes + count));
  ++result_.counts.sysex;
  addEvent(*chunk, tick, std::move(sysex));
}

void MSmfImporter::metaEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) {
  Chunk* chunk = chunkOf(track);
  if (chunk == nullptr || chunk->closed) return;
  std::vector<uint8_t> bytes;
  if (data != nullptr) bytes.assign(data, data + length);
  ++result_.counts.meta;
  addEvent(*chunk, tick, makeRef<MSmfEvent>(type, std::move(bytes)));
}

void MSmfImporter::textEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) {
  metaEvent(track, tick, type, length, data);
}

void MSmfImporter::tempo(int64_t tick, float secondsPerQuarter) {
  // A tempo of 0 microseconds has no meaning; the change is passed over.
  if (!(secondsPerQuarter > 0.0f) || !std::isfinite(secondsPerQuarter)) return;
  tempos_.emplace_back(tick, secondsPerQuarter);
}

void MSmfImporter::timeSignature(int64_t tick, int numerator, int denominator) {
  // Only signatures an edit could make: the numerator 1 to 255, the
  // denominator a power of two up to 128 (each beat a whole number of
  // pulses).
  if (numerator < 1 || numerator > 255 || denominator < 1 || denominator > 128) return;
  signatures_.push_back({tick, static_cast<uint16_t>(numerator), static_cast<uint16_t>(denominator)});
}

void MSmfImporter::build(const TickConverter& convert) {
  buildTimeMap(convert);
  // Meta events of chunks that make no track go to the first track.
  std::vector<FRef<MEvent>> orphans;
  Chunk* first = nullptr;
  for (Chunk& chunk : chunks_) {
    chunk.makesTrack = chunk.hasData || chunk.events.empty();
    if (chunk.makesTrack) {
      if (first == nullptr) first = &chunk;
      continue;
    }
    for (auto& event : chunk.events) orphans.push_back(std::move(event));
    chunk.events = {};
  }
  if (first == nullptr) {
    result_.counts.dropped += orphans.size();
    result_.counts.meta -= orphans.size();
  } else {
    for (auto& event : orphans) first->events.push_back(std::move(event));
  }
  for (Chunk& chunk : chunks_) {
    if (!chunk.makesTrack) continue;
    FRef<MTrackEvent> track = buildTrack(chunk, convert);
    if (track) result_.tracks.push_back(std::move(track));
  }
}

void MSmfImporter::buildTimeMap(const TickConverter& convert) {
  if (!tempos_.empty()) {
    if (tempos_.front().first > 0) result_.tempos.push_back({0.0, 0.5f});
    for (const auto& [tick, spb] : tempos_) {
      const double pulses = convert(tick);
      if (!result_.tempos.empty() && result_.tempos.back().pulses == pulses) {
        result_.tempos.back().secondsPerQuarter = spb;
      } else {
        result_.tempos.push_back({pulses, spb});
      }
    }
  }
  std::stable_sort(signatures_.begin(), signatures_.end(),
                   [](const auto& a, const auto& b) { return a.pulses < b.pulses; });
  if (!signatures_.empty() && signatures_.front().pulses > 0) result_.signatures.push_back({0, 4, 4});
  for (MSmfImportSignature signature : signatures_) {
    // Signatures stand on whole pulses.
    const double pulses = std::round(convert(signature.pulses));
    if (!(pulses + position_ <= 2147483647.0)) continue;
    signature.pulses = static_cast<int64_t>(pulses);
    if (!result_.signatures.empty() && result_.signatures.back().pulses == signature.pulses) {
      result_.signatures.back() = signature;
    } else {
      result_.signatures.push_back(signature);
    }
  }
}

FRef<MTrackEvent> MSmfImporter::buildTrack(Chunk& chunk, const TickConverter& convert) {
  std::string name = chunk.name.empty() ? "Track " + std::to_string(chunk.index + 1) : chunk.name;
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", name);
  FRef<MPartEvent> placement = track ? track->createPart() : nullptr;
  if (!placement || placement->getNode() == nullptr || track->getNode() == nullptr) return nullptr;
  MEventContainer* events = placement->getNode()->events();
  if (events == nullptr || track->getNode()->events() == nullptr) return nullptr;
  double end = chunk.endTick >= 0 ? convert(chunk.endTick) : 0.0;
  for (FRef<MEvent>& event : chunk.events) {
    const double start = convert(static_cast<int64_t>(event->getStart()));
    // Only notes have a length: their end tick until now. A note that ends
    // at tick 0 has length 0 either way.
    const double endTick = event->getLength();
    if (endTick > 0.0) event->setLength(convert(static_cast<int64_t>(endTick)) - start);
    event->setStart(start);
    end = std::max(end, event->getEnd());
    // A part shows what starts before its end: an event at the track's
    // last tick (a pedal release, a reset) stretches it to the next beat.
    if (start >= end) end = (std::floor(start / kPulsesPerQuarter) + 1.0) * kPulsesPerQuarter;
    events->append(std::move(event));
  }
  chunk.events = {};
  events->sortAfterAppend();
  placement->setName(name);
  placement->setStart(position_);
  placement->setLength(end > 0.0 ? end : kEmptyPartLength);
  track->getNode()->events()->append(std::move(placement));
  return track;
}

std::string importMidiFailure(std::string_view path, std::string_view reason) {
  return "Cannot import MIDI file \"" + std::string(path) + "\": " + std::string(reason);
}

std::string importedName(std::string_view bytes) {
  std::string text;
  if (isUtf8(bytes)) {
    text = bytes;
  } else {
    // Older files name tracks in an 8-bit encoding: read it as Latin-1.
    for (unsigned char c : bytes) {
      if (c < 0x80) {
        text += static_cast<char>(c);
      } else {
        text += static_cast<char>(0xC0 | (c >> 6));
        text += static_cast<char>(0x80 | (c & 0x3F));
      }
    }
  }
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  size_t cut = 0;
  while (cut < text.size()) {
    const size_t length = utf8SequenceLength(text, cut);
    if (length == 0 || cut + length > kMaxNameBytes) break;
    cut += length;
  }
  text.resize(cut);
  return text;
}

}  // namespace vantor
