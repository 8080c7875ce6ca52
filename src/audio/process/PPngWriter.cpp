#include "audio/process/PPngWriter.h"

#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vantor {

namespace {

// libpng reports errors by longjmp; the message is kept for the caller.
void onPngError(png_structp png, png_const_charp message) {
  auto* error = static_cast<std::string*>(png_get_error_ptr(png));
  *error = message;
  png_longjmp(png, 1);
}
void onPngWarning(png_structp, png_const_charp) {}

// The encoding itself; kept free of C++ objects with destructors, which a
// longjmp would skip.
bool encode(FILE* file, const PRgbImage& image, std::string* error) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, error, onPngError, onPngWarning);
  if (png == nullptr) return false;
  png_infop info = png_create_info_struct(png);
  if (info == nullptr || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < image.height; ++y) {
    png_write_row(png, image.pixels.data() + static_cast<size_t>(y) * image.width * 3);
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

bool PPngWriter::write(const std::string& path, const PRgbImage& image, std::string* error) {
  std::string temporary = path + ".XXXXXX";
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) {
    *error = std::strerror(errno);
    return false;
  }
  // mkstemp makes the file private; a picture is as readable as any new file.
  (void)::fchmod(fd, 0644);
  FILE* file = ::fdopen(fd, "wb");
  if (file == nullptr) {
    *error = std::strerror(errno);
    ::close(fd);
    ::unlink(temporary.c_str());
    return false;
  }
  std::string pngError;
  bool ok = encode(file, image, &pngError);
  if (!ok) *error = pngError.empty() ? "the picture could not be encoded" : pngError;
  if (ok && (std::fflush(file) != 0 || ::fsync(fd) != 0)) {
    *error = std::strerror(errno);
    ok = false;
  }
  if (std::fclose(file) != 0 && ok) {
    *error = std::strerror(errno);
    ok = false;
  }
  if (ok && ::rename(temporary.c_str(), path.c_str()) != 0) {
    *error = std::strerror(errno);
    ok = false;
  }
  if (!ok) ::unlink(temporary.c_str());
  return ok;
}

}  // namespace vantor
