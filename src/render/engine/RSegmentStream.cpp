#include "render/engine/RSegmentStream.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "audio/files/AudioResampler.h"
#include "audio/pool/PClipReader.h"

namespace vantor {

namespace {

// Clip frames read at once.
constexpr int64_t kInputBlock = 4096;
// A converted stream restarts its converter only at anchors this many plan
// frames apart (rounded to the rates' common grid), and feeds it at least
// this much material before the anchor, so that the filter has settled
// when the first frame that counts comes out. A seek to an offset therefore
// always gives the same samples, however the stream got there.
constexpr int64_t kAnchorSpacing = 1 << 16;
constexpr int64_t kPreroll = 4096;

}  // namespace

struct RSegmentStream::State {
  RAudioSegment segment;
  int planRate = 0;
  bool convert = false;
  int64_t planGrid = 1;  // plan frames of one step of the rates' common grid
  int64_t clipGrid = 1;  // clip frames of the same step
  std::unique_ptr<PClipReader> reader;
  AudioResampler resampler;
  std::vector<float> input;
  std::vector<float> pending;  // frames ready, from pendingStart on
  size_t pendingStart = 0;     // in frames
  int64_t skip = 0;            // frames still to drop before the position
  int64_t position = 0;
  bool inputEnded = false;
  bool positioned = false;
  std::string error;

  int channels() const { return std::max(1, segment.channels); }
  int64_t pendingFrames() const {
    return static_cast<int64_t>(pending.size() / static_cast<size_t>(channels())) - static_cast<int64_t>(pendingStart);
  }
  bool fail(const std::string& message) {
    error = message;
    return false;
  }
  [[nodiscard]] bool restart(int64_t clipFrame);
  [[nodiscard]] bool fill();
  void drop(int64_t frames);
};

bool RSegmentStream::State::restart(int64_t clipFrame) {
  if (!reader) reader = std::make_unique<PClipReader>(segment.cluster, segment.material);
  pending.clear();
  pendingStart = 0;
  error.clear();
  inputEnded = !reader->seekFrame(std::min(clipFrame, reader->length()));
  if (convert && !resampler.open(segment.fileRate, planRate, channels(), false)) {
    return fail("the sample rate converter could not be made: " + resampler.error());
  }
  return true;
}

// Reads one block of the clip into `pending`, converted when the rates
// differ; the converter's rest follows at the material's end.
bool RSegmentStream::State::fill() {
  const auto stride = static_cast<size_t>(channels());
  input.resize(static_cast<size_t>(kInputBlock) * stride);
  const int64_t got = inputEnded ? 0 : reader->readFrames(input.data(), kInputBlock);
  if (got < 0) {
    return fail(reader->errorPath().empty() ? reader->error() : reader->error() + " (" + reader->errorPath() + ")");
  }
  if (pendingStart > 0 && pendingStart * stride * 2 > pending.size()) {
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(pendingStart * stride));
    pendingStart = 0;
  }
  const bool last = got < kInputBlock;
  if (!convert) {
    pending.insert(pending.end(), input.begin(), input.begin() + static_cast<std::ptrdiff_t>(got * channels()));
  } else if (!resampler.process(input.data(), got, &pending) || (last && !resampler.flush(&pending))) {
    return fail("the sample rate converter failed: " + resampler.error());
  }
  inputEnded = last;
  return true;
}

void RSegmentStream::State::drop(int64_t frames) { pendingStart += static_cast<size_t>(frames); }

RSegmentStream::RSegmentStream(const RAudioSegment& segment, int planRate) : state_(std::make_unique<State>()) {
  State& s = *state_;
  s.segment = segment;
  s.planRate = planRate;
  s.convert = segment.fileRate > 0 && segment.fileRate != planRate;
  if (s.convert) {
    const int64_t g = std::gcd(static_cast<int64_t>(planRate), static_cast<int64_t>(segment.fileRate));
    s.planGrid = planRate / g;
    s.clipGrid = segment.fileRate / g;
  }
}

RSegmentStream::~RSegmentStream() = default;

bool RSegmentStream::seek(int64_t offset) {
  State& s = *state_;
  s.positioned = false;
  if (offset < 0 || offset > s.segment.length) return s.fail("a position outside the audio event");
  if (!s.segment.cluster || !s.segment.material) return s.fail("the audio event has no clip");
  s.position = offset;
  if (!s.convert) {
    s.skip = 0;
    if (!s.restart(s.segment.clipFrame + offset)) return false;
  } else {
    // Output frame k after a start at clip frame c lies at clip time c + k
    // × fileRate / planRate; starting on the common grid keeps that exact.
    const int64_t spacing = std::max<int64_t>(1, kAnchorSpacing / s.planGrid) * s.planGrid;
    const int64_t anchor = offset / spacing * spacing;
    const int64_t anchorClip = s.segment.clipFrame + anchor / s.planGrid * s.clipGrid;
    const int64_t steps = std::min(anchorClip / s.clipGrid, kPreroll / s.clipGrid + 1);
    s.skip = steps * s.planGrid + (offset - anchor);
    if (!s.restart(anchorClip - steps * s.clipGrid)) return false;
  }
  // The first block is read now, so that a clip that cannot be read fails here.
  if (!s.fill()) return false;
  s.positioned = true;
  return true;
}

int64_t RSegmentStream::read(float* out, int64_t frames) {
  State& s = *state_;
  if (!s.positioned && (!s.error.empty() || !seek(s.position))) return 0;
  const auto stride = static_cast<size_t>(s.channels());
  const int64_t wanted = std::clamp<int64_t>(frames, 0, s.segment.length - s.position);
  int64_t done = 0;
  while (done < wanted) {
    if (s.skip > 0) {
      const int64_t dropped = std::min(s.skip, s.pendingFrames());
      s.drop(dropped);
      s.skip -= dropped;
    }
    const int64_t ready = s.skip > 0 ? 0 : std::min(wanted - done, s.pendingFrames());
    if (ready > 0) {
      std::memcpy(out + static_cast<size_t>(done) * stride, s.pending.data() + s.pendingStart * stride,
                  static_cast<size_t>(ready) * stride * sizeof(float));
      s.drop(ready);
      done += ready;
      continue;
    }
    if (s.inputEnded) break;  // the material ends before the segment
    if (!s.fill()) {
      s.positioned = false;
      break;
    }
  }
  s.position += done;
  return done;
}

int64_t RSegmentStream::position() const { return state_->position; }

const std::string& RSegmentStream::error() const { return state_->error; }

}  // namespace vantor
