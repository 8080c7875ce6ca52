#pragma once
// Triangular (TPDF) dither of ±1 step of an integer result, for samples
// that travel as 32-bit float: the file conversion and the render use it
// before a 16-bit or 24-bit result is rounded.

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace vantor {

// Triangular dither of ±1 step: the difference of two uniform values in
// [0, 1) steps, from a small linear congruential generator (Numerical
// Recipes' constants) with a fixed seed.
class TriangularDither {
 public:
  explicit TriangularDither(int bits) : step_(std::ldexp(1.0f, 1 - bits)) {}
  // Dithers a block unless every sample in it already is a value of the
  // result (silence, or narrower material stored wider), which then keeps
  // its exact samples.
  void apply(float* samples, size_t count) {
    if (fitsAlready(samples, count)) return;
    constexpr float kUnit = 1.0f / 16777216.0f;  // 2^-24: the top 24 bits of a draw
    for (size_t i = 0; i < count; ++i) {
      const auto a = static_cast<float>(next() >> 8);
      const auto b = static_cast<float>(next() >> 8);
      samples[i] += (a - b) * kUnit * step_;
    }
  }

 private:
  bool fitsAlready(const float* samples, size_t count) const {
    const float scale = 1.0f / step_;
    bool fits = true;
    for (size_t i = 0; i < count; ++i) {
      const float scaled = samples[i] * scale;
      fits &= scaled == std::nearbyint(scaled);
    }
    return fits;
  }
  uint32_t next() { return state_ = state_ * 1664525u + 1013904223u; }
  float step_;
  uint32_t state_ = 0x5EED1234u;
};

}  // namespace vantor
