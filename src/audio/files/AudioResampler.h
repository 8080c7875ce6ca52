#pragma once
// A streaming sample-rate converter for interleaved 32-bit float frames,
// built on libsoxr. Frames go in block by block; what comes out lags by the
// filter's delay and the rest arrives on flush().

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantor {

class AudioResampler {
 public:
  AudioResampler();
  ~AudioResampler();
  AudioResampler(const AudioResampler&) = delete;
  AudioResampler& operator=(const AudioResampler&) = delete;

  // Prepares a conversion from inputRate to outputRate (Hz) of channels
  // channels. veryHigh chooses the filter good for 28 bits over the one
  // good for 20 bits (which is plenty for a 16-bit result and faster).
  // False, with the library's reason in error(), for rates it refuses.
  [[nodiscard]] bool open(double inputRate, double outputRate, int channels, bool veryHigh);
  // Converts frames frames of input and appends the frames ready so far to
  // output. False when the library failed.
  [[nodiscard]] bool process(const float* input, int64_t frames, std::vector<float>* output);
  // Ends the input: appends the frames still held in the filter.
  [[nodiscard]] bool flush(std::vector<float>* output);

  double ratio() const { return ratio_; }
  const std::string& error() const { return error_; }

 private:
  bool run(const float* input, int64_t frames, std::vector<float>* output);

  struct Soxr;
  std::unique_ptr<Soxr> soxr_;
  int channels_ = 1;
  double ratio_ = 1.0;
  std::string error_;
};

}  // namespace vantor
