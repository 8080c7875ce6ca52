#include "audio/files/AudioFile.h"

namespace vantor {

SampleEncoding AudioFile::encoding() const {
  SampleEncoding result;
  result.bytesPerSample = format.bytesPerSample();
  result.isFloat = format.sampleType == SampleType::kFloat;
  result.bigEndian = bigEndian;
  // 8-bit WAVE samples are unsigned (128 is silence); AIFF's are signed.
  result.unsignedBytes = !result.isFloat && result.bytesPerSample == 1 && typeName == "WAVE";
  return result;
}

}  // namespace vantor
