#include "render/offline/RLoudnessMeter.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vantor {

struct RLoudnessMeter::State {
  ebur128_state* handle = nullptr;
  ~State() {
    if (handle != nullptr) ebur128_destroy(&handle);
  }
};

RLoudnessMeter::RLoudnessMeter(int sampleRate) : state_(std::make_unique<State>()) {
  state_->handle = ebur128_init(2, static_cast<unsigned long>(std::max(sampleRate, 1)),
                                EBUR128_MODE_I | EBUR128_MODE_SAMPLE_PEAK);
}

RLoudnessMeter::~RLoudnessMeter() = default;

bool RLoudnessMeter::isValid() const { return state_->handle != nullptr; }

void RLoudnessMeter::add(const float* samples, int64_t frames) {
  if (state_->handle != nullptr && frames > 0) {
    ebur128_add_frames_float(state_->handle, samples, static_cast<size_t>(frames));
  }
}

double RLoudnessMeter::loudnessLufs() const {
  double lufs = -std::numeric_limits<double>::infinity();
  if (state_->handle == nullptr || ebur128_loudness_global(state_->handle, &lufs) != EBUR128_SUCCESS) {
    return -std::numeric_limits<double>::infinity();
  }
  return lufs;
}

double RLoudnessMeter::peakDb() const {
  double peak = 0;
  if (state_->handle == nullptr) return -std::numeric_limits<double>::infinity();
  for (unsigned channel = 0; channel < 2; ++channel) {
    double p = 0;
    if (ebur128_sample_peak(state_->handle, channel, &p) == EBUR128_SUCCESS) peak = std::max(peak, p);
  }
  return peak > 0 ? 20 * std::log10(peak) : -std::numeric_limits<double>::infinity();
}

}  // namespace vantor
