#include "audio/files/AudioFormat.h"

#include <cmath>
#include <cstdio>

namespace vantor {

namespace {

std::string printed(const char* format, double kiloHertz, int bits, const char* a = "", const char* b = "") {
  char text[160];
  std::snprintf(text, sizeof text, format, kiloHertz, bits, a, b);
  return text;
}

}  // namespace

int32_t AudioFormat::averageBytesPerSecond() const {
  return static_cast<int32_t>(static_cast<int64_t>(std::lround(sampleRate)) * blockAlign());
}

bool AudioFormat::isWritable() const {
  if (channels < 1 || !(sampleRate >= 1.0f) || sampleRate > 4.0e9f || blockAlign() > 0xFFFF) return false;
  if (sampleType == SampleType::kFloat) return bitsPerSample == 32 || bitsPerSample == 64;
  return bitsPerSample == 8 || bitsPerSample == 16 || bitsPerSample == 24 || bitsPerSample == 32;
}

std::string channelLayoutName(int channels) {
  if (channels == 1) return "Mono";
  if (channels == 2) return "Stereo";
  char text[32];
  std::snprintf(text, sizeof text, "%d Channels", channels);
  return text;
}

std::string formatLine(const AudioFormat& format) {
  const char* type = format.sampleType == SampleType::kFloat ? "Float" : "PCM";
  return printed("%.3f kHz   %d bits   %s   %s", format.sampleRate / 1000.0, format.bitsPerSample, type,
                 channelLayoutName(format.channels).c_str());
}

std::string shortFormatLine(const AudioFormat& format) {
  return printed("%.3f kHz - %d bits - ", format.sampleRate / 1000.0, format.bitsPerSample);
}

std::string rexFormatLine(double beatsPerMinute) {
  char text[64];
  std::snprintf(text, sizeof text, "REX - %3.2lf bpm", beatsPerMinute);
  return text;
}

}  // namespace vantor
