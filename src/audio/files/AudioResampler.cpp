#include "audio/files/AudioResampler.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>

namespace vantor {

struct AudioResampler::Soxr {
  soxr_t handle = nullptr;
  ~Soxr() {
    if (handle != nullptr) soxr_delete(handle);
  }
};

AudioResampler::AudioResampler() = default;
AudioResampler::~AudioResampler() = default;

bool AudioResampler::open(double inputRate, double outputRate, int channels, bool veryHigh) {
  soxr_.reset();
  error_.clear();
  channels_ = std::max(1, channels);
  ratio_ = outputRate / inputRate;
  const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  // Linear phase with the library's default pass band (flat to 91% of the
  // lower Nyquist frequency).
  const soxr_quality_spec_t quality = soxr_quality_spec(veryHigh ? SOXR_VHQ : SOXR_HQ, 0);
  soxr_error_t failure = nullptr;
  soxr_t handle =
      soxr_create(inputRate, outputRate, static_cast<unsigned>(channels_), &failure, &io, &quality, nullptr);
  if (handle == nullptr || failure != nullptr) {
    error_ = failure != nullptr ? failure : "the sample rate converter could not be made";
    if (handle != nullptr) soxr_delete(handle);
    return false;
  }
  soxr_ = std::make_unique<Soxr>();
  soxr_->handle = handle;
  return true;
}

bool AudioResampler::run(const float* input, int64_t frames, std::vector<float>* output) {
  if (!soxr_) return false;
  // Room for what this input makes, and more for the flush; the library
  // takes less input when the room runs out, so loop until all is taken.
  const auto room = static_cast<size_t>(std::ceil(static_cast<double>(std::max<int64_t>(frames, 1024)) * ratio_)) + 64;
  int64_t taken = 0;
  for (;;) {
    const size_t start = output->size();
    output->resize(start + room * static_cast<size_t>(channels_));
    size_t used = 0, made = 0;
    const float* in = input != nullptr ? input + taken * channels_ : nullptr;
    const soxr_error_t failure = soxr_process(soxr_->handle, in, static_cast<size_t>(frames - taken), &used,
                                              output->data() + start, room, &made);
    output->resize(start + made * static_cast<size_t>(channels_));
    if (failure != nullptr) {
      error_ = failure;
      return false;
    }
    taken += static_cast<int64_t>(used);
    // Input: done when all is taken and the room was not filled; flush:
    // done when nothing more comes.
    if (input != nullptr ? (taken >= frames && made < room) : made == 0) return true;
  }
}

bool AudioResampler::process(const float* input, int64_t frames, std::vector<float>* output) {
  return frames <= 0 || run(input, frames, output);
}

bool AudioResampler::flush(std::vector<float>* output) { return run(nullptr, 0, output); }

}  // namespace vantor
