#include "audio/process/PAudioWork.h"

namespace vantor {

bool PAudioWork::prepare(const AudioFormat& format, int64_t lengthFrames) {
  channels_ = format.channels;
  sampleRate_ = format.sampleRate;
  lengthFrames_ = lengthFrames;
  error_.clear();
  return channels_ > 0 && sampleRate_ > 0 && lengthFrames_ >= 0;
}

void PAudioWork::analyze(const float*, int64_t) {}

}  // namespace vantor
