#pragma once
// The texts of silence detection, in the system's words.

#include <string>

namespace vantor {

// The detection found no region.
inline constexpr const char* kNoRegionDetectedMessage = "No region detected!";
// The count line of the detection's view; with no region it reads
// kNoRegionsDetectedCount (two blanks).
inline constexpr const char* kRegionsDetectedFormat = "%d Regions Detected";
inline constexpr const char* kNoRegionsDetectedCount = "0  Regions Detected";
// The count as the process reports it when it ends.
inline constexpr const char* kNumberOfRegionsDetectedFormat = "Number of Region Detected: %d";

// kRegionsDetectedFormat with count filled in, or kNoRegionsDetectedCount.
std::string regionsDetectedText(int count);
// kNumberOfRegionsDetectedFormat with count filled in.
std::string numberOfRegionsDetectedText(int count);

}  // namespace vantor
