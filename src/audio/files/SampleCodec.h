#pragma once
// Conversion between stored samples and 32-bit float, in tight loops over
// whole blocks. Integers map to [-1, 1) by dividing by 2^(container bits − 1)
// (a power of two, so every stored value has an exact float of its own up
// to 24 bits); 8-bit unsigned samples are centred on 128 first.

#include <cstddef>
#include <cstdint>

#include "audio/files/AudioFile.h"

namespace vantor {

// Converts count samples from bytes (count × encoding.bytesPerSample bytes)
// to floats. Encodings of 1 to 4 bytes, or float of 4 or 8 bytes.
void decodeSamples(const uint8_t* bytes, float* samples, size_t count, const SampleEncoding& encoding);
// Converts count floats to stored samples; integers are rounded to the
// nearest value and clipped to the container's range.
void encodeSamples(const float* samples, uint8_t* bytes, size_t count, const SampleEncoding& encoding);
// True for an encoding the two functions handle.
bool isSupportedEncoding(const SampleEncoding& encoding);

}  // namespace vantor
