#include "audio/files/AppleDouble.h"

#include <filesystem>

namespace vantor {

namespace {

uint32_t readU32(const uint8_t* p) {
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

void put(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

constexpr size_t kHeaderSize = 26;  // magic, version, filler, entry count
constexpr size_t kEntrySize = 12;
constexpr size_t kFinderInfoSize = 32;

}  // namespace

std::string AppleDouble::companionPath(const std::string& path) {
  const std::filesystem::path file(path);
  return (file.parent_path() / ("._" + file.filename().string())).string();
}

std::optional<AppleDouble> AppleDouble::parse(const uint8_t* bytes, size_t size) {
  if (size < kHeaderSize || readU32(bytes) != kMagic) return std::nullopt;
  const uint32_t version = readU32(bytes + 4);
  if (version != kVersion && version != 0x00010000) return std::nullopt;
  const size_t entries = size_t{bytes[24]} << 8 | bytes[25];
  if (entries > (size - kHeaderSize) / kEntrySize) return std::nullopt;
  AppleDouble result;
  for (size_t i = 0; i < entries; ++i) {
    const uint8_t* entry = bytes + kHeaderSize + kEntrySize * i;
    const uint32_t id = readU32(entry);
    const size_t offset = readU32(entry + 4);
    const size_t length = readU32(entry + 8);
    if (offset > size || length > size - offset) return std::nullopt;
    if (id == kResourceForkEntry) {
      result.resourceFork.assign(bytes + offset, bytes + offset + length);
    } else if (id == kFinderInfoEntry && length >= 8) {
      result.fileType = readU32(bytes + offset);
      result.creator = readU32(bytes + offset + 4);
    }
  }
  return result;
}

std::vector<uint8_t> AppleDouble::build() const {
  const bool finderInfo = fileType != 0;
  const uint32_t entries = finderInfo ? 2 : 1;
  std::vector<uint8_t> out;
  put(out, kMagic, 4);
  put(out, kVersion, 4);
  out.resize(24, 0);
  put(out, entries, 2);
  auto offset = static_cast<uint32_t>(kHeaderSize + kEntrySize * entries);
  if (finderInfo) {
    put(out, kFinderInfoEntry, 4);
    put(out, offset, 4);
    put(out, kFinderInfoSize, 4);
    offset += kFinderInfoSize;
  }
  put(out, kResourceForkEntry, 4);
  put(out, offset, 4);
  put(out, static_cast<uint32_t>(resourceFork.size()), 4);
  if (finderInfo) {
    put(out, fileType, 4);
    put(out, creator, 4);
    out.resize(out.size() + kFinderInfoSize - 8, 0);
  }
  out.insert(out.end(), resourceFork.begin(), resourceFork.end());
  return out;
}

}  // namespace vantor
