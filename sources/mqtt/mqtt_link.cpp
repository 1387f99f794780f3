#include "sources/mqtt/mqtt_link.h"

#include <csignal>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <random>
#include <system_error>
#include <thread>

#include "meter/data_source.h"
#include "sources/mqtt/mosquitto_library.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kFirstPause{250};
constexpr milliseconds kLongestPause{4'000};
constexpr milliseconds kConnectTime{5'000};  // for the broker's answer to one attempt
constexpr milliseconds kPartingTime{1'000};  // for the last bytes and the thread's end

std::string Describe(int rc, int error_number) {
  if (rc == MOSQ_ERR_ERRNO) return std::generic_category().message(error_number);
  if (rc == MOSQ_ERR_EAI) return "the name is not known";
  if (rc == MOSQ_ERR_TLS) return "TLS failed (no TLS there, or a certificate that is not trusted)";
  if (rc == MOSQ_ERR_KEEPALIVE) return "the broker no longer answers";
  if (rc == MOSQ_ERR_CONN_LOST) return "the connection was closed";
  return Mosquitto().strerror_(rc);
}

void BlockSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

/// Shared with the thread, which may outlive the link for as long as a name look-up takes.
struct MqttLink::State {
  MqttAddress address;
  int keep_alive = 0;
  MqttEvents events;
  mosquitto* client = nullptr;

  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  bool stop = false;
  bool running = false;
  bool connected = false;
  std::size_t unconfirmed = 0;

  std::mutex telling;  // held during an event, so that the link can end between two
  bool silent = false;

  // Only the thread uses these.
  bool answered = false;
  int answer = 0;

  ~State() { Mosquitto().destroy_(client); }

  template <typename Event, typename... Args>
  void Tell(const Event& event, Args&&... args) {
    const std::scoped_lock lock(telling);
    if (!silent && event) event(std::forward<Args>(args)...);
  }

  bool Stopping() {
    const std::scoped_lock lock(mutex);
    return stop;
  }

  void Run() {
    std::minstd_rand random(std::random_device{}());
    milliseconds pause = kFirstPause;
    while (!Stopping()) {
      if (Session()) pause = kFirstPause;
      // Not all clients of a broker that comes back at the same instant.
      std::uniform_int_distribution<milliseconds::rep> spread(pause.count() / 2, pause.count());
      std::unique_lock lock(mutex);
      changed.wait_for(lock, milliseconds(spread(random)), [this] { return stop; });
      pause = std::min(2 * pause, kLongestPause);
    }
    const std::scoped_lock lock(mutex);
    running = false;
    changed.notify_all();
  }

  /// One connection from attempt to end; true when the broker accepted it.
  bool Session() {
    answered = false;
    answer = 0;
    const auto deadline = steady_clock::now() + kConnectTime;
    errno = 0;
    int rc = Mosquitto().connect_async_(client, address.broker.c_str(), address.port, keep_alive);
    while (rc == MOSQ_ERR_SUCCESS && !(answered && answer != 0)) {
      if (Stopping()) {
        Part();
        break;
      }
      if (!answered && steady_clock::now() > deadline) {
        rc = MOSQ_ERR_ERRNO;
        errno = ETIMEDOUT;
        break;
      }
      errno = 0;
      rc = Mosquitto().loop_(client, 100, 100);
    }
    const int error_number = errno;
    const bool accepted = answered && answer == 0;
    const bool refused = answered && answer != 0;
    Mosquitto().disconnect_(client);
    {
      const std::scoped_lock lock(mutex);
      connected = false;
      unconfirmed = 0;
      changed.notify_all();
    }
    if (Stopping()) return accepted;
    Tell(events.lost,
         refused ? std::string(Mosquitto().connack_string_(answer)) : Describe(rc, error_number),
         refused);
    return accepted;
  }

  /// Sends what is still to be sent and the goodbye.
  void Part() {
    const auto deadline = steady_clock::now() + kPartingTime;
    while (Mosquitto().want_write_(client) && steady_clock::now() < deadline &&
           Mosquitto().loop_(client, 10, 100) == MOSQ_ERR_SUCCESS) {
    }
    Mosquitto().disconnect_(client);
    while (Mosquitto().socket_(client) >= 0 && Mosquitto().want_write_(client) &&
           steady_clock::now() < deadline &&
           Mosquitto().loop_(client, 10, 100) == MOSQ_ERR_SUCCESS) {
    }
  }
};

MqttLink::MqttLink(const MqttAddress& address, std::chrono::seconds keep_alive,
                   const std::optional<MqttWill>& will, MqttEvents events) {
  const MosquittoLibrary& library = Mosquitto();
  state_ = std::make_shared<State>();
  state_->address = address;
  state_->keep_alive = static_cast<int>(keep_alive.count());
  state_->events = std::move(events);
  mosquitto* client = library.new_(nullptr, true, state_.get());
  if (client == nullptr) throw SourceError("libmosquitto gave no client.");
  state_->client = client;
  library.threaded_set_(client, true);
  if (const auto credentials = ReadMqttCredentials()) {
    library.username_pw_set_(client, credentials->user.c_str(), credentials->password.c_str());
  }
  if (address.tls) {
    const int rc =
        address.ca_file.empty()
            ? library.int_option_(client, MOSQ_OPT_TLS_USE_OS_CERTS, 1)
            : library.tls_set_(client, address.ca_file.c_str(), nullptr, nullptr, nullptr, nullptr);
    if (rc != MOSQ_ERR_SUCCESS) {
      throw SourceError("The certificates " + address.ca_file + " cannot be read.");
    }
  }
  if (will) {
    library.will_set_(client, will->topic.c_str(), static_cast<int>(will->payload.size()),
                      will->payload.data(), 1, true);
  }
  library.connect_callback_set_(client, [](mosquitto*, void* object, int answer) {
    auto* state = static_cast<State*>(object);
    state->answered = true;
    state->answer = answer;
    if (answer != 0) return;
    {
      const std::scoped_lock lock(state->mutex);
      state->connected = true;
    }
    state->Tell(state->events.connected);
  });
  library.message_callback_set_(
      client, [](mosquitto*, void* object, const mosquitto_message* message) {
        auto* state = static_cast<State*>(object);
        const auto* bytes = static_cast<const std::byte*>(message->payload);
        const auto length =
            bytes == nullptr ? 0 : static_cast<std::size_t>(std::max(message->payloadlen, 0));
        state->Tell(state->events.message, std::string(message->topic), std::span(bytes, length),
                    message->retain);
      });
  library.publish_callback_set_(client, [](mosquitto*, void* object, int) {
    auto* state = static_cast<State*>(object);
    const std::scoped_lock lock(state->mutex);
    if (state->unconfirmed > 0) --state->unconfirmed;
    state->changed.notify_all();
  });
}

void MqttLink::Connect() {
  state_->running = true;
  std::thread([state = state_] {
    BlockSignals();
    state->Run();
  }).detach();
}

MqttLink::~MqttLink() {
  {
    const std::scoped_lock lock(state_->telling);
    state_->silent = true;
  }
  std::unique_lock lock(state_->mutex);
  state_->stop = true;
  state_->changed.notify_all();
  state_->changed.wait_for(lock, 2 * kPartingTime, [this] { return !state_->running; });
}

bool MqttLink::Publish(const std::string& topic, std::span<const std::byte> payload, int qos,
                       bool retain) {
  {
    const std::scoped_lock lock(state_->mutex);
    if (!state_->connected) return false;
    ++state_->unconfirmed;
  }
  // Outside the lock: the library holds locks of its own when it calls back.
  const int rc =
      Mosquitto().publish_(state_->client, nullptr, topic.c_str(), static_cast<int>(payload.size()),
                           payload.data(), qos, retain);
  if (rc == MOSQ_ERR_SUCCESS) return true;
  const std::scoped_lock lock(state_->mutex);
  if (state_->unconfirmed > 0) --state_->unconfirmed;
  return false;
}

bool MqttLink::Subscribe(const std::string& topic, int qos) {
  return Mosquitto().subscribe_(state_->client, nullptr, topic.c_str(), qos) == MOSQ_ERR_SUCCESS;
}

bool MqttLink::Unsubscribe(const std::string& topic) {
  return Mosquitto().unsubscribe_(state_->client, nullptr, topic.c_str()) == MOSQ_ERR_SUCCESS;
}

bool MqttLink::Flush(std::chrono::milliseconds at_most) {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait_for(lock, at_most,
                           [this] { return state_->unconfirmed == 0 || !state_->connected; });
  return state_->connected && state_->unconfirmed == 0;
}

}  // namespace vantoscope
