#pragma once
// The injectable monotonic millisecond clock.

#include <cstdint>

namespace vantor {

class FClock {
 public:
  virtual ~FClock() = default;
  // Milliseconds since an arbitrary fixed point; never goes backwards.
  virtual int64_t nowMs() const = 0;
};

class FSystemClock : public FClock {
 public:
  int64_t nowMs() const override;
  static FSystemClock& instance();
};

// A clock that moves only when told: for tests and scripted sessions.
class FManualClock : public FClock {
 public:
  explicit FManualClock(int64_t start = 0) : now_(start) {}
  int64_t nowMs() const override { return now_; }
  void advance(int64_t ms) { now_ += ms; }
  void set(int64_t ms) { now_ = ms; }

 private:
  int64_t now_;
};

}  // namespace vantor
