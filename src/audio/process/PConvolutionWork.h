#pragma once
// Block convolution by overlap-add. The input is gathered in blocks of B
// frames (B a power of two, at least the impulse's length); each block is
// transformed at 2B points, multiplied by the impulse's spectrum and
// transformed back, and the part beyond B is added to the next block. The
// output therefore lags the input by B frames (latencyFrames()).

#include <memory>
#include <vector>

#include "audio/process/PAudioWork.h"
#include "audio/process/PConvolution.h"

namespace vantor {

class PConvolutionWork : public PAudioWork {
 public:
  explicit PConvolutionWork(PImpulseSettings settings);
  ~PConvolutionWork() override;
  PConvolutionWork(const PConvolutionWork&) = delete;
  PConvolutionWork& operator=(const PConvolutionWork&) = delete;

  // Reads and shapes the impulse (once per sample rate) and plans the
  // transforms. False with the impulse's error.
  bool prepare(const AudioFormat& format, int64_t lengthFrames) override;
  void process(const float* in, float* out, int64_t frames) override;
  int64_t latencyFrames() const override { return block_; }

 private:
  struct Fft;
  void convolveBlock();

  PImpulseSettings settings_;
  double loadedRate_ = 0;
  int64_t loadedFrames_ = -1;  // the range length the impulse was cut for
  std::vector<std::vector<float>> impulse_;
  std::unique_ptr<Fft> fft_;
  int64_t block_ = 0;
  // Per channel: the input gathered, the output ready, the overlap.
  std::vector<std::vector<float>> gathered_;
  std::vector<std::vector<float>> ready_;
  std::vector<std::vector<float>> overlap_;
  int64_t fill_ = 0;
};

}  // namespace vantor
