#include "render/offline/ROfflineRender.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "audio/files/AudioFileWriter.h"
#include "audio/files/AudioResampler.h"
#include "audio/files/TriangularDither.h"
#include "render/RPlaybackEngine.h"
#include "render/engine/RPlanBuilder.h"
#include "render/offline/RDirectSegmentSource.h"
#include "render/offline/RLoudnessMeter.h"

namespace vantor {

namespace {

constexpr int kBlockFrames = 4096;
constexpr int kMinRate = 8000;
constexpr int kMaxRate = 768000;

// The container the file's extension names, or "".
std::string typeNameFor(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension == ".wav") return "WAVE";
  if (extension == ".aif" || extension == ".aiff") return "AIFF";
  return "";
}

// What both passes of a render share.
struct Job {
  std::shared_ptr<const RPlaybackPlan> plan;
  const RInstrumentFactory& factory;
  const RRenderSettings& settings;
  int64_t from = 0;
  int64_t to = 0;
  int outputRate = 0;
  const std::function<bool(double)>& progress;
};

// Where a pass's stereo output goes: the meter, and the file when there is one.
class Sink {
 public:
  Sink(AudioFileWriter* writer, int bits, RLoudnessMeter* meter, int64_t limit)
      : writer_(writer), meter_(meter), limit_(limit) {
    if (bits < 32) dither_.emplace(bits);
  }
  [[nodiscard]] bool take(std::vector<float>& samples, std::string* error) {
    const int64_t frames = std::min(static_cast<int64_t>(samples.size() / 2), limit_ - frames_);
    if (frames <= 0) return true;
    meter_->add(samples.data(), frames);
    frames_ += frames;
    if (writer_ == nullptr) return true;
    if (dither_) dither_->apply(samples.data(), static_cast<size_t>(frames * 2));
    if (!writer_->writeFrames(samples.data(), frames)) {
      *error = writer_->error();
      return false;
    }
    return true;
  }
  int64_t frames() const { return frames_; }

 private:
  AudioFileWriter* writer_;
  RLoudnessMeter* meter_;
  std::optional<TriangularDither> dither_;
  int64_t limit_;
  int64_t frames_ = 0;
};

// Plays the range once through the engine with `gain` (dB) into `sink`,
// converted to the output rate. Progress runs from `progressFrom` over `span`.
bool runPass(const Job& job, double gainDb, Sink& sink, double progressFrom, double span, std::string* error) {
  RDirectSegmentSource source(*job.plan);
  RPlaybackEngine engine;
  if (!engine.prepare(job.plan, &source, job.factory, kBlockFrames, error)) return false;
  engine.setClick(job.settings.click);
  engine.locate(job.from);
  AudioResampler resampler;
  const bool convert = job.outputRate != job.plan->sampleRate;
  if (convert && !resampler.open(job.plan->sampleRate, job.outputRate, 2, true)) {
    *error = "The output sample rate cannot be made: " + resampler.error();
    return false;
  }
  const auto gain = static_cast<float>(std::pow(10.0, gainDb / 20));
  std::vector<float> left(kBlockFrames), right(kBlockFrames), interleaved, converted;
  for (int64_t at = job.from; at < job.to;) {
    const int n = static_cast<int>(std::min<int64_t>(kBlockFrames, job.to - at));
    engine.process(left.data(), right.data(), n);
    if (!source.error().empty()) {
      *error = "An audio clip cannot be read: " + source.error();
      return false;
    }
    interleaved.resize(static_cast<size_t>(n) * 2);
    for (int i = 0; i < n; ++i) {
      interleaved[static_cast<size_t>(2 * i)] = left[static_cast<size_t>(i)] * gain;
      interleaved[static_cast<size_t>(2 * i + 1)] = right[static_cast<size_t>(i)] * gain;
    }
    converted.clear();
    if (convert ? !resampler.process(interleaved.data(), n, &converted) : false) {
      *error = "The sample rate conversion failed: " + resampler.error();
      return false;
    }
    if (!sink.take(convert ? converted : interleaved, error)) return false;
    at += n;
    const double done = static_cast<double>(at - job.from) / static_cast<double>(job.to - job.from);
    if (job.progress && !job.progress(progressFrom + span * done)) {
      *error = "The render was cancelled";
      return false;
    }
  }
  converted.clear();
  if (convert && (!resampler.flush(&converted) || !sink.take(converted, error))) {
    if (error->empty()) *error = "The sample rate conversion failed: " + resampler.error();
    return false;
  }
  return true;
}

// Checks the settings; the message says what is wrong.
bool checkSettings(const RRenderSettings& settings, const std::filesystem::path& path, std::string* error) {
  if (typeNameFor(path).empty()) {
    *error = "Cannot render to '" + path.string() + "': the file type is not known (use .wav, .aif or .aiff)";
    return false;
  }
  if (settings.bits != 16 && settings.bits != 24 && settings.bits != 32) {
    *error = "The sample width must be 16, 24 or 32 bits";
    return false;
  }
  if (settings.outputRate != 0 && (settings.outputRate < kMinRate || settings.outputRate > kMaxRate)) {
    *error = "The output sample rate must lie between 8000 and 768000 Hz";
    return false;
  }
  if (settings.normalizeLufs && !std::isfinite(*settings.normalizeLufs)) {
    *error = "The loudness to normalize to must be a number of LUFS";
    return false;
  }
  return true;
}

AudioFile fileFor(const std::filesystem::path& path, int rate, int bits) {
  AudioFile file;
  file.typeName = typeNameFor(path);
  file.format.sampleRate = static_cast<float>(rate);
  file.format.channels = 2;
  file.format.bitsPerSample = static_cast<int16_t>(bits);
  file.format.sampleType = bits == 32 ? SampleType::kFloat : SampleType::kInteger;
  return file;
}

}  // namespace

bool renderProject(PDocument& document, const std::filesystem::path& path, const RRenderSettings& settings,
                   const RInstrumentFactory& factory, RRenderResult* result, std::string* error,
                   const std::function<bool(double)>& progress) {
  error->clear();
  if (!checkSettings(settings, path, error)) return false;
  RPlanOptions options;
  if (!settings.soundFont.empty()) options.instrument = {RInstrumentChoice::Kind::kSoundFont, settings.soundFont};
  auto plan = std::make_shared<RPlaybackPlan>();
  if (!buildPlaybackPlan(document, options, plan.get(), error)) return false;
  const int64_t to = settings.to < 0 ? plan->end : settings.to;
  if (settings.from < 0 || to <= settings.from) {
    *error = "Nothing to render: the range from frame " + std::to_string(settings.from) + " to frame " +
             std::to_string(to) + " is empty";
    return false;
  }
  const Job job{plan, factory, settings, settings.from, to, settings.outputRate != 0 ? settings.outputRate : plan->sampleRate,
                progress};
  const auto expected = static_cast<int64_t>(std::llround(static_cast<double>(to - settings.from) * job.outputRate /
                                                         plan->sampleRate));
  double gainDb = 0;
  const double firstSpan = settings.normalizeLufs ? 0.5 : 0.0;
  if (settings.normalizeLufs) {
    RLoudnessMeter meter(job.outputRate);
    Sink measure(nullptr, 32, &meter, expected);
    if (!runPass(job, 0, measure, 0, firstSpan, error)) return false;
    const double measured = meter.loudnessLufs();
    if (std::isfinite(measured)) gainDb = *settings.normalizeLufs - measured;
  }
  AudioFileWriter writer;
  if (!writer.open(path.string(), fileFor(path, job.outputRate, settings.bits))) {
    *error = "Cannot write '" + path.string() + "': " + writer.error();
    return false;
  }
  RLoudnessMeter meter(job.outputRate);
  Sink sink(&writer, settings.bits, &meter, expected);
  if (!runPass(job, gainDb, sink, firstSpan, 1 - firstSpan, error)) return false;
  if (!writer.close()) {
    *error = "Cannot write '" + path.string() + "': " + writer.error();
    return false;
  }
  if (result != nullptr) {
    *result = {sink.frames(), job.outputRate, meter.loudnessLufs(), meter.peakDb(), gainDb};
  }
  return true;
}

}  // namespace vantor
