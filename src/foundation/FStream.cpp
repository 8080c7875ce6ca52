#include "foundation/FStream.h"

#include <bit>
#include <cstring>
#include <type_traits>

namespace vantor {

std::string fourCCText(uint32_t code) {
  std::string text(4, ' ');
  for (int i = 0; i < 4; ++i) text[i] = static_cast<char>((code >> (24 - 8 * i)) & 0xFF);
  return text;
}

void FStream::releaseBefore(const uint8_t*) {}

bool FStream::readString(std::string* out) {
  out->clear();
  int32_t length = 0;
  if (!readInt32(&length)) return false;
  if (length < 1) return true;
  if (readLimit_ - cursor_ >= length) {
    // The stored bytes end with a NUL; keep the text before the first one.
    const auto* text = reinterpret_cast<const char*>(cursor_);
    out->assign(text, strnlen(text, static_cast<size_t>(length)));
    cursor_ += length;
    return true;
  }
  const int64_t left = remaining();
  if (left != kUnknown && length > left) return false;
  std::string text(static_cast<size_t>(length), '\0');
  if (readBytes(text.data(), length) != length) return false;
  // The stored bytes end with a NUL; keep the text before the first one.
  text.resize(std::strlen(text.c_str()));
  *out = std::move(text);
  return true;
}

bool FStream::writeString(std::string_view text) {
  const size_t end = text.find('\0');
  if (end != std::string_view::npos) text = text.substr(0, end);
  if (text.size() >= 0x7FFFFFFF) return false;
  const auto length = static_cast<int32_t>(text.size() + 1);
  if (writeLimit_ - cursor_ >= 4 + static_cast<std::ptrdiff_t>(length)) {
    uint32_t bits = static_cast<uint32_t>(length);
    if (swap() != 0) bits = __builtin_bswap32(bits);
    std::memcpy(cursor_, &bits, 4);
    std::memcpy(cursor_ + 4, text.data(), text.size());
    cursor_[4 + text.size()] = 0;
    cursor_ += 4 + length;
    return true;
  }
  if (!writeInt32(length)) return false;
  if (!writeRaw(text.data(), static_cast<int64_t>(text.size()))) return false;
  const char nul = 0;
  return writeRaw(&nul, 1);
}

int64_t FStream::stringSize(std::string_view text) { return static_cast<int64_t>(text.size()) + 5; }

bool FStream::readRaw(void* destination, int64_t count) {
  if (count <= 0) return count == 0;
  if (readLimit_ - cursor_ >= count) {
    std::memcpy(destination, cursor_, static_cast<size_t>(count));
    cursor_ += count;
    return true;
  }
  const int64_t got = readBytes(destination, count);
  if (got != count) {
    std::memset(destination, 0, static_cast<size_t>(count));
    return false;
  }
  return true;
}

bool FStream::skip(int64_t count) {
  if (count >= 0 && readLimit_ - cursor_ >= count) {
    cursor_ += count;
    return true;
  }
  uint8_t piece[64];
  while (count > 0) {
    const int64_t want = count < 64 ? count : 64;
    if (readBytes(piece, want) != want) return false;
    count -= want;
  }
  return true;
}

bool FStream::writeRaw(const void* source, int64_t count) {
  if (count <= 0) return count == 0;
  if (writeLimit_ - cursor_ >= count) {
    std::memcpy(cursor_, source, static_cast<size_t>(count));
    cursor_ += count;
    return true;
  }
  return writeBytes(source, count) == count;
}

}  // namespace vantor
