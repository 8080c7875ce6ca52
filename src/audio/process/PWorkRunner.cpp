#include "audio/process/PWorkRunner.h"

#include <algorithm>
#include <cstring>

namespace vantor {

namespace {

constexpr const char* kReadFailed = "Error: Can not read file!";

class BlockCycle {
 public:
  explicit BlockCycle(const std::vector<int64_t>& sizes) : sizes_(sizes) {}
  int64_t next() {
    if (sizes_.empty()) return 8192;
    const int64_t size = std::max<int64_t>(1, sizes_[index_ % sizes_.size()]);
    ++index_;
    return size;
  }
  int64_t largest() const {
    int64_t most = 1;
    for (int64_t size : sizes_) most = std::max(most, size);
    return sizes_.empty() ? 8192 : most;
  }

 private:
  const std::vector<int64_t>& sizes_;
  size_t index_ = 0;
};

void report(const PRunOptions& options, double done, double total) {
  if (options.progress && total > 0) options.progress(std::min(1.0, done / total));
}

bool analysisPass(PAudioWork& work, int64_t lengthFrames, PFrameSource& source, std::vector<float>& buffer,
                  const PRunOptions& options, std::string* error) {
  BlockCycle blocks(options.blockFrames);
  if (!source.rewind()) return (*error = kReadFailed, false);
  for (int64_t done = 0; done < lengthFrames;) {
    const int64_t want = std::min(blocks.next(), lengthFrames - done);
    const int64_t got = source.read(buffer.data(), want);
    if (got != want) return (*error = kReadFailed, false);
    work.analyze(buffer.data(), got);
    done += got;
    report(options, static_cast<double>(done), 2.0 * static_cast<double>(lengthFrames));
  }
  work.endAnalysis();
  return true;
}

// Feeds the range and then latency silent frames; drops the first latency
// output frames.
bool processPass(PAudioWork& work, int64_t lengthFrames, PFrameSource& source, const PFrameSink& sink,
                 std::vector<float>& buffer, const PRunOptions& options, std::string* error) {
  BlockCycle blocks(options.blockFrames);
  const int channels = work.channels();
  const int64_t latency = std::max<int64_t>(0, work.latencyFrames());
  const int64_t total = lengthFrames + latency;
  const double base = work.needsAnalysis() ? static_cast<double>(lengthFrames) : 0.0;
  const double whole = base + static_cast<double>(lengthFrames);
  if (!source.rewind()) return (*error = kReadFailed, false);
  int64_t toDrop = latency;
  for (int64_t fed = 0; fed < total;) {
    const int64_t want = std::min(blocks.next(), total - fed);
    const int64_t fromSource = std::clamp<int64_t>(lengthFrames - fed, 0, want);
    if (fromSource > 0 && source.read(buffer.data(), fromSource) != fromSource) return (*error = kReadFailed, false);
    std::fill(buffer.begin() + fromSource * channels, buffer.begin() + want * channels, 0.0f);
    work.process(buffer.data(), buffer.data(), want);
    fed += want;
    const int64_t drop = std::min(toDrop, want);
    toDrop -= drop;
    if (want > drop && !sink(buffer.data() + drop * channels, want - drop)) {
      if (error->empty()) *error = "Writing file failed";
      return false;
    }
    report(options, base + static_cast<double>(std::min(fed, lengthFrames)), whole);
  }
  return true;
}

}  // namespace

int64_t PBufferSource::read(float* out, int64_t frames) {
  const int64_t count = std::min(frames, frames_ - position_);
  if (count <= 0) return 0;
  std::memcpy(out, samples_ + position_ * channels_, static_cast<size_t>(count * channels_) * sizeof(float));
  position_ += count;
  return count;
}

bool runWork(PAudioWork& work, const AudioFormat& format, int64_t lengthFrames, PFrameSource& source,
             const PFrameSink& sink, std::string* error, const PRunOptions& options) {
  error->clear();
  if (!work.prepare(format, lengthFrames)) {
    *error = work.error().empty() ? std::string("The process cannot run on this audio.") : work.error();
    return false;
  }
  std::vector<float> buffer(static_cast<size_t>(BlockCycle(options.blockFrames).largest() * format.channels));
  if (work.needsAnalysis() && !analysisPass(work, lengthFrames, source, buffer, options, error)) return false;
  return processPass(work, lengthFrames, source, sink, buffer, options, error);
}

std::vector<float> runWorkOnBuffer(PAudioWork& work, const AudioFormat& format, const std::vector<float>& samples,
                                   std::string* error, const PRunOptions& options) {
  const int64_t frames = format.channels > 0 ? static_cast<int64_t>(samples.size()) / format.channels : 0;
  PBufferSource source(samples.data(), frames, format.channels);
  std::vector<float> out;
  out.reserve(samples.size());
  const PFrameSink sink = [&out, &format](const float* block, int64_t count) {
    out.insert(out.end(), block, block + count * format.channels);
    return true;
  };
  if (!runWork(work, format, frames, source, sink, error, options)) return {};
  return out;
}

}  // namespace vantor
