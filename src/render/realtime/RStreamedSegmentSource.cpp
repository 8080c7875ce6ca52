#include "render/realtime/RStreamedSegmentSource.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "render/engine/RSegmentStream.h"
#include "render/realtime/RFrameRing.h"

namespace vantor {

namespace {

constexpr uint64_t kPlayedBits = 48;
constexpr uint64_t kPlayedMask = (uint64_t{1} << kPlayedBits) - 1;
constexpr uint32_t kGenerationMask = 0xFFFF;
constexpr int64_t kChunkFrames = 4096;  // one disk read
constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

uint64_t pack(uint32_t generation, int64_t played) {
  return (uint64_t{generation & kGenerationMask} << kPlayedBits) | (static_cast<uint64_t>(played) & kPlayedMask);
}

}  // namespace

// One pass of one segment over the unrolled timeline: `lap` 0 runs from the
// locate to the right locator (or on without the cycle), each later lap over
// the locators' range.
struct RStreamedSegmentSource::Occurrence {
  int64_t segment = -1;
  int lap = 0;
  int64_t firstOffset = 0;  // frames into the segment
  int64_t endOffset = 0;
  int64_t unrolledStart = 0;  // frames after the locate
};

struct RStreamedSegmentSource::Slot {
  explicit Slot(size_t samples) : ring(samples) {}

  // Published with release once the fields below are set; -1 when free.
  std::atomic<int64_t> segment{-1};
  // Set by the disk thread before publishing; nextOffset then belongs to
  // the audio thread (the segment offset of the ring's first frame).
  int64_t nextOffset = 0;
  int64_t endOffset = 0;
  int64_t unrolledStart = 0;
  int channels = 1;
  RFrameRing ring;

  // Disk thread only.
  Occurrence occurrence;
  int64_t filledOffset = 0;
  bool failed = false;
  std::unique_ptr<RSegmentStream> stream;
};

RStreamedSegmentSource::RStreamedSegmentSource(std::shared_ptr<const RPlaybackPlan> plan, const Options& options)
    : plan_(std::move(plan)),
      options_(options),
      ahead_(std::max<int64_t>(1, static_cast<int64_t>(options.aheadSeconds * plan_->sampleRate))) {
  // The most segments heard within `ahead_` of one position: a segment is
  // wanted while the position lies in (start - ahead, start + length).
  std::vector<std::pair<int64_t, int>> edges;
  int channels = 1;
  for (const RAudioSegment& segment : plan_->segments) {
    edges.emplace_back(segment.start - ahead_, 1);
    edges.emplace_back(segment.start + segment.length, -1);
    channels = std::max(channels, segment.channels);
  }
  std::sort(edges.begin(), edges.end());
  int wanted = 0;
  int most = 0;
  for (const auto& edge : edges) most = std::max(most, wanted += edge.second);
  if (options_.cycle && plan_->leftLocator < plan_->rightLocator) most *= 2;
  const int count = std::min(most, kMaxBuffers);
  const size_t samples = static_cast<size_t>(ahead_ + kChunkFrames) * static_cast<size_t>(channels);
  for (int i = 0; i < count; ++i) slots_.push_back(std::make_unique<Slot>(samples));
  scratch_.resize(static_cast<size_t>(kChunkFrames) * static_cast<size_t>(channels));
  disk_ = std::thread([this] { runDisk(); });
}

RStreamedSegmentSource::~RStreamedSegmentSource() {
  quit_.store(true, std::memory_order_release);
  disk_.join();
}

bool RStreamedSegmentSource::waitUntilReady(std::chrono::milliseconds timeout) const {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    const auto generation = static_cast<uint32_t>(posted_.load(std::memory_order_acquire) >> kPlayedBits);
    if (readyGeneration_.load(std::memory_order_acquire) == generation) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool RStreamedSegmentSource::waitUntilFilled(std::chrono::milliseconds timeout) const {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  // The pass under way when called may have begun before the last advance:
  // wait for the one after it.
  const uint64_t seen = idlePasses_.load(std::memory_order_acquire);
  while (idlePasses_.load(std::memory_order_acquire) < seen + 2) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}

std::string RStreamedSegmentSource::diskError() const {
  std::lock_guard<std::mutex> lock(errorMutex_);
  return error_;
}

void RStreamedSegmentSource::noteError(const std::string& message) {
  std::lock_guard<std::mutex> lock(errorMutex_);
  if (error_.empty()) error_ = message;
}

// ---- audio thread ----------------------------------------------------------

void RStreamedSegmentSource::locate(int64_t frame) noexcept {
  const bool wrap = options_.cycle && frame == plan_->leftLocator && real_ == plan_->rightLocator &&
                    plan_->leftLocator < plan_->rightLocator;
  real_ = frame;
  if (wrap) return;  // the disk thread has read across the wrap already
  generation_ = (generation_ + 1) & kGenerationMask;
  played_ = 0;
  origin_.store(frame, std::memory_order_relaxed);
  posted_.store(pack(generation_, 0), std::memory_order_release);
}

void RStreamedSegmentSource::advance(int64_t frames) noexcept {
  real_ += frames;
  played_ += frames;
  posted_.store(pack(generation_, played_), std::memory_order_release);
}

bool RStreamedSegmentSource::ready() const noexcept {
  return readyGeneration_.load(std::memory_order_acquire) == generation_;
}

bool RStreamedSegmentSource::read(size_t index, int64_t offset, float* out, int frames) noexcept {
  // The counter and the slots' mapping are sequentially consistent, so the
  // disk thread that unmaps a slot and then sees the counter even knows this
  // thread will not see the slot again (see waitForReaders).
  readers_.fetch_add(1, std::memory_order_seq_cst);
  Slot* best = nullptr;
  for (const auto& slot : slots_) {
    if (slot->segment.load(std::memory_order_seq_cst) != static_cast<int64_t>(index)) continue;
    if (slot->nextOffset > offset || offset + frames > slot->endOffset) continue;
    // Of two passes of one segment both before the offset, the later read
    // one is being played; equal ones hold the same samples, the earlier
    // pass goes first.
    if (best == nullptr || slot->nextOffset > best->nextOffset ||
        (slot->nextOffset == best->nextOffset && slot->unrolledStart < best->unrolledStart)) {
      best = slot.get();
    }
  }
  bool found = false;
  if (best != nullptr) {
    const auto channels = static_cast<size_t>(best->channels);
    const auto skip = static_cast<size_t>(offset - best->nextOffset) * channels;
    const size_t wanted = static_cast<size_t>(frames) * channels;
    if (best->ring.readable() >= skip + wanted) {
      best->ring.read(nullptr, skip);
      best->ring.read(out, wanted);
      best->nextOffset = offset + frames;
      found = true;
    }
  }
  readers_.fetch_add(1, std::memory_order_seq_cst);
  if (!found) {
    const int channels = static_cast<size_t>(index) < plan_->segments.size() ? plan_->segments[index].channels : 1;
    std::memset(out, 0, sizeof(float) * static_cast<size_t>(frames) * static_cast<size_t>(channels));
  }
  return found;
}

// ---- disk thread -----------------------------------------------------------

void RStreamedSegmentSource::runDisk() {
  while (!quit_.load(std::memory_order_acquire)) {
    const uint64_t posted = posted_.load(std::memory_order_acquire);
    const auto generation = static_cast<uint32_t>(posted >> kPlayedBits);
    const auto played = static_cast<int64_t>(posted & kPlayedMask);
    if (generation != diskGeneration_) startGeneration(generation);
    collectPast(played);
    assignWindow(played);
    bool progress = false;
    while (fillOnce()) {
      progress = true;
      // A locate makes the rest of this fill useless.
      if ((posted_.load(std::memory_order_acquire) >> kPlayedBits) != generation) break;
      if (quit_.load(std::memory_order_relaxed)) return;
    }
    if (!progress) {
      if (readyGeneration_.load(std::memory_order_relaxed) != generation) {
        readyGeneration_.store(generation, std::memory_order_release);
      }
      idlePasses_.fetch_add(1, std::memory_order_release);
      // Two milliseconds: well inside a period of 256 frames, and the rings
      // hold seconds.
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
}

void RStreamedSegmentSource::startGeneration(uint32_t generation) {
  std::vector<Slot*> used;
  for (const auto& slot : slots_)
    if (slot->segment.load(std::memory_order_relaxed) >= 0) used.push_back(slot.get());
  releaseSlots(used);
  diskGeneration_ = generation;
  diskOrigin_ = origin_.load(std::memory_order_relaxed);
}

void RStreamedSegmentSource::collectPast(int64_t played) {
  std::vector<Slot*> past;
  for (const auto& slot : slots_) {
    if (slot->segment.load(std::memory_order_relaxed) < 0) continue;
    const Occurrence& o = slot->occurrence;
    if (o.unrolledStart + (o.endOffset - o.firstOffset) <= played) past.push_back(slot.get());
  }
  if (!past.empty()) releaseSlots(past);
}

void RStreamedSegmentSource::releaseSlots(const std::vector<Slot*>& slots) {
  if (slots.empty()) return;
  for (Slot* slot : slots) slot->segment.store(-1, std::memory_order_seq_cst);
  waitForReaders();
  for (Slot* slot : slots) {
    slot->ring.reset();
    slot->stream.reset();
  }
}

void RStreamedSegmentSource::waitForReaders() const {
  const uint64_t seen = readers_.load(std::memory_order_seq_cst);
  if ((seen & 1) == 0) return;
  while (readers_.load(std::memory_order_seq_cst) == seen) std::this_thread::yield();
}

// Gives free rings to the passes that sound within the read-ahead of the
// position, nearest first.
void RStreamedSegmentSource::assignWindow(int64_t played) {
  const RPlaybackPlan& plan = *plan_;
  const bool loops = options_.cycle && plan.leftLocator < plan.rightLocator && diskOrigin_ < plan.rightLocator;
  const int64_t windowEnd = played + ahead_;
  std::vector<Occurrence> wanted;
  int64_t lapStart = 0;  // unrolled
  // A loop shorter than the read-ahead repeats inside the window; beyond
  // as many passes as there are rings none could be given one anyway.
  for (int lap = 0; lapStart < windowEnd && lap < kMaxBuffers; ++lap) {
    const int64_t realStart = lap == 0 ? diskOrigin_ : plan.leftLocator;
    const int64_t realEnd = loops ? plan.rightLocator : kNever;
    const int64_t lapEnd = realEnd == kNever ? kNever : lapStart + (realEnd - realStart);
    if (lapEnd > played) {
      // The part of this lap inside the window, in timeline frames.
      const int64_t from = realStart + std::max<int64_t>(0, played - lapStart);
      const int64_t to = realStart + (std::min(lapEnd, windowEnd) - lapStart);
      for (size_t i = 0; i < plan.segments.size(); ++i) {
        const RAudioSegment& segment = plan.segments[i];
        if (segment.start >= to || segment.start + segment.length <= from) continue;
        Occurrence o;
        o.segment = static_cast<int64_t>(i);
        o.lap = lap;
        o.firstOffset = std::max(realStart, segment.start) - segment.start;
        o.endOffset = std::min(realEnd, segment.start + segment.length) - segment.start;
        o.unrolledStart = lapStart + (segment.start + o.firstOffset - realStart);
        wanted.push_back(o);
      }
    }
    if (lapEnd == kNever) break;
    lapStart = lapEnd;
  }
  std::sort(wanted.begin(), wanted.end(),
            [](const Occurrence& a, const Occurrence& b) { return a.unrolledStart < b.unrolledStart; });
  for (const Occurrence& o : wanted) {
    Slot* free = nullptr;
    bool held = false;
    for (const auto& slot : slots_) {
      if (slot->segment.load(std::memory_order_relaxed) < 0) {
        if (free == nullptr) free = slot.get();
      } else if (slot->occurrence.segment == o.segment && slot->occurrence.lap == o.lap) {
        held = true;
        break;
      }
    }
    if (held) continue;
    if (free == nullptr) return;  // the rest waits for a ring to come free
    const RAudioSegment& segment = plan.segments[static_cast<size_t>(o.segment)];
    free->occurrence = o;
    free->nextOffset = o.firstOffset;
    free->endOffset = o.endOffset;
    free->unrolledStart = o.unrolledStart;
    free->channels = segment.channels;
    free->filledOffset = o.firstOffset;
    free->stream = std::make_unique<RSegmentStream>(segment, plan.sampleRate);
    free->failed = !free->stream->seek(o.firstOffset);
    if (free->failed) noteError(free->stream->error());
    free->segment.store(o.segment, std::memory_order_seq_cst);
  }
}

// Reads one chunk into the ring whose next missing frame plays soonest;
// false when every ring is full or complete.
bool RStreamedSegmentSource::fillOnce() {
  Slot* target = nullptr;
  int64_t soonest = kNever;
  for (const auto& slot : slots_) {
    if (slot->segment.load(std::memory_order_relaxed) < 0 || slot->failed) continue;
    if (slot->filledOffset >= slot->occurrence.endOffset) continue;
    if (slot->ring.writable() < static_cast<size_t>(slot->channels)) continue;
    const int64_t due = slot->occurrence.unrolledStart + (slot->filledOffset - slot->occurrence.firstOffset);
    if (due < soonest) {
      soonest = due;
      target = slot.get();
    }
  }
  if (target == nullptr) return false;
  const auto channels = static_cast<size_t>(target->channels);
  const int64_t room = static_cast<int64_t>(target->ring.writable() / channels);
  const int64_t frames = std::min({kChunkFrames, room, target->occurrence.endOffset - target->filledOffset});
  const int64_t got = std::max<int64_t>(0, target->stream->read(scratch_.data(), frames));
  if (got < frames) {
    target->failed = true;
    noteError(target->stream->error());
  }
  target->ring.write(scratch_.data(), static_cast<size_t>(got) * channels);
  target->filledOffset += got;
  return true;
}

}  // namespace vantor
