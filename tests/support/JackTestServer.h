#pragma once
// A private JACK server for tests: jackd with its dummy backend (no sound
// card, no real-time privileges) under a unique name, started as a child
// process and killed at the end; and a capture client that records what
// arrives on two input ports.

#include <fcntl.h>
#include <jack/jack.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace vantor::test {

class JackTestServer {
 public:
  // Starts `jackd --no-realtime -n <unique> -d dummy -r rate -p period` and
  // waits (up to 10 s) until it accepts clients. Servers of all test
  // processes run one at a time (a lock file in the temporary folder): two
  // dummy servers keeping real time on two cores make each other miss
  // periods. Check running() after; when
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
  int lock_ = -1;
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



namespace jackdetail {

inline bool onPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::string folders = path != nullptr ? path : "/usr/bin:/bin";
  size_t begin = 0;
  while (begin <= folders.size()) {
    const size_t end = std::min(folders.find(':', begin), folders.size());
    if (::access((folders.substr(begin, end - begin) + "/" + program).c_str(), X_OK) == 0) return true;
    begin = end + 1;
  }
  return false;
}

inline void quiet(const char*) {}

inline bool accepts(const std::string& name) {
  jack_status_t status{};
  jack_client_t* probe = jack_client_open(
      "vantor_probe", static_cast<jack_options_t>(JackNoStartServer | JackServerName), &status, name.c_str());
  if (probe == nullptr) return false;
  jack_client_close(probe);
  return true;
}

// Copies a port's buffer. The buffer is written by the playing client's
// thread in this same process, in an order the JACK server keeps with its
// own futexes, which ThreadSanitizer cannot see: the reads here are left
// out of its instrumentation (volatile, so that no memcpy is called).
#if defined(__SANITIZE_THREAD__)
__attribute__((no_sanitize("thread")))
#endif
inline void copyPort(const float* in, float* out, size_t frames) {
  const volatile float* source = in;
  for (size_t i = 0; i < frames; ++i) out[i] = source[i];
}

}  // namespace jackdetail

inline JackTestServer::JackTestServer(int rate, int period) {
  jack_set_error_function(jackdetail::quiet);
  jack_set_info_function(jackdetail::quiet);
  if (!jackdetail::onPath("jackd")) {
    skipReason_ = "jackd is not installed (Debian package jackd2)";
    return;
  }
  const std::string lockPath = (std::filesystem::temp_directory_path() / "vantor-jack-tests.lock").string();
  lock_ = ::open(lockPath.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666);
  if (lock_ >= 0) (void)::flock(lock_, LOCK_EX);
  static std::atomic<int> serial{0};  // one per server in this process
  name_ = "vantor_test_" + std::to_string(::getpid()) + "_" + std::to_string(serial++);
  const std::string rateText = std::to_string(rate);
  const std::string periodText = std::to_string(period);
  std::vector<std::string> args = {"jackd", "--no-realtime", "-n", name_, "-d", "dummy",
                                   "-r", rateText, "-p", periodText};
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  // Its banner and log go nowhere; a failure shows as a server that never
  // accepts clients.
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, "jackd", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    skipReason_ = "jackd could not be started";
    return;
  }
  pid_ = pid;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!jackdetail::accepts(name_)) {
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      skipReason_ = "jackd exited at start (no dummy backend, or no shared memory)";
      return;
    }
    if (std::chrono::steady_clock::now() > deadline) {
      skipReason_ = "jackd did not accept clients within 10 s";
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

inline JackTestServer::~JackTestServer() {
  if (pid_ > 0) {
    ::kill(pid_, SIGTERM);
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (::waitpid(pid_, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > deadline) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &status, 0);
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  if (lock_ >= 0) ::close(lock_);  // the next test's server may start
}

inline JackCapture::JackCapture(const std::string& serverName, size_t capacity) {
  data_[0].assign(capacity, 0.0f);
  data_[1].assign(capacity, 0.0f);
  jack_status_t status{};
  client_ = jack_client_open("vantor_capture", static_cast<jack_options_t>(JackNoStartServer | JackServerName),
                             &status, serverName.c_str());
  if (client_ == nullptr) return;
  ports_[0] = jack_port_register(client_, "in_left", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
  ports_[1] = jack_port_register(client_, "in_right", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
  jack_set_process_callback(client_, &JackCapture::onProcess, this);
  active_ = ports_[0] != nullptr && ports_[1] != nullptr && jack_activate(client_) == 0;
  if (!active_) {
    jack_client_close(client_);
    client_ = nullptr;
  }
}

inline JackCapture::~JackCapture() {
  if (client_ == nullptr) return;
  if (active_) jack_deactivate(client_);
  jack_client_close(client_);
}

inline bool JackCapture::connect(const std::string& source, int channel) {
  return jack_connect(client_, source.c_str(), jack_port_name(ports_[channel])) == 0;
}

inline std::vector<float> JackCapture::take(int channel) {
  if (active_) {
    jack_deactivate(client_);
    active_ = false;
  }
  const size_t count = count_.load(std::memory_order_acquire);
  return std::vector<float>(data_[channel].begin(), data_[channel].begin() + static_cast<long>(count));
}

inline int JackCapture::onProcess(jack_nframes_t frames, void* self) {
  auto* capture = static_cast<JackCapture*>(self);
  const size_t at = capture->count_.load(std::memory_order_relaxed);
  const size_t room = std::min<size_t>(frames, capture->data_[0].size() - at);
  for (int channel = 0; channel < 2; ++channel) {
    const auto* in = static_cast<const float*>(jack_port_get_buffer(capture->ports_[channel], frames));
    jackdetail::copyPort(in, capture->data_[channel].data() + at, room);
  }
  capture->count_.store(at + room, std::memory_order_release);
  return 0;
}

}  // namespace vantor::test
