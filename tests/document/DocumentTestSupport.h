#pragma once
// Helpers for the document tests: a temporary folder under /tmp that is
// removed afterwards, whole-file reads and writes, and archive round trips.

#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "document/PSafeFile.h"
#include "foundation/FRef.h"
#include "support/ArchiveBytes.h"

namespace vantor::test {

class TempDir {
 public:
  TempDir() {
    std::string pattern = "/tmp/vantor-document-XXXXXX";
    if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~TempDir() {
    std::error_code ec;
    // Folders a test made read-only must be writable again to be removed.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
      if (it->is_directory(ec)) ::chmod(it->path().c_str(), 0755);
    }
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

 private:
  std::string path_;
};

using Bytes = std::vector<uint8_t>;

inline Bytes readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline void writeText(const std::string& path, std::string_view text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

inline std::string readText(const std::string& path) {
  const Bytes bytes = readFile(path);
  return std::string(bytes.begin(), bytes.end());
}

inline unsigned modeOf(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

// True when a temporary file of target's was left in its folder.
inline bool temporaryLeftFor(const std::string& target) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(PSafeFile::folderOf(target), ec)) {
    if (PSafeFile::isTemporaryOf(entry.path().filename().string(), target)) return true;
  }
  return false;
}

// Makes every temporary file fail with an errno value while it lives.
class TemporaryFailure {
 public:
  explicit TemporaryFailure(int error) { PSafeFile::failTemporariesWith(error); }
  ~TemporaryFailure() { PSafeFile::failTemporariesWith(0); }
  TemporaryFailure(const TemporaryFailure&) = delete;
  TemporaryFailure& operator=(const TemporaryFailure&) = delete;
};

// Replaces every occurrence of from by to (of the same length); returns how
// many were replaced.
inline int replaceAll(Bytes* bytes, std::string_view from, std::string_view to) {
  int count = 0;
  for (size_t i = 0; i + from.size() <= bytes->size(); ++i) {
    if (std::equal(from.begin(), from.end(), bytes->begin() + static_cast<std::ptrdiff_t>(i))) {
      std::copy(to.begin(), to.end(), bytes->begin() + static_cast<std::ptrdiff_t>(i));
      ++count;
    }
  }
  return count;
}

// Writes object as the root of a big-endian archive.
inline Bytes archiveOf(const CmObject& object) { return archiveBytes(&object, 1); }

// Reads the root of an archive; nullptr when it is not a T or failed.
template <class T>
FRef<T> readArchiveAs(const Bytes& bytes, bool* ok = nullptr) {
  return readArchiveBytesAs<T>(bytes, ok, 1);
}

}  // namespace vantor::test
