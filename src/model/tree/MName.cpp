#include "model/tree/MName.h"

#include <cstdint>

namespace vantor {

// Follows the table of well-formed byte sequences of Unicode.
size_t utf8SequenceLength(std::string_view text, size_t i) {
  if (i >= text.size()) return 0;
  const auto byte = [&](size_t k) { return static_cast<uint8_t>(text[k]); };
  const uint8_t lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length = 0;
  uint8_t low = 0x80;
  uint8_t high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // no overlong forms
    if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k) {
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
  }
  return length;
}

bool isUtf8(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    const size_t length = utf8SequenceLength(text, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

bool isValidName(std::string_view name, std::string* error) {
  const char* problem = nullptr;
  if (name.size() > kMaxNameBytes) {
    problem = "a name may be at most 1024 bytes long";
  } else if (name.find('\0') != std::string_view::npos) {
    problem = "a name may not hold a NUL character";
  } else if (!isUtf8(name)) {
    problem = "a name must be UTF-8 text";
  }
  if (problem != nullptr && error != nullptr) *error = problem;
  return problem == nullptr;
}

}  // namespace vantor
