#include "audio/process/PEcho.h"

#include <algorithm>
#include <vector>

#include "audio/process/PProcessMath.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PEcho, PAProcessWithNormalize, 0)

namespace {

class EchoWork : public PAudioWork {
 public:
  EchoWork(double delayMs, bool feedback, double mix) : delayMs_(delayMs), feedback_(feedback), mix_(mix) {}

  bool prepare(const AudioFormat& format, int64_t lengthFrames) override {
    if (!PAudioWork::prepare(format, lengthFrames)) return false;
    // A ring of the last D frames of the echo's source (input or output).
    // An echo that arrives after the range's end is never heard: a ring one
    // frame longer than the range never wraps and gives the same silence,
    // whatever rate a file's header claims.
    delay_ = std::min(std::max<int64_t>(1, millisecondsToFramesRounded(delayMs_, sampleRate())), lengthFrames + 1);
    ring_.assign(static_cast<size_t>(delay_ * channels()), 0.0f);
    at_ = 0;
    return true;
  }

  void process(const float* in, float* out, int64_t frames) override {
    const int ch = channels();
    const auto wet = static_cast<float>(mix_);
    const auto dry = 1.0f - wet;
    for (int64_t f = 0; f < frames; ++f) {
      float* delayed = ring_.data() + at_ * ch;
      for (int c = 0; c < ch; ++c) {
        const float x = in[f * ch + c];
        const float y = dry * x + wet * delayed[c];
        delayed[c] = feedback_ ? y : x;
        out[f * ch + c] = y;
      }
      at_ = at_ + 1 == delay_ ? 0 : at_ + 1;
    }
  }

 private:
  double delayMs_;
  bool feedback_;
  double mix_;
  int64_t delay_ = 1;
  std::vector<float> ring_;
  int64_t at_ = 0;
};

}  // namespace

std::vector<PParameterSpec> PEcho::processSpecs() const {
  return {{"Echo length", PParameterSpec::Kind::kNumber, 1, 5000, 250, "", "ms"},
          {"Source", PParameterSpec::Kind::kChoice, 0, 1, 0, "Input|Output"},
          {"Effect mix (%)", PParameterSpec::Kind::kNumber, 0, 100, 50, "", "%"}};
}

std::unique_ptr<PAudioWork> PEcho::createProcessWork() const {
  return std::make_unique<EchoWork>(number("Echo length"), number("Source") >= 1, number("Effect mix (%)") / 100.0);
}

}  // namespace vantor
