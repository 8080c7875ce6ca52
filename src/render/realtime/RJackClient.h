#pragma once
// A client of a running JACK server with two output ports, "out_left" and
// "out_right", whose process callback runs a transport each period. The
// client never starts a server itself: without one, open() fails with
// "No JACK server is running."
//
// Threads: open, activate, connect and close on the user thread; the
// server calls the transport on its own real-time thread.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace vantor {

class RJackTransport;

class RJackClient {
 public:
  // Opens client `name` on server `serverName` ("" for the default one, or
  // the one $JACK_DEFAULT_SERVER names) and registers the ports. Null with
  // a message in the system's words on failure.
  static std::unique_ptr<RJackClient> open(const std::string& name, const std::string& serverName,
                                           std::string* error);
  // Deactivates and closes the client.
  ~RJackClient();
  RJackClient(const RJackClient&) = delete;
  RJackClient& operator=(const RJackClient&) = delete;

  // The server's sample rate, in frames per second, and its period, in frames.
  int sampleRate() const;
  int bufferSize() const;
  // The full names of the output ports ("vantor:out_left").
  std::string portName(int channel) const;

  // Starts running `transport` every period (it must outlive the client).
  // False with a message when the server refuses.
  [[nodiscard]] bool activate(RJackTransport* transport, std::string* error);
  // Connects the outputs to the first two physical playback ports. False
  // with a message when there are none or the server refuses.
  [[nodiscard]] bool connectToPlayback(std::string* error);
  // Whether the server shut down or dropped the client since it opened.
  bool serverGone() const noexcept { return gone_.load(std::memory_order_acquire); }
  // How many xruns the server reported since the client opened: periods
  // that some client of the graph did not finish in time, so what reached
  // the outputs may have lost or repeated a period.
  uint64_t xruns() const noexcept { return xruns_.load(std::memory_order_acquire); }

 private:
  struct Handle;
  explicit RJackClient(std::unique_ptr<Handle> handle);

  static int onProcess(unsigned frames, void* self);
  static void onShutdown(void* self);
  static int onBufferSize(unsigned frames, void* self);
  static int onXrun(void* self);

  std::unique_ptr<Handle> handle_;
  std::atomic<RJackTransport*> transport_{nullptr};
  std::atomic<bool> gone_{false};
  std::atomic<int> bufferSize_{0};
  std::atomic<uint64_t> xruns_{0};
};

}  // namespace vantor
