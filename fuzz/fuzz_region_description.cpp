// Feeds arbitrary text to the region description parser. What it accepts
// is written again; that text must read back to the same regions and write
// to the same text once more (round-trip check).

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "audio/pool/PRegionDescription.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vantor;
  std::string error;
  const auto regions = parseRegionDescriptions(std::string_view(reinterpret_cast<const char*>(data), size), &error);
  if (!regions) {
    if (error.empty()) __builtin_trap();
    return 0;
  }
  const std::string text = writeRegionDescriptions(*regions);
  const auto again = parseRegionDescriptions(text, &error);
  if (!again || *again != *regions) __builtin_trap();
  if (writeRegionDescriptions(*again) != text) __builtin_trap();
  return 0;
}
