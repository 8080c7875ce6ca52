#include "audio/files/SampleCodec.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace vantor {

namespace {

// Each loop body reads a fixed number of bytes at a fixed stride and does
// arithmetic only, so that the compiler can vectorise it.
template <int Bytes, bool BigEndian>
int32_t loadInteger(const uint8_t* p) {
  // Left-justified in 32 bits: the sign comes from the top byte.
  uint32_t v = 0;
  for (int i = 0; i < Bytes; ++i) {
    const int significance = BigEndian ? Bytes - 1 - i : i;
    v |= uint32_t{p[i]} << (8 * (4 - Bytes + significance));
  }
  return static_cast<int32_t>(v);
}

template <int Bytes, bool BigEndian>
void decodeIntegers(const uint8_t* in, float* out, size_t count) {
  constexpr float kScale = 1.0f / 2147483648.0f;
  for (size_t i = 0; i < count; ++i) {
    out[i] = static_cast<float>(loadInteger<Bytes, BigEndian>(in + i * Bytes)) * kScale;
  }
}

// The 24-bit loops, the most common stored width, are built twice on x86-64:
// for AVX2 and for the baseline, and the loader picks one for the processor
// (the AVX2 loop is about three times as fast). Both give the same floats,
// since every step is exact. Clang takes the attribute on plain functions
// only, not on templates. Sanitizer builds take the baseline loop only: the
// loader's choice runs before the sanitizer's runtime is set up, and
// crashes under ThreadSanitizer.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VANTOR_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VANTOR_SANITIZED 1
#endif
#if defined(__x86_64__) && !defined(VANTOR_SANITIZED)
#define VANTOR_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define VANTOR_VECTOR_CLONES
#endif

constexpr float kScale24 = 1.0f / 2147483648.0f;

uint32_t loadWord(const uint8_t* p) {
  uint32_t word;
  std::memcpy(&word, p, 4);
  return word;
}

float scaleInteger(uint32_t leftJustified) {
  return static_cast<float>(static_cast<int32_t>(leftJustified)) * kScale24;
}

// Four 3-byte samples fill three 32-bit words exactly, so the loop reads
// whole words at a stride of 12 bytes, never past its group, and puts each
// sample together left-justified with shifts and masks. Little-endian:
// bytes 0-2, 3-5, 6-8, 9-11 of the group are samples 0 to 3.
VANTOR_VECTOR_CLONES
void decodeInt24Little(const uint8_t* __restrict in, float* __restrict out, size_t count) {
  const size_t groups = count / 4;
  for (size_t g = 0; g < groups; ++g) {
    const uint32_t w0 = loadWord(in + 12 * g);
    const uint32_t w1 = loadWord(in + 12 * g + 4);
    const uint32_t w2 = loadWord(in + 12 * g + 8);
    out[4 * g] = scaleInteger(w0 << 8);
    out[4 * g + 1] = scaleInteger(((w0 >> 24) << 8) | (w1 << 16));
    out[4 * g + 2] = scaleInteger(((w1 >> 8) & 0x00ffff00u) | (w2 << 24));
    out[4 * g + 3] = scaleInteger(w2 & 0xffffff00u);
  }
  for (size_t i = 4 * groups; i < count; ++i) {
    out[i] = static_cast<float>(loadInteger<3, false>(in + 3 * i)) * kScale24;
  }
}

// The same for big-endian samples: each word is byte-swapped first, so
// that the group's byte 0 is the top byte of the first word.
VANTOR_VECTOR_CLONES
void decodeInt24Big(const uint8_t* __restrict in, float* __restrict out, size_t count) {
  const size_t groups = count / 4;
  for (size_t g = 0; g < groups; ++g) {
    const uint32_t w0 = __builtin_bswap32(loadWord(in + 12 * g));
    const uint32_t w1 = __builtin_bswap32(loadWord(in + 12 * g + 4));
    const uint32_t w2 = __builtin_bswap32(loadWord(in + 12 * g + 8));
    out[4 * g] = scaleInteger(w0 & 0xffffff00u);
    out[4 * g + 1] = scaleInteger((w0 << 24) | ((w1 >> 8) & 0x00ffff00u));
    out[4 * g + 2] = scaleInteger((w1 << 16) | ((w2 >> 16) & 0x0000ff00u));
    out[4 * g + 3] = scaleInteger(w2 << 8);
  }
  for (size_t i = 4 * groups; i < count; ++i) {
    out[i] = static_cast<float>(loadInteger<3, true>(in + 3 * i)) * kScale24;
  }
}

void decodeUnsignedBytes(const uint8_t* in, float* out, size_t count) {
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<float>(int{in[i]} - 128) * (1.0f / 128.0f);
}

template <class T, bool BigEndian>
void decodeFloats(const uint8_t* in, float* out, size_t count) {
  using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
  for (size_t i = 0; i < count; ++i) {
    Bits bits;
    std::memcpy(&bits, in + i * sizeof(T), sizeof(T));
    if constexpr (BigEndian) bits = sizeof(T) == 4 ? __builtin_bswap32(bits) : __builtin_bswap64(bits);
    out[i] = static_cast<float>(std::bit_cast<T>(bits));
  }
}

template <int Bytes, bool BigEndian>
void encodeIntegers(const float* in, uint8_t* out, size_t count) {
  constexpr float kScale = static_cast<float>(int64_t{1} << (8 * Bytes - 1));
  constexpr double kHigh = static_cast<double>((int64_t{1} << (8 * Bytes - 1)) - 1);
  for (size_t i = 0; i < count; ++i) {
    // Clipped in double: 2^31 − 1 has no float of its own.
    const double scaled = std::nearbyint(static_cast<double>(in[i]) * kScale);
    // NaN compares false everywhere and becomes 0.
    const double clipped = scaled >= -kScale ? (scaled <= kHigh ? scaled : kHigh) : (scaled < -kScale ? -kScale : 0.0);
    const auto v = static_cast<int32_t>(clipped);
    for (int b = 0; b < Bytes; ++b) {
      const int significance = BigEndian ? Bytes - 1 - b : b;
      out[i * Bytes + b] = static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * significance));
    }
  }
}

void encodeUnsignedBytes(const float* in, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const float scaled = std::nearbyint(in[i] * 128.0f);
    const float clipped =
        scaled >= -128.0f ? (scaled <= 127.0f ? scaled : 127.0f) : (scaled < -128.0f ? -128.0f : 0.0f);
    out[i] = static_cast<uint8_t>(static_cast<int>(clipped) + 128);
  }
}

template <class T, bool BigEndian>
void encodeFloats(const float* in, uint8_t* out, size_t count) {
  using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
  for (size_t i = 0; i < count; ++i) {
    auto bits = std::bit_cast<Bits>(static_cast<T>(in[i]));
    if constexpr (BigEndian) bits = sizeof(T) == 4 ? __builtin_bswap32(bits) : __builtin_bswap64(bits);
    std::memcpy(out + i * sizeof(T), &bits, sizeof(T));
  }
}

template <bool BigEndian>
void decodeOrdered(const uint8_t* in, float* out, size_t count, const SampleEncoding& e) {
  if (e.isFloat) {
    if (e.bytesPerSample == 4) return decodeFloats<float, BigEndian>(in, out, count);
    return decodeFloats<double, BigEndian>(in, out, count);
  }
  switch (e.bytesPerSample) {
    case 1:
      return e.unsignedBytes ? decodeUnsignedBytes(in, out, count) : decodeIntegers<1, BigEndian>(in, out, count);
    case 2:
      return decodeIntegers<2, BigEndian>(in, out, count);
    case 3:
      return BigEndian ? decodeInt24Big(in, out, count) : decodeInt24Little(in, out, count);
    default:
      return decodeIntegers<4, BigEndian>(in, out, count);
  }
}

template <bool BigEndian>
void encodeOrdered(const float* in, uint8_t* out, size_t count, const SampleEncoding& e) {
  if (e.isFloat) {
    if (e.bytesPerSample == 4) return encodeFloats<float, BigEndian>(in, out, count);
    return encodeFloats<double, BigEndian>(in, out, count);
  }
  switch (e.bytesPerSample) {
    case 1:
      return e.unsignedBytes ? encodeUnsignedBytes(in, out, count) : encodeIntegers<1, BigEndian>(in, out, count);
    case 2:
      return encodeIntegers<2, BigEndian>(in, out, count);
    case 3:
      return encodeIntegers<3, BigEndian>(in, out, count);
    default:
      return encodeIntegers<4, BigEndian>(in, out, count);
  }
}

}  // namespace

bool isSupportedEncoding(const SampleEncoding& e) {
  if (e.isFloat) return e.bytesPerSample == 4 || e.bytesPerSample == 8;
  return e.bytesPerSample >= 1 && e.bytesPerSample <= 4;
}

void decodeSamples(const uint8_t* bytes, float* samples, size_t count, const SampleEncoding& encoding) {
  if (encoding.bigEndian) return decodeOrdered<true>(bytes, samples, count, encoding);
  decodeOrdered<false>(bytes, samples, count, encoding);
}

void encodeSamples(const float* samples, uint8_t* bytes, size_t count, const SampleEncoding& encoding) {
  if (encoding.bigEndian) return encodeOrdered<true>(samples, bytes, count, encoding);
  encodeOrdered<false>(samples, bytes, count, encoding);
}

}  // namespace vantor
