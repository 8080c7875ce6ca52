#include "audio/process/PSilenceDetectorMessages.h"

#include <cstdio>

namespace vantor {

namespace {

std::string formatCount(const char* format, int count) {
  char text[64];
  std::snprintf(text, sizeof text, format, count);
  return text;
}

}  // namespace

std::string regionsDetectedText(int count) {
  return count == 0 ? std::string(kNoRegionsDetectedCount) : formatCount(kRegionsDetectedFormat, count);
}

std::string numberOfRegionsDetectedText(int count) { return formatCount(kNumberOfRegionsDetectedFormat, count); }

}  // namespace vantor
