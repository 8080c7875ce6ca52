#include "audio/process/PConvolutionWork.h"

#include <fftw3.h>

#include <algorithm>
#include <complex>

namespace vantor {

namespace {

constexpr int64_t kMinimumBlock = 4096;

int64_t blockFor(size_t impulseFrames) {
  int64_t block = kMinimumBlock;
  while (block < static_cast<int64_t>(impulseFrames)) block *= 2;
  return block;
}

}  // namespace

// The transforms at 2B points and the impulse's spectra.
struct PConvolutionWork::Fft {
  explicit Fft(int64_t points) : size(points), bins(points / 2 + 1) {
    time = fftwf_alloc_real(static_cast<size_t>(size));
    spectrum = fftwf_alloc_complex(static_cast<size_t>(bins));
    forward = fftwf_plan_dft_r2c_1d(static_cast<int>(size), time, spectrum, FFTW_ESTIMATE);
    backward = fftwf_plan_dft_c2r_1d(static_cast<int>(size), spectrum, time, FFTW_ESTIMATE);
  }
  ~Fft() {
    fftwf_destroy_plan(forward);
    fftwf_destroy_plan(backward);
    fftwf_free(time);
    fftwf_free(spectrum);
  }
  Fft(const Fft&) = delete;
  Fft& operator=(const Fft&) = delete;

  // The spectrum of samples, zero-padded to size.
  std::vector<std::complex<float>> transform(const float* samples, size_t count) {
    std::fill(time, time + size, 0.0f);
    std::copy(samples, samples + count, time);
    fftwf_execute(forward);
    const auto* bins0 = reinterpret_cast<const std::complex<float>*>(spectrum);
    return std::vector<std::complex<float>>(bins0, bins0 + bins);
  }

  int64_t size;
  int64_t bins;
  float* time;
  fftwf_complex* spectrum;
  fftwf_plan forward;
  fftwf_plan backward;
  std::vector<std::vector<std::complex<float>>> impulseSpectra;
};

PConvolutionWork::PConvolutionWork(PImpulseSettings settings) : settings_(std::move(settings)) {}

PConvolutionWork::~PConvolutionWork() = default;

bool PConvolutionWork::prepare(const AudioFormat& format, int64_t lengthFrames) {
  if (!PAudioWork::prepare(format, lengthFrames)) return false;
  if (loadedRate_ != sampleRate() || loadedFrames_ != lengthFrames) {
    std::string error;
    if (!loadImpulse(settings_, sampleRate(), lengthFrames, &impulse_, &error)) return fail(error);
    loadedRate_ = sampleRate();
    loadedFrames_ = lengthFrames;
    size_t longest = 0;
    for (const std::vector<float>& channel : impulse_) longest = std::max(longest, channel.size());
    block_ = blockFor(longest);
    fft_ = std::make_unique<Fft>(2 * block_);
    const float scale = 1.0f / static_cast<float>(2 * block_);  // FFTW's round trip multiplies by the size
    for (std::vector<float>& channel : impulse_) {
      for (float& sample : channel) sample *= scale;
      fft_->impulseSpectra.push_back(fft_->transform(channel.data(), channel.size()));
    }
  }
  const auto frames = static_cast<size_t>(block_);
  gathered_.assign(static_cast<size_t>(channels()), std::vector<float>(frames, 0.0f));
  ready_.assign(static_cast<size_t>(channels()), std::vector<float>(frames, 0.0f));
  overlap_.assign(static_cast<size_t>(channels()), std::vector<float>(frames, 0.0f));
  fill_ = 0;
  return true;
}

void PConvolutionWork::convolveBlock() {
  Fft& fft = *fft_;
  for (size_t c = 0; c < gathered_.size(); ++c) {
    const std::vector<std::complex<float>>& h = fft.impulseSpectra[c % fft.impulseSpectra.size()];
    std::fill(fft.time, fft.time + fft.size, 0.0f);
    std::copy(gathered_[c].begin(), gathered_[c].end(), fft.time);
    fftwf_execute(fft.forward);
    auto* x = reinterpret_cast<std::complex<float>*>(fft.spectrum);
    for (int64_t k = 0; k < fft.bins; ++k) x[k] *= h[static_cast<size_t>(k)];
    fftwf_execute(fft.backward);
    for (int64_t i = 0; i < block_; ++i) {
      ready_[c][static_cast<size_t>(i)] = fft.time[i] + overlap_[c][static_cast<size_t>(i)];
      overlap_[c][static_cast<size_t>(i)] = fft.time[block_ + i];
    }
  }
}

void PConvolutionWork::process(const float* in, float* out, int64_t frames) {
  const int ch = channels();
  for (int64_t f = 0; f < frames; ++f) {
    for (int c = 0; c < ch; ++c) {
      const auto cc = static_cast<size_t>(c);
      const auto at = static_cast<size_t>(fill_);
      gathered_[cc][at] = in[f * ch + c];
      out[f * ch + c] = ready_[cc][at];
    }
    if (++fill_ == block_) {
      convolveBlock();
      fill_ = 0;
    }
  }
}

}  // namespace vantor
