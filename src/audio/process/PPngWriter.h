#pragma once
// Writes pictures as PNG files (8-bit RGB, through libpng).

#include <string>

#include "audio/process/PRgbImage.h"

namespace vantor {

class PPngWriter {
 public:
  // Writes image to path safely: into a temporary file beside it, flushed
  // and synced, then renamed over it. False with *error set (the system's
  // reason, or libpng's) when any step fails; path is then as it was.
  [[nodiscard]] static bool write(const std::string& path, const PRgbImage& image, std::string* error);
};

}  // namespace vantor
