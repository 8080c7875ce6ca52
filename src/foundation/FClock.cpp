#include "foundation/FClock.h"

#include <chrono>

namespace vantor {

int64_t FSystemClock::nowMs() const {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

FSystemClock& FSystemClock::instance() {
  static FSystemClock clock;
  return clock;
}

}  // namespace vantor
