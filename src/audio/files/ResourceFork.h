#pragma once
// A classic resource fork: typed, numbered, optionally named resources,
// with a map that finds them. Parsed from bytes with every offset and
// length checked against the bytes, and built back into bytes. All fields
// are big-endian.
//
// Layout written: a 16-byte header (data offset 256, map offset, data
// length, map length), 240 zero bytes, the data (each resource a 32-bit
// length and its bytes), then the map: a copy of the header, 8 zero bytes
// (next map, file reference, attributes), the offsets of the type list
// (28) and of the name list, the type list (count − 1, then per type its
// code, count − 1 and the offset of its reference list), the reference
// lists (per resource its id, name offset or −1, attributes and a 24-bit
// data offset, 4 zero bytes) and the names as Pascal strings.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantor {

struct Resource {
  uint32_t type = 0;  // four-character code, e.g. 'STR '
  int16_t id = 0;
  std::string name;  // empty: no name
  std::vector<uint8_t> data;
  bool operator==(const Resource&) const = default;
};

class ResourceFork {
 public:
  // The resources of a fork, or nullopt for bytes that are not one (any
  // offset, count or length beyond the bytes).
  static std::optional<ResourceFork> parse(const uint8_t* bytes, size_t size);
  // The fork as bytes, in the layout above. Names are cut to 255 bytes.
  std::vector<uint8_t> build() const;

  // The first resource of type with this name, or nullptr.
  const Resource* find(uint32_t type, const std::string& name) const;
  // The first resource of type with this id, or nullptr.
  const Resource* find(uint32_t type, int16_t id) const;

  std::vector<Resource> resources;
};

// A 'STR ' resource: one Pascal string (count byte and text).
std::vector<uint8_t> pascalStringResource(const std::string& text);
// The text of a Pascal string resource; nullopt when its count passes its end.
std::optional<std::string> textOfPascalString(const std::vector<uint8_t>& data);

}  // namespace vantor
