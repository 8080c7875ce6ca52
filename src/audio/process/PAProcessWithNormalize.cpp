#include "audio/process/PAProcessWithNormalize.h"

#include <algorithm>
#include <cmath>

#include "audio/process/PProcessMath.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(PAProcessWithNormalize, PAudioProcess, 0)

std::vector<PParameterSpec> PAProcessWithNormalize::parameterSpecs() const {
  std::vector<PParameterSpec> specs = processSpecs();
  specs.push_back({"Normalize", PParameterSpec::Kind::kChoice, 0, 1, 0, "Off|On"});
  specs.push_back({"Normalize Level", PParameterSpec::Kind::kNumber, -60, 0, 0, "", "dB"});
  return specs;
}

std::unique_ptr<PAudioWork> PAProcessWithNormalize::createWork() const {
  std::unique_ptr<PAudioWork> work = createProcessWork();
  if (!normalizes()) return work;
  return std::make_unique<PNormalizeWork>(std::move(work), decibelsToGain(number("Normalize Level")));
}

PNormalizeWork::PNormalizeWork(std::unique_ptr<PAudioWork> inner, double targetPeak)
    : inner_(std::move(inner)), targetPeak_(targetPeak) {}

bool PNormalizeWork::prepare(const AudioFormat& format, int64_t lengthFrames) {
  if (!PAudioWork::prepare(format, lengthFrames)) return false;
  format_ = format;
  outputFrames_ = 0;
  peak_ = 0;
  factor_ = 1;
  if (!inner_->prepare(format, lengthFrames)) return fail(inner_->error());
  return true;
}

void PNormalizeWork::measure(const float* samples, int64_t frames) {
  // Output frame j of the inner work belongs to input frame j - latency;
  // only the range's own frames count.
  const int64_t latency = inner_->latencyFrames();
  const int64_t from = std::clamp<int64_t>(latency - outputFrames_, 0, frames);
  const int64_t to = std::clamp<int64_t>(latency + lengthFrames() - outputFrames_, 0, frames);
  const int ch = channels();
  float peak = static_cast<float>(peak_);
  for (int64_t i = from * ch; i < to * ch; ++i) peak = std::max(peak, std::fabs(samples[i]));
  peak_ = peak;
  outputFrames_ += frames;
}

void PNormalizeWork::analyze(const float* in, int64_t frames) {
  scratch_.resize(static_cast<size_t>(frames * channels()));
  inner_->process(in, scratch_.data(), frames);
  measure(scratch_.data(), frames);
}

void PNormalizeWork::endAnalysis() {
  // Flush what the inner work still holds back.
  for (int64_t left = inner_->latencyFrames(); left > 0;) {
    const int64_t count = std::min<int64_t>(left, 8192);
    scratch_.assign(static_cast<size_t>(count * channels()), 0.0f);
    inner_->process(scratch_.data(), scratch_.data(), count);
    measure(scratch_.data(), count);
    left -= count;
  }
  factor_ = peak_ > 0 ? targetPeak_ / peak_ : 1.0;
  // The processing pass starts the inner work afresh.
  (void)inner_->prepare(format_, lengthFrames());
}

void PNormalizeWork::process(const float* in, float* out, int64_t frames) {
  inner_->process(in, out, frames);
  const auto factor = static_cast<float>(factor_);
  for (int64_t i = 0; i < frames * channels(); ++i) out[i] *= factor;
}

}  // namespace vantor
