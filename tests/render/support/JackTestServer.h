#pragma once
// A private JACK server for tests: jackd with its dummy backend (no sound
// card, no real-time privileges) under a unique name, started as a child
// process and killed at the end; and a capture client that records what
// arrives on two input ports.

#include <jack/jack.h>

#include <atomic>
#include <string>
#include <vector>

namespace vantor::test {

class JackTestServer {
 public:
  // Starts `jackd --no-realtime -n <unique> -d dummy -r rate -p period` and
  // waits (up to 10 s) until it accepts clients. Check running() after; when
  // it is false, skipReason() says why (jackd not installed, or it failed).
  JackTestServer(int rate = 48000, int period = 256);
  ~JackTestServer();
  JackTestServer(const JackTestServer&) = delete;
  JackTestServer& operator=(const JackTestServer&) = delete;

  bool running() const { return pid_ > 0 && skipReason_.empty(); }
  const std::string& skipReason() const { return skipReason_; }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  std::string skipReason_;
  int pid_ = -1;
};

// Records up to `capacity` frames of its two inputs from activation on.
class JackCapture {
 public:
  JackCapture(const std::string& serverName, size_t capacity);
  ~JackCapture();
  JackCapture(const JackCapture&) = delete;
  JackCapture& operator=(const JackCapture&) = delete;

  bool ok() const { return client_ != nullptr; }
  // Connects output port `source` (a full name) to input `channel` (0, 1).
  bool connect(const std::string& source, int channel);
  // How many frames have arrived so far.
  size_t frames() const { return count_.load(std::memory_order_acquire); }
  // Stops recording and returns channel `channel` of what arrived.
  std::vector<float> take(int channel);

 private:
  static int onProcess(jack_nframes_t frames, void* self);

  jack_client_t* client_ = nullptr;
  jack_port_t* ports_[2] = {nullptr, nullptr};
  std::vector<float> data_[2];
  std::atomic<size_t> count_{0};
  bool active_ = false;
};

}  // namespace vantor::test
