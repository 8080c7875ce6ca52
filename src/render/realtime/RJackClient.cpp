#include "render/realtime/RJackClient.h"

#include <jack/jack.h>

#include <cerrno>
#include <cstring>

#include "render/realtime/RJackTransport.h"

namespace vantor {

struct RJackClient::Handle {
  jack_client_t* client = nullptr;
  jack_port_t* ports[2] = {nullptr, nullptr};
  bool active = false;
  ~Handle() {
    if (client == nullptr) return;
    if (active) jack_deactivate(client);
    jack_client_close(client);
  }
};

namespace {

// libjack reports through its error callback on stderr by default; the
// library never prints, so its texts are silenced and our messages say
// what failed.
void quiet(const char*) {}

}  // namespace

std::unique_ptr<RJackClient> RJackClient::open(const std::string& name, const std::string& serverName,
                                               std::string* error) {
  jack_set_error_function(quiet);
  jack_set_info_function(quiet);
  auto handle = std::make_unique<Handle>();
  jack_status_t status{};
  const int options = JackNoStartServer | (serverName.empty() ? 0 : JackServerName);
  handle->client = serverName.empty()
                       ? jack_client_open(name.c_str(), static_cast<jack_options_t>(options), &status)
                       : jack_client_open(name.c_str(), static_cast<jack_options_t>(options), &status,
                                          serverName.c_str());
  if (handle->client == nullptr) {
    *error = (status & (JackServerFailed | JackServerError)) != 0 ? "No JACK server is running."
                                                                  : "The JACK server refused the client \"" + name + "\".";
    return nullptr;
  }
  const char* names[2] = {"out_left", "out_right"};
  for (int channel = 0; channel < 2; ++channel) {
    handle->ports[channel] =
        jack_port_register(handle->client, names[channel], JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    if (handle->ports[channel] == nullptr) {
      *error = std::string("The JACK server refused the port \"") + names[channel] + "\".";
      return nullptr;
    }
  }
  std::unique_ptr<RJackClient> client(new RJackClient(std::move(handle)));
  jack_set_process_callback(client->handle_->client, &RJackClient::onProcess, client.get());
  jack_set_buffer_size_callback(client->handle_->client, &RJackClient::onBufferSize, client.get());
  jack_set_xrun_callback(client->handle_->client, &RJackClient::onXrun, client.get());
  jack_on_shutdown(client->handle_->client, &RJackClient::onShutdown, client.get());
  client->bufferSize_.store(static_cast<int>(jack_get_buffer_size(client->handle_->client)));
  return client;
}

RJackClient::RJackClient(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}

RJackClient::~RJackClient() = default;

int RJackClient::sampleRate() const { return static_cast<int>(jack_get_sample_rate(handle_->client)); }

int RJackClient::bufferSize() const { return bufferSize_.load(std::memory_order_acquire); }

std::string RJackClient::portName(int channel) const { return jack_port_name(handle_->ports[channel]); }

bool RJackClient::activate(RJackTransport* transport, std::string* error) {
  transport_.store(transport, std::memory_order_release);
  if (jack_activate(handle_->client) != 0) {
    *error = "The JACK server did not start the client.";
    return false;
  }
  handle_->active = true;
  return true;
}

bool RJackClient::connectToPlayback(std::string* error) {
  const char** physical =
      jack_get_ports(handle_->client, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsPhysical | JackPortIsInput);
  bool ok = physical != nullptr && physical[0] != nullptr;
  if (!ok) *error = "The JACK server has no playback ports.";
  for (int channel = 0; ok && channel < 2; ++channel) {
    // A mono device hears both channels on its one port.
    const char* target = physical[physical[1] != nullptr ? channel : 0];
    const int result = jack_connect(handle_->client, jack_port_name(handle_->ports[channel]), target);
    if (result != 0 && result != EEXIST) {
      *error = std::string("Could not connect to the JACK playback port \"") + target + "\".";
      ok = false;
    }
  }
  jack_free(physical);
  return ok;
}

int RJackClient::onProcess(unsigned frames, void* self) {
  auto* client = static_cast<RJackClient*>(self);
  auto* left = static_cast<float*>(jack_port_get_buffer(client->handle_->ports[0], frames));
  auto* right = static_cast<float*>(jack_port_get_buffer(client->handle_->ports[1], frames));
  RJackTransport* transport = client->transport_.load(std::memory_order_acquire);
  if (transport != nullptr) {
    transport->process(left, right, static_cast<int>(frames));
  } else {
    std::memset(left, 0, sizeof(float) * frames);
    std::memset(right, 0, sizeof(float) * frames);
  }
  return 0;
}

// The engine was prepared for the period at activation; a larger period is
// rendered in pieces of at most that size by the transport (the engine is
// split-invariant), so a change needs no reallocation on any thread.
int RJackClient::onBufferSize(unsigned frames, void* self) {
  static_cast<RJackClient*>(self)->bufferSize_.store(static_cast<int>(frames), std::memory_order_release);
  return 0;
}

int RJackClient::onXrun(void* self) {
  static_cast<RJackClient*>(self)->xruns_.fetch_add(1, std::memory_order_acq_rel);
  return 0;
}

void RJackClient::onShutdown(void* self) { static_cast<RJackClient*>(self)->gone_.store(true, std::memory_order_release); }

}  // namespace vantor
