#include "audio/process/PDCOffset.h"

#include <cstdio>

namespace vantor {

VANTOR_DEFINE_CLASS(PDCOffsetPrepare, PAudioAnalyze, 0)
VANTOR_DEFINE_CLASS(PDCOffset, PAudioProcess, 0)

bool PDCOffsetWork::prepare(const AudioFormat& format, int64_t lengthFrames) {
  if (!PAudioWork::prepare(format, lengthFrames)) return false;
  sums_.assign(static_cast<size_t>(channels()), 0.0);
  offsets_.assign(static_cast<size_t>(channels()), 0.0);
  frames_ = 0;
  return true;
}

void PDCOffsetWork::analyze(const float* in, int64_t frames) {
  const int ch = channels();
  for (int64_t f = 0; f < frames; ++f) {
    for (int c = 0; c < ch; ++c) sums_[static_cast<size_t>(c)] += in[f * ch + c];
  }
  frames_ += frames;
}

void PDCOffsetWork::endAnalysis() {
  for (size_t c = 0; c < sums_.size(); ++c) offsets_[c] = frames_ > 0 ? sums_[c] / static_cast<double>(frames_) : 0.0;
}

void PDCOffsetWork::process(const float* in, float* out, int64_t frames) {
  if (!removes_) {
    PAnalysisWork::process(in, out, frames);
    return;
  }
  const int ch = channels();
  for (int64_t f = 0; f < frames; ++f) {
    for (int c = 0; c < ch; ++c) {
      out[f * ch + c] = static_cast<float>(in[f * ch + c] - offsets_[static_cast<size_t>(c)]);
    }
  }
}

std::string PDCOffsetPrepare::summary(const PAudioWork& work) const {
  const auto* dc = dynamic_cast<const PDCOffsetWork*>(&work);
  std::string text = "DC Offset: ";
  if (dc == nullptr) return text;
  char value[48];
  for (size_t c = 0; c < dc->offsets().size(); ++c) {
    std::snprintf(value, sizeof value, "%s%.4f %%", c > 0 ? ", " : "", dc->offsets()[c] * 100.0);
    text += value;
  }
  return text;
}

}  // namespace vantor
