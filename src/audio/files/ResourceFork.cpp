#include "audio/files/ResourceFork.h"

#include <algorithm>

namespace vantor {

namespace {

constexpr uint32_t kDataOffset = 256;
constexpr uint32_t kTypeListOffset = 28;  // from the map's start
constexpr size_t kMaxResources = 4096;

// Big-endian fields read at checked positions: a read past the end fails
// and leaves zero.
class Fields {
 public:
  Fields(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}
  bool u8(size_t at, uint32_t* out) const { return get(at, 1, out); }
  bool u16(size_t at, uint32_t* out) const { return get(at, 2, out); }
  bool u24(size_t at, uint32_t* out) const { return get(at, 3, out); }
  bool u32(size_t at, uint32_t* out) const { return get(at, 4, out); }
  bool has(size_t at, size_t count) const { return at <= size_ && count <= size_ - at; }
  const uint8_t* at(size_t offset) const { return bytes_ + offset; }

 private:
  bool get(size_t at, size_t count, uint32_t* out) const {
    *out = 0;
    if (!has(at, count)) return false;
    for (size_t i = 0; i < count; ++i) *out = (*out << 8) | bytes_[at + i];
    return true;
  }
  const uint8_t* bytes_;
  size_t size_;
};

void put(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putAt(std::vector<uint8_t>& out, size_t at, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out[at + i] = static_cast<uint8_t>(value >> (8 * (bytes - 1 - i)));
}

// The resource that a reference points at; false for one beyond the bytes.
bool readReference(const Fields& f, size_t ref, size_t dataStart, size_t nameList, Resource* resource) {
  uint32_t id = 0, nameOffset = 0, dataOffset = 0, length = 0;
  if (!f.u16(ref, &id) || !f.u16(ref + 2, &nameOffset) || !f.u24(ref + 5, &dataOffset)) return false;
  resource->id = static_cast<int16_t>(id);
  // A name that runs past the end is left out rather than the resource:
  // some writers get the names' counts wrong, and the ids still find them.
  uint32_t count = 0;
  if (nameOffset != 0xFFFF && f.u8(nameList + nameOffset, &count) && f.has(nameList + nameOffset + 1, count)) {
    const auto* text = reinterpret_cast<const char*>(f.at(nameList + nameOffset + 1));
    resource->name.assign(text, count);
  }
  const size_t at = dataStart + dataOffset;
  if (!f.u32(at, &length) || !f.has(at + 4, length)) return false;
  resource->data.assign(f.at(at + 4), f.at(at + 4) + length);
  return true;
}

}  // namespace

std::optional<ResourceFork> ResourceFork::parse(const uint8_t* bytes, size_t size) {
  const Fields f(bytes, size);
  uint32_t dataStart = 0, mapStart = 0, dataLength = 0, mapLength = 0;
  if (!f.u32(0, &dataStart) || !f.u32(4, &mapStart) || !f.u32(8, &dataLength) || !f.u32(12, &mapLength)) {
    return std::nullopt;
  }
  if (!f.has(dataStart, dataLength) || !f.has(mapStart, mapLength)) return std::nullopt;
  // Offsets inside the map are read within the whole fork; the map's own
  // length is not trusted further than the bytes.
  uint32_t typeList = 0, nameList = 0, types = 0;
  if (!f.u16(mapStart + 24, &typeList) || !f.u16(mapStart + 26, &nameList)) return std::nullopt;
  const size_t typeStart = size_t{mapStart} + typeList;
  if (!f.u16(typeStart, &types)) return std::nullopt;
  // The count fields hold count − 1; 0xFFFF types means none.
  const uint32_t typeCount = types == 0xFFFF ? 0 : types + 1;
  ResourceFork fork;
  // References may share data or lists in damaged forks: copying more data
  // than the fork holds, or more resources than any real fork has, stops.
  size_t copied = 0;
  for (uint32_t t = 0; t < typeCount; ++t) {
    uint32_t code = 0, count = 0, refList = 0;
    const size_t entry = typeStart + 2 + 8 * size_t{t};
    if (!f.u32(entry, &code) || !f.u16(entry + 4, &count) || !f.u16(entry + 6, &refList)) return std::nullopt;
    for (uint32_t r = 0; r <= count; ++r) {
      Resource resource;
      resource.type = code;
      if (!readReference(f, typeStart + refList + 12 * size_t{r}, dataStart, size_t{mapStart} + nameList, &resource)) {
        return std::nullopt;
      }
      copied += resource.data.size();
      if (copied > size || fork.resources.size() >= kMaxResources) return std::nullopt;
      fork.resources.push_back(std::move(resource));
    }
  }
  return fork;
}

std::vector<uint8_t> ResourceFork::build() const {
  // Types in the order they first appear, each with its resources.
  std::vector<uint32_t> types;
  for (const Resource& r : resources) {
    if (std::find(types.begin(), types.end(), r.type) == types.end()) types.push_back(r.type);
  }
  std::vector<uint8_t> out(kDataOffset, 0);
  std::vector<uint32_t> dataOffsets;
  for (const Resource& r : resources) {
    dataOffsets.push_back(static_cast<uint32_t>(out.size() - kDataOffset));
    put(out, static_cast<uint32_t>(r.data.size()), 4);
    out.insert(out.end(), r.data.begin(), r.data.end());
  }
  const auto mapStart = static_cast<uint32_t>(out.size());
  const size_t typeStart = mapStart + kTypeListOffset;
  const size_t refStart = typeStart + 2 + 8 * types.size();
  const size_t nameStart = refStart + 12 * resources.size();
  out.resize(nameStart, 0);
  putAt(out, mapStart + 24, kTypeListOffset, 2);
  putAt(out, mapStart + 26, static_cast<uint32_t>(nameStart - mapStart), 2);
  putAt(out, typeStart, static_cast<uint32_t>(types.size() - 1), 2);  // 0xFFFF when there are none
  std::vector<uint8_t> names;
  size_t ref = refStart;
  for (size_t t = 0; t < types.size(); ++t) {
    const size_t entry = typeStart + 2 + 8 * t;
    putAt(out, entry, types[t], 4);
    putAt(out, entry + 6, static_cast<uint32_t>(ref - typeStart), 2);
    uint32_t count = 0;
    for (size_t i = 0; i < resources.size(); ++i) {
      const Resource& r = resources[i];
      if (r.type != types[t]) continue;
      putAt(out, ref, static_cast<uint16_t>(r.id), 2);
      putAt(out, ref + 2, r.name.empty() ? 0xFFFF : static_cast<uint32_t>(names.size()), 2);
      putAt(out, ref + 5, dataOffsets[i], 3);
      if (!r.name.empty()) {
        const size_t length = std::min<size_t>(r.name.size(), 255);
        names.push_back(static_cast<uint8_t>(length));
        names.insert(names.end(), r.name.begin(), r.name.begin() + static_cast<std::ptrdiff_t>(length));
      }
      ref += 12;
      ++count;
    }
    putAt(out, entry + 4, count - 1, 2);
  }
  out.insert(out.end(), names.begin(), names.end());
  const uint32_t header[4] = {kDataOffset, mapStart, mapStart - kDataOffset,
                              static_cast<uint32_t>(out.size()) - mapStart};
  for (int i = 0; i < 4; ++i) {
    putAt(out, 4 * static_cast<size_t>(i), header[i], 4);
    putAt(out, mapStart + 4 * static_cast<size_t>(i), header[i], 4);
  }
  return out;
}

const Resource* ResourceFork::find(uint32_t type, const std::string& name) const {
  for (const Resource& r : resources) {
    if (r.type == type && r.name == name) return &r;
  }
  return nullptr;
}

const Resource* ResourceFork::find(uint32_t type, int16_t id) const {
  for (const Resource& r : resources) {
    if (r.type == type && r.id == id) return &r;
  }
  return nullptr;
}

std::vector<uint8_t> pascalStringResource(const std::string& text) {
  const size_t length = std::min<size_t>(text.size(), 255);
  std::vector<uint8_t> data{static_cast<uint8_t>(length)};
  data.insert(data.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
  return data;
}

std::optional<std::string> textOfPascalString(const std::vector<uint8_t>& data) {
  if (data.empty() || data[0] > data.size() - 1) return std::nullopt;
  return std::string(data.begin() + 1, data.begin() + 1 + data[0]);
}

}  // namespace vantor
