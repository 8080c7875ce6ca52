#pragma once
// Reads a PNG file back through libpng, as an independent reader of the
// pictures we write: every pixel as 8-bit RGB.

#include <png.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace vantor::test {

struct PngPicture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb;
  std::array<uint8_t, 3> at(int x, int y) const {
    const size_t i = (static_cast<size_t>(y) * width + x) * 3;
    return {rgb[i], rgb[i + 1], rgb[i + 2]};
  }
};

// nullopt when libpng cannot read the file.
inline std::optional<PngPicture> readPng(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return std::nullopt;
  image.format = PNG_FORMAT_RGB;
  PngPicture picture;
  picture.width = static_cast<int>(image.width);
  picture.height = static_cast<int>(image.height);
  picture.rgb.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr)) {
    png_image_free(&image);
    return std::nullopt;
  }
  return picture;
}

}  // namespace vantor::test
