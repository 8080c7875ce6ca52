#pragma once
// A picture in memory: 8-bit RGB pixels, row by row from the top.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantor {

using PRgb = std::array<uint8_t, 3>;

struct PRgbImage {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;  // width × height × 3 bytes

  PRgbImage() = default;
  PRgbImage(int w, int h, PRgb fill) : width(w), height(h), pixels(static_cast<size_t>(w) * h * 3) {
    for (size_t i = 0; i < pixels.size(); i += 3) std::copy(fill.begin(), fill.end(), pixels.begin() + i);
  }
  PRgb at(int x, int y) const {
    const size_t i = index(x, y);
    return {pixels[i], pixels[i + 1], pixels[i + 2]};
  }
  void set(int x, int y, PRgb colour) { std::copy(colour.begin(), colour.end(), pixels.begin() + index(x, y)); }

 private:
  size_t index(int x, int y) const { return (static_cast<size_t>(y) * width + x) * 3; }
};

}  // namespace vantor
