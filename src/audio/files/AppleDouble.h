#pragma once
// The AppleDouble companion file that keeps a file's resource fork (and
// Finder information) on file systems without forks, as "._" + the file's
// name beside it. Big-endian: magic 0x00051607, version 0x00020000, 16
// filler bytes, the number of entries, then per entry its id, offset and
// length (32 bits each); entry 2 is the resource fork, entry 9 the 32 bytes
// of Finder information (type and creator codes first).

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantor {

struct AppleDouble {
  static constexpr uint32_t kMagic = 0x00051607;
  static constexpr uint32_t kVersion = 0x00020000;
  static constexpr uint32_t kResourceForkEntry = 2;
  static constexpr uint32_t kFinderInfoEntry = 9;

  // The companion's path for a file: "._" + its name, in the same folder.
  static std::string companionPath(const std::string& path);
  // The entries of a companion file; nullopt for bytes that are not one
  // (wrong magic or version, an entry beyond the bytes). Versions 1 and 2
  // are read.
  static std::optional<AppleDouble> parse(const uint8_t* bytes, size_t size);
  // The companion as bytes: the Finder information (when type is not 0)
  // and the resource fork.
  std::vector<uint8_t> build() const;

  uint32_t fileType = 0;  // Finder type and creator codes, 0 when absent
  uint32_t creator = 0;
  std::vector<uint8_t> resourceFork;  // empty when absent
};

}  // namespace vantor
