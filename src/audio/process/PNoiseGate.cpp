#include "audio/process/PNoiseGate.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "audio/process/PProcessMath.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PNoiseGate, PAudioProcess, 0)

namespace {

struct GateSettings {
  float threshold;
  double attackMs;
  double releaseMs;
  bool linked;
};

class NoiseGateWork : public PAudioWork {
 public:
  explicit NoiseGateWork(const GateSettings& settings) : settings_(settings) {}

  bool prepare(const AudioFormat& format, int64_t lengthFrames) override {
    if (!PAudioWork::prepare(format, lengthFrames)) return false;
    const int gates = settings_.linked ? 1 : channels();
    gains_.assign(static_cast<size_t>(gates), 0.0);
    sinceLoud_.assign(static_cast<size_t>(gates), INT64_MAX);
    hold_ = millisecondsToFramesRounded(PNoiseGate::kHoldMilliseconds, sampleRate());
    attackStep_ = stepFor(settings_.attackMs);
    releaseStep_ = stepFor(settings_.releaseMs);
    return true;
  }

  void process(const float* in, float* out, int64_t frames) override {
    const int ch = channels();
    for (int64_t f = 0; f < frames; ++f) {
      const float* frame = in + f * ch;
      if (settings_.linked) {
        float level = 0.0f;
        for (int c = 0; c < ch; ++c) level = std::max(level, std::fabs(frame[c]));
        const auto gain = static_cast<float>(advance(0, level));
        for (int c = 0; c < ch; ++c) out[f * ch + c] = frame[c] * gain;
      } else {
        for (int c = 0; c < ch; ++c) {
          out[f * ch + c] = frame[c] * static_cast<float>(advance(static_cast<size_t>(c), std::fabs(frame[c])));
        }
      }
    }
  }

 private:
  double stepFor(double milliseconds) const {
    const double frames = milliseconds * sampleRate() / 1000.0;
    return frames >= 1.0 ? 1.0 / frames : 1.0;
  }

  // One frame of gate g keyed by level: the gain for this frame.
  double advance(size_t g, float level) {
    if (level > settings_.threshold) {
      sinceLoud_[g] = 0;
    } else if (sinceLoud_[g] != INT64_MAX) {
      ++sinceLoud_[g];
    }
    const bool open = sinceLoud_[g] < std::max<int64_t>(hold_, 1);
    double& gain = gains_[g];
    gain = open ? std::min(1.0, gain + attackStep_) : std::max(0.0, gain - releaseStep_);
    return gain;
  }

  GateSettings settings_;
  std::vector<double> gains_;
  std::vector<int64_t> sinceLoud_;
  int64_t hold_ = 0;
  double attackStep_ = 1;
  double releaseStep_ = 1;
};

}  // namespace

std::vector<PParameterSpec> PNoiseGate::parameterSpecs() const {
  return {{"Threshold", PParameterSpec::Kind::kNumber, -96, 0, -40, "", "dB"},
          {"Attack Time", PParameterSpec::Kind::kNumber, 0, 1000, 1, "", "ms"},
          {"Release Time", PParameterSpec::Kind::kNumber, 0, 5000, 100, "", "ms"},
          {"Linked Channels", PParameterSpec::Kind::kChoice, 0, 1, 1, "Off|On"}};
}

std::unique_ptr<PAudioWork> PNoiseGate::createWork() const {
  const GateSettings settings{static_cast<float>(decibelsToGain(number("Threshold"))), number("Attack Time"),
                              number("Release Time"), number("Linked Channels") >= 1};
  return std::make_unique<NoiseGateWork>(settings);
}

}  // namespace vantor
