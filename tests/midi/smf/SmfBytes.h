#pragma once
// Builds Standard MIDI File bytes by hand inside tests.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace vantor::test {

using Bytes = std::vector<uint8_t>;

inline void append(Bytes& out, const Bytes& more) { out.insert(out.end(), more.begin(), more.end()); }

inline Bytes be32(uint32_t v) { return {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)}; }

// A chunk: four-letter type, big-endian length of body, body.
inline Bytes chunk(const std::string& type, const Bytes& body) {
  Bytes out(type.begin(), type.end());
  append(out, be32(static_cast<uint32_t>(body.size())));
  append(out, body);
  return out;
}

inline Bytes header(uint16_t format, uint16_t tracks, uint16_t division) {
  return chunk("MThd", {uint8_t(format >> 8), uint8_t(format), uint8_t(tracks >> 8), uint8_t(tracks),
                        uint8_t(division >> 8), uint8_t(division)});
}

inline Bytes file(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) append(out, part);
  return out;
}

}  // namespace vantor::test
