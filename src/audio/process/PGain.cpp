#include "audio/process/PGain.h"

#include <cmath>

#include "audio/process/PProcessMath.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PGain, PAProcessWithNormalize, 0)

std::vector<PParameterSpec> PGain::processSpecs() const {
  return {{"Gain", PParameterSpec::Kind::kNumber, -96, 48, 0, "", "dB"}};
}

std::unique_ptr<PAudioWork> PGain::createProcessWork() const {
  return std::make_unique<PGainWork>(decibelsToGain(number("Gain")));
}

bool PGain::previewClips(const AudioFormat& format, int64_t lengthFrames, PFrameSource& source, bool* clipped,
                         std::string* error) const {
  *clipped = false;
  PGainWork work(decibelsToGain(number("Gain")));
  const PFrameSink discard = [](const float*, int64_t) { return true; };
  if (!runWork(work, format, lengthFrames, source, discard, error)) return false;
  *clipped = work.clipped();
  return true;
}

bool PGainWork::prepare(const AudioFormat& format, int64_t lengthFrames) {
  clipped_ = false;
  return PAudioWork::prepare(format, lengthFrames);
}

void PGainWork::process(const float* in, float* out, int64_t frames) {
  const int64_t count = frames * channels();
  float peak = 0.0f;
  for (int64_t i = 0; i < count; ++i) {
    out[i] = in[i] * factor_;
    peak = std::fmax(peak, std::fabs(out[i]));
  }
  if (peak > 1.0f) clipped_ = true;
}

}  // namespace vantor
