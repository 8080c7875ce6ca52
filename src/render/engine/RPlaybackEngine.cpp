#include "render/RPlaybackEngine.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <numbers>

#include "render/RMetronome.h"
#include "render/engine/RFadeCurve.h"

namespace vantor {

namespace {

// One track's mixer channel while it plays. Mono sources are panned at
// constant power, -3 dB each side in the centre: L = cos((p + 1)π/4),
// R = sin((p + 1)π/4). Stereo sources and instruments are balanced: the
// centre leaves both sides at unity and turning towards one side attenuates
// the other linearly (p = 0.5 gives the left 0.5 and the right 1).
struct TrackState {
  float gain = 0;
  bool audible = false;
  float monoLeft = 0, monoRight = 0;
  float stereoLeft = 1, stereoRight = 1;
  std::unique_ptr<RInstrument> instrument;
  std::vector<uint32_t> midi;  // indices into the plan's messages, by frame
  size_t nextMidi = 0;
  std::vector<float> mono, left, right;  // this block's sources
  bool hasMono = false, hasStereo = false;
};

void setPan(TrackState* track, float pan) {
  const double p = std::clamp(static_cast<double>(pan), -1.0, 1.0);
  track->monoLeft = static_cast<float>(std::cos((p + 1) * std::numbers::pi / 4));
  track->monoRight = static_cast<float>(std::sin((p + 1) * std::numbers::pi / 4));
  track->stereoLeft = static_cast<float>(p > 0 ? 1 - p : 1);
  track->stereoRight = static_cast<float>(p < 0 ? 1 + p : 1);
}

}  // namespace

struct RPlaybackEngine::State {
  std::shared_ptr<const RPlaybackPlan> plan;
  RSegmentSource* source = nullptr;
  int maxFrames = 0;
  int64_t position = 0;
  std::vector<TrackState> tracks;
  size_t nextSegment = 0;
  std::vector<uint32_t> active;  // sounding segments, in plan order (so sums do not depend on blocks)
  std::vector<float> segmentBuffer;
  std::unique_ptr<RMetronome> metronome;
  size_t nextClick = 0;
  std::atomic<bool> click{false};
  std::atomic<uint64_t> missed{0};

  void mixSegment(uint32_t index, int64_t blockStart, int frames);
  void renderInstrument(TrackState& track, int64_t blockStart, int frames);
  void renderClicks(float* left, float* right, int64_t blockStart, int frames);
};

void RPlaybackEngine::State::mixSegment(uint32_t index, int64_t blockStart, int frames) {
  const RAudioSegment& segment = plan->segments[index];
  TrackState& track = tracks[segment.track];
  const int64_t from = std::max(segment.start, blockStart);
  const int64_t to = std::min(segment.start + segment.length, blockStart + frames);
  if (from >= to || !track.audible) return;
  const int n = static_cast<int>(to - from);
  const int64_t offset = from - segment.start;
  float* samples = segmentBuffer.data();
  if (!source->read(index, offset, samples, n)) {
    missed.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  const int channels = std::max(1, segment.channels);
  const auto at = static_cast<size_t>(from - blockStart);
  const int64_t fadeOutFrom = segment.length - segment.fadeOut.length;
  const bool fading = offset < segment.fadeIn.length || offset + n > fadeOutFrom;
  for (int i = 0; i < n; ++i) {
    const float gain =
        fading ? static_cast<float>(segmentFadeGain(offset + i, segment.length, segment.fadeIn.length,
                                                    segment.fadeIn.curve, segment.fadeOut.length,
                                                    segment.fadeOut.curve))
               : 1.0f;
    const float* frame = samples + static_cast<size_t>(i) * static_cast<size_t>(channels);
    if (channels == 1) {
      track.mono[at + static_cast<size_t>(i)] += gain * frame[0];
    } else {  // channels beyond the first two are not heard
      track.left[at + static_cast<size_t>(i)] += gain * frame[0];
      track.right[at + static_cast<size_t>(i)] += gain * frame[1];
    }
  }
  (channels == 1 ? track.hasMono : track.hasStereo) = true;
}

// Renders the instrument up to each message's frame and sends the message
// there, so a message takes effect at its exact frame whatever the blocks.
void RPlaybackEngine::State::renderInstrument(TrackState& track, int64_t blockStart, int frames) {
  const int64_t end = blockStart + frames;
  int64_t cursor = blockStart;
  while (track.nextMidi < track.midi.size()) {
    const RMidiMessage& message = plan->midi[track.midi[track.nextMidi]];
    if (message.frame >= end) break;
    if (message.frame > cursor) {
      const auto at = static_cast<size_t>(cursor - blockStart);
      track.instrument->render(track.left.data() + at, track.right.data() + at, static_cast<int>(message.frame - cursor));
      cursor = message.frame;
    }
    track.instrument->midi(message.status, message.data1, message.data2);
    ++track.nextMidi;
  }
  const auto at = static_cast<size_t>(cursor - blockStart);
  track.instrument->render(track.left.data() + at, track.right.data() + at, static_cast<int>(end - cursor));
  track.hasStereo = true;
}

void RPlaybackEngine::State::renderClicks(float* left, float* right, int64_t blockStart, int frames) {
  const int64_t end = blockStart + frames;
  int64_t cursor = blockStart;
  const bool on = click.load(std::memory_order_relaxed);
  while (nextClick < plan->clicks.size() && plan->clicks[nextClick].frame < end) {
    const RClick& c = plan->clicks[nextClick++];
    if (c.frame > cursor) {
      const auto at = static_cast<size_t>(cursor - blockStart);
      metronome->render(left + at, right + at, static_cast<int>(c.frame - cursor));
      cursor = c.frame;
    }
    if (on) metronome->trigger(c.accent);
  }
  const auto at = static_cast<size_t>(cursor - blockStart);
  metronome->render(left + at, right + at, static_cast<int>(end - cursor));
}

RPlaybackEngine::RPlaybackEngine() : state_(std::make_unique<State>()) {}

RPlaybackEngine::~RPlaybackEngine() = default;

bool RPlaybackEngine::prepare(std::shared_ptr<const RPlaybackPlan> plan, RSegmentSource* source,
                              const RInstrumentFactory& factory, int maxFrames, std::string* error) {
  auto next = std::make_unique<State>();
  State& s = *next;
  s.plan = std::move(plan);
  s.source = source;
  s.maxFrames = std::max(1, maxFrames);
  const auto block = static_cast<size_t>(s.maxFrames);
  s.tracks.resize(s.plan->tracks.size());
  for (size_t i = 0; i < s.plan->midi.size(); ++i) {
    const uint32_t track = s.plan->midi[i].track;
    if (track < s.tracks.size()) s.tracks[track].midi.push_back(static_cast<uint32_t>(i));
  }
  int channels = 1;
  for (const RAudioSegment& segment : s.plan->segments) channels = std::max(channels, segment.channels);
  s.segmentBuffer.assign(block * static_cast<size_t>(channels), 0.0f);
  for (size_t i = 0; i < s.tracks.size(); ++i) {
    const RTrackChannel& channel = s.plan->tracks[i];
    TrackState& track = s.tracks[i];
    track.gain = channel.gain;
    track.audible = channel.audible;
    setPan(&track, channel.pan);
    track.mono.assign(block, 0.0f);
    track.left.assign(block, 0.0f);
    track.right.assign(block, 0.0f);
    if (channel.isMidi && channel.audible && !track.midi.empty()) {
      track.instrument = factory.create(channel.instrument, s.plan->sampleRate, error);
      if (!track.instrument) return false;
    }
  }
  s.active.reserve(s.plan->segments.size());
  s.metronome = std::make_unique<RMetronome>(s.plan->sampleRate);
  s.click.store(state_->click.load());
  state_ = std::move(next);
  locate(0);
  return true;
}

void RPlaybackEngine::locate(int64_t frame) noexcept {
  State& s = *state_;
  s.position = frame;
  if (!s.plan) return;
  const auto& segments = s.plan->segments;
  s.nextSegment = static_cast<size_t>(
      std::partition_point(segments.begin(), segments.end(), [frame](const RAudioSegment& a) { return a.start < frame; }) -
      segments.begin());
  s.active.clear();
  for (size_t i = 0; i < s.nextSegment; ++i) {
    if (segments[i].start + segments[i].length > frame) s.active.push_back(static_cast<uint32_t>(i));
  }
  for (TrackState& track : s.tracks) {
    if (track.instrument) track.instrument->reset();
    track.nextMidi = static_cast<size_t>(
        std::partition_point(track.midi.begin(), track.midi.end(),
                             [&](uint32_t m) { return s.plan->midi[m].frame < frame; }) -
        track.midi.begin());
  }
  const auto& clicks = s.plan->clicks;
  s.nextClick = static_cast<size_t>(
      std::partition_point(clicks.begin(), clicks.end(), [frame](const RClick& c) { return c.frame < frame; }) -
      clicks.begin());
  if (s.metronome) s.metronome->reset();
  if (s.source != nullptr) s.source->locate(frame);
}

int64_t RPlaybackEngine::position() const noexcept { return state_->position; }

void RPlaybackEngine::setClick(bool on) noexcept { state_->click.store(on, std::memory_order_relaxed); }

uint64_t RPlaybackEngine::missedReads() const noexcept { return state_->missed.load(std::memory_order_relaxed); }

void RPlaybackEngine::process(float* left, float* right, int frames) noexcept {
  State& s = *state_;
  frames = std::clamp(frames, 0, s.maxFrames);
  std::fill(left, left + frames, 0.0f);
  std::fill(right, right + frames, 0.0f);
  if (!s.plan || frames == 0) {
    s.position += frames;
    return;
  }
  const int64_t start = s.position;
  const int64_t end = start + frames;
  const auto& segments = s.plan->segments;
  while (s.nextSegment < segments.size() && segments[s.nextSegment].start < end) {
    if (segments[s.nextSegment].start + segments[s.nextSegment].length > start) {
      s.active.push_back(static_cast<uint32_t>(s.nextSegment));
    }
    ++s.nextSegment;
  }
  const auto n = static_cast<size_t>(frames);
  for (TrackState& track : s.tracks) {
    // The whole buffer: the block that wrote it may have been longer than
    // this one, and a segment starting inside a later block adds to it.
    if (track.hasMono) std::fill(track.mono.begin(), track.mono.end(), 0.0f);
    if (track.hasStereo) {
      std::fill(track.left.begin(), track.left.end(), 0.0f);
      std::fill(track.right.begin(), track.right.end(), 0.0f);
    }
    track.hasMono = track.hasStereo = false;
  }
  for (uint32_t index : s.active) s.mixSegment(index, start, frames);
  s.active.erase(std::remove_if(s.active.begin(), s.active.end(),
                                [&](uint32_t i) { return segments[i].start + segments[i].length <= end; }),
                 s.active.end());
  for (TrackState& track : s.tracks) {
    if (track.instrument) s.renderInstrument(track, start, frames);
    if (!track.audible || track.gain == 0) continue;
    const float monoL = track.gain * track.monoLeft, monoR = track.gain * track.monoRight;
    const float stL = track.gain * track.stereoLeft, stR = track.gain * track.stereoRight;
    if (track.hasMono) {
      for (size_t i = 0; i < n; ++i) {
        left[i] += monoL * track.mono[i];
        right[i] += monoR * track.mono[i];
      }
    }
    if (track.hasStereo) {
      for (size_t i = 0; i < n; ++i) {
        left[i] += stL * track.left[i];
        right[i] += stR * track.right[i];
      }
    }
  }
  s.renderClicks(left, right, start, frames);
  s.position = end;
}

}  // namespace vantor
