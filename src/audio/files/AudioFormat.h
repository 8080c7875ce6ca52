#pragma once
// The common description of an audio file's sample format, which every
// handler fills in and every writer takes, and its one-line description.

#include <cstdint>
#include <string>

namespace vantor {

enum class SampleType : int { kInteger = 0, kFloat = 1 };

struct AudioFormat {
  float sampleRate = 44100.0f;  // Hz
  int16_t channels = 2;
  // Bits of one stored sample: 8 to 32 for integers (a whole number of
  // bytes once read), 32 or 64 for float.
  int16_t bitsPerSample = 16;
  SampleType sampleType = SampleType::kInteger;

  // Bytes of one stored sample and of one frame (all channels).
  int bytesPerSample() const { return (bitsPerSample + 7) / 8; }
  int blockAlign() const { return bytesPerSample() * channels; }
  // Whole hertz times the block align, as the WAVE format chunk stores it.
  int32_t averageBytesPerSecond() const;
  // True for a format the handlers can store: 1 to 32767 channels, a rate
  // of at least 1 Hz, 8/16/24/32-bit integers or 32/64-bit float, and
  // frames of at most 65535 bytes (the block align is a 16-bit field).
  bool isWritable() const;

  bool operator==(const AudioFormat&) const = default;
};

// "44.100 kHz   24 bits   PCM   Stereo": rate in kHz, bits, the sample
// type ("PCM" or "Float") and the layout ("Mono", "Stereo", "%d Channels").
std::string formatLine(const AudioFormat& format);
// "44.100 kHz - 24 bits - ", where the layout follows in another field.
std::string shortFormatLine(const AudioFormat& format);
// "REX - 120.00 bpm": a REX file's description by its tempo.
std::string rexFormatLine(double beatsPerMinute);
// "Mono", "Stereo" or "%d Channels".
std::string channelLayoutName(int channels);

}  // namespace vantor
