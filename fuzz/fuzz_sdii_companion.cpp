// Feeds arbitrary bytes to the SDII companion parser: as an AppleDouble
// file, as a bare resource fork, and as the whole companion. A fork that
// parses must build back into bytes that parse to the same resources; a
// companion that parses must describe a format that can be written.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

#include "audio/files/AppleDouble.h"
#include "audio/files/ResourceFork.h"
#include "audio/files/SDIIFileHandler.h"

namespace {

using namespace vantor;

std::vector<Resource> sorted(std::vector<Resource> resources) {
  std::sort(resources.begin(), resources.end(), [](const Resource& a, const Resource& b) {
    return std::tie(a.type, a.id, a.name, a.data) < std::tie(b.type, b.id, b.name, b.data);
  });
  return resources;
}

void checkFork(const uint8_t* data, size_t size) {
  const std::optional<ResourceFork> fork = ResourceFork::parse(data, size);
  if (!fork) return;
  // Names are cut to 255 bytes when built; parsed ones never exceed that.
  const std::vector<uint8_t> bytes = fork->build();
  const std::optional<ResourceFork> again = ResourceFork::parse(bytes.data(), bytes.size());
  if (!again || sorted(again->resources) != sorted(fork->resources)) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  checkFork(data, size);
  if (const std::optional<AppleDouble> apple = AppleDouble::parse(data, size)) {
    checkFork(apple->resourceFork.data(), apple->resourceFork.size());
    const std::vector<uint8_t> bytes = apple->build();
    const std::optional<AppleDouble> again = AppleDouble::parse(bytes.data(), bytes.size());
    if (!again || again->resourceFork != apple->resourceFork) __builtin_trap();
  }
  if (const std::optional<AudioFormat> format = SDIIFileHandler::parseCompanion(data, size)) {
    if (!format->isWritable() || format->sampleType != SampleType::kInteger) __builtin_trap();
  }
  return 0;
}
