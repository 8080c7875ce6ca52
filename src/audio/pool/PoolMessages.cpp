#include "audio/pool/PoolMessages.h"

namespace vantor {

std::string formatCount(std::string_view format, int64_t count) {
  std::string out(format);
  const size_t at = out.find("%ld");
  if (at != std::string::npos) out.replace(at, 3, std::to_string(count));
  return out;
}

}  // namespace vantor
