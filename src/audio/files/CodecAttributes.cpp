#include "audio/files/CodecAttributes.h"

#include <cmath>

#include "audio/files/AudioFormat.h"
#include "foundation/FAttributes.h"

namespace vantor {

VANTOR_DEFINE_CLASS(CodecAttributes, FShared, 0)

CodecAttributes::CodecAttributes(const AudioFormat& format, uint16_t tag)
    : formatTag(tag),
      channels(format.channels),
      sampleRate(static_cast<uint32_t>(std::lround(format.sampleRate))),
      averageBytesPerSecond(static_cast<uint32_t>(format.averageBytesPerSecond())),
      blockAlign(static_cast<uint16_t>(format.blockAlign())),
      bitsPerSample(static_cast<uint16_t>(format.bitsPerSample)) {}

bool CodecAttributes::storeAttributes(FAttributes& attributes) const {
  attributes.setInt("Format Tag", formatTag);
  attributes.setInt("Channels", channels);
  attributes.setInt("Sample Rate", sampleRate);
  attributes.setInt("Average Bytes", averageBytesPerSecond);
  attributes.setInt("Block Align", blockAlign);
  attributes.setInt("Bits", bitsPerSample);
  attributes.setInt("Extra Size", extraSize);
  attributes.setBytes("Extra Bytes", extraBytes);
  return true;
}

bool CodecAttributes::restoreAttributes(const FAttributes& attributes) {
  int64_t values[7] = {};
  const char* keys[7] = {"Format Tag", "Channels", "Sample Rate", "Average Bytes", "Block Align", "Bits", "Extra Size"};
  for (int i = 0; i < 7; ++i) {
    if (!attributes.getInt(keys[i], &values[i])) return false;
  }
  formatTag = static_cast<uint16_t>(values[0]);
  channels = static_cast<int16_t>(values[1]);
  sampleRate = static_cast<uint32_t>(values[2]);
  averageBytesPerSecond = static_cast<uint32_t>(values[3]);
  blockAlign = static_cast<uint16_t>(values[4]);
  bitsPerSample = static_cast<uint16_t>(values[5]);
  extraSize = static_cast<uint16_t>(values[6]);
  extraBytes.clear();
  (void)attributes.getBytes("Extra Bytes", &extraBytes);
  return true;
}

}  // namespace vantor
