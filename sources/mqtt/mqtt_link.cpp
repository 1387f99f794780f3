// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/mqtt_link.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <system_error>
#include <thread>

#include "meter/data_source.h"
#include "sources/mqtt/mosquitto_library.h"
#include "sources/mqtt/retry_pause.h"
#include "sources/signals_blocked.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kConnectTime{5'000};  // for the broker's answer to one attempt
constexpr milliseconds kPartingTime{300};    // for the last bytes, and the thread's end after it

std::string Describe(int rc, int error_number) {
  if (rc == MOSQ_ERR_ERRNO) return std::generic_category().message(error_number);
  if (rc == MOSQ_ERR_EAI) return "the name is not known";
  if (rc == MOSQ_ERR_TLS) return "TLS failed (no TLS there, or a certificate that is not trusted)";
  if (rc == MOSQ_ERR_KEEPALIVE) return "the broker no longer answers";
  if (rc == MOSQ_ERR_CONN_LOST) return "the connection was closed";
  return Mosquitto().strerror(rc);
}

/// Once for all links of the process.
void SayOnce(const std::string& sentence) {
  static std::once_flag said;
  std::call_once(said, [&] {
    std::cerr << std::string(program_invocation_short_name) + ": " + Escaped(sentence) + '\n';
  });
}

struct DestroyClient {
  void operator()(mosquitto* client) const { Mosquitto().destroy(client); }
};

}  // namespace

/// What the thread works with; it may outlive the link for as long as a name look-up takes.
class MqttLink::Client {
 public:
  Client(const MqttAddress& address, std::chrono::seconds keep_alive,
         const std::optional<MqttWill>& will, MqttEvents events);

  /// Starts the thread, which holds on to `self`.
  static void Start(const std::shared_ptr<Client>& self);
  /// No event comes from now on. Waits for the thread's end, but not for a name look-up.
  void Stop();
  bool Publish(const std::string& topic, std::span<const std::byte> payload, int qos, bool retain);
  bool Subscribe(const std::string& topic, int qos);
  bool Unsubscribe(const std::string& topic);
  bool Flush(milliseconds at_most);
  std::size_t Outstanding();

 private:
  void SetTls(const std::string& ca_file);
  void SetCallbacks();
  void OnAnswer(int answer);
  void OnMessage(const mosquitto_message& message);
  void OnSent();

  void Run();
  milliseconds OneConnection();
  int LoopUntilLost();
  void Part();
  bool Stopping();
  template <typename Event, typename... Args>
  void Tell(const Event& event, Args&&... args) {
    const std::scoped_lock lock(telling_);
    if (!silent_ && event) event(std::forward<Args>(args)...);
  }

  const MqttAddress address_;
  const int keep_alive_;
  const MqttEvents events_;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool stop_ = false;
  bool running_ = false;
  bool connected_ = false;
  std::size_t unconfirmed_ = 0;

  std::mutex telling_;  // held during an event, so that the link can end between two
  bool silent_ = false;

  std::optional<int> answer_;  // of the broker; only the thread uses these two
  std::optional<steady_clock::time_point> accepted_;
  const std::unique_ptr<mosquitto, DestroyClient> client_;
};

MqttLink::Client::Client(const MqttAddress& address, std::chrono::seconds keep_alive,
                         const std::optional<MqttWill>& will, MqttEvents events)
    : address_(address),
      keep_alive_(static_cast<int>(keep_alive.count())),
      events_(std::move(events)),
      client_(Mosquitto().new_client(nullptr, true, this)) {
  if (!client_) throw SourceError("libmosquitto gave no client.");
  const int root_length = static_cast<int>(address.root.size());
  if (Mosquitto().validate_utf8(address.root.data(), root_length) != MOSQ_ERR_SUCCESS) {
    throw SourceError("The root topic is not UTF-8 or has a control character.");
  }
  Mosquitto().threaded_set(client_.get(), true);
  if (const auto credentials = ReadMqttCredentials()) {
    if (!credentials->warning.empty()) SayOnce(credentials->warning);
    const int rc = Mosquitto().username_pw_set(client_.get(), credentials->user.c_str(),
                                               credentials->password.c_str());
    if (rc == MOSQ_ERR_MALFORMED_UTF8) {
      throw SourceError(
          "The user name in the file that VANTOSCOPE_MQTT_CREDENTIALS names is not UTF-8.");
    }
  }
  if (address.tls) SetTls(address.ca_file);
  if (will) {
    Mosquitto().will_set(client_.get(), will->topic.c_str(), static_cast<int>(will->payload.size()),
                         will->payload.data(), 1, true);
  }
  SetCallbacks();
}

void MqttLink::Client::SetTls(const std::string& ca_file) {
  const int rc =
      ca_file.empty()
          ? Mosquitto().int_option(client_.get(), MOSQ_OPT_TLS_USE_OS_CERTS, 1)
          : Mosquitto().tls_set(client_.get(), ca_file.c_str(), nullptr, nullptr, nullptr, nullptr);
  if (rc == MOSQ_ERR_SUCCESS) return;
  throw SourceError("The certificates " + ca_file + " cannot be read.");
}

void MqttLink::Client::SetCallbacks() {
  Mosquitto().connect_callback_set(client_.get(), [](mosquitto*, void* self, int answer) {
    static_cast<Client*>(self)->OnAnswer(answer);
  });
  Mosquitto().message_callback_set(client_.get(),
                                   [](mosquitto*, void* self, const mosquitto_message* message) {
                                     static_cast<Client*>(self)->OnMessage(*message);
                                   });
  Mosquitto().publish_callback_set(
      client_.get(), [](mosquitto*, void* self, int) { static_cast<Client*>(self)->OnSent(); });
}

void MqttLink::Client::OnAnswer(int answer) {
  answer_ = answer;
  if (answer != 0) return;
  accepted_ = steady_clock::now();
  {
    const std::scoped_lock lock(mutex_);
    connected_ = true;
  }
  Tell(events_.connected);
}

void MqttLink::Client::OnMessage(const mosquitto_message& message) {
  const auto* bytes = static_cast<const std::byte*>(message.payload);
  const int length = bytes == nullptr ? 0 : std::max(message.payloadlen, 0);
  Tell(events_.message, std::string(message.topic),
       std::span(bytes, static_cast<std::size_t>(length)), message.retain);
}

void MqttLink::Client::OnSent() {
  const std::scoped_lock lock(mutex_);
  if (unconfirmed_ > 0) --unconfirmed_;
  changed_.notify_all();
}

void MqttLink::Client::Start(const std::shared_ptr<Client>& self) {
  self->running_ = true;
  const SignalsBlocked blocked;
  std::thread([self] { self->Run(); }).detach();
}

/// Connects again and again until `Stop`.
void MqttLink::Client::Run() {
  RetryPause pause;
  while (!Stopping()) {
    const milliseconds rest = pause.After(OneConnection());
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, rest, [this] { return stop_; });
  }
  const std::scoped_lock lock(mutex_);
  running_ = false;
  changed_.notify_all();
}

/// From the attempt to the end; how long it stood.
milliseconds MqttLink::Client::OneConnection() {
  answer_.reset();
  accepted_.reset();
  const int rc = LoopUntilLost();
  const int error_number = errno;
  Mosquitto().disconnect(client_.get());
  {
    const std::scoped_lock lock(mutex_);
    connected_ = false;
    unconfirmed_ = 0;
    changed_.notify_all();
  }
  const bool refused = answer_.value_or(0) != 0;
  if (!Stopping()) {
    Tell(events_.lost,
         refused ? std::string(Mosquitto().connack_string(*answer_)) : Describe(rc, error_number),
         refused);
  }
  if (!accepted_) return milliseconds(0);
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - *accepted_);
}

/// The library's reason of the end; for MOSQ_ERR_ERRNO it is in `errno`.
int MqttLink::Client::LoopUntilLost() {
  const auto deadline = steady_clock::now() + kConnectTime;
  errno = 0;
  int rc =
      Mosquitto().connect_async(client_.get(), address_.broker.c_str(), address_.port, keep_alive_);
  while (rc == MOSQ_ERR_SUCCESS && answer_.value_or(0) == 0) {
    if (Stopping()) {
      Part();
      break;
    }
    if (!answer_ && steady_clock::now() > deadline) {
      errno = ETIMEDOUT;
      return MOSQ_ERR_ERRNO;
    }
    errno = 0;
    rc = Mosquitto().loop(client_.get(), 100, 100);
  }
  return rc;
}

/// Sends what is still to be sent and the goodbye. A broker that does not take it all says the last
/// will.
void MqttLink::Client::Part() {
  const auto deadline = steady_clock::now() + kPartingTime;
  const auto send_rest = [&] {
    while (Mosquitto().socket(client_.get()) >= 0 && Mosquitto().want_write(client_.get()) &&
           steady_clock::now() < deadline &&
           Mosquitto().loop(client_.get(), 10, 100) == MOSQ_ERR_SUCCESS) {
    }
  };
  send_rest();
  Mosquitto().disconnect(client_.get());
  send_rest();
}

bool MqttLink::Client::Stopping() {
  const std::scoped_lock lock(mutex_);
  return stop_;
}

void MqttLink::Client::Stop() {
  {
    const std::scoped_lock lock(telling_);
    silent_ = true;
  }
  std::unique_lock lock(mutex_);
  stop_ = true;
  changed_.notify_all();
  changed_.wait_for(lock, 2 * kPartingTime, [this] { return !running_; });
}

bool MqttLink::Client::Publish(const std::string& topic, std::span<const std::byte> payload,
                               int qos, bool retain) {
  {
    const std::scoped_lock lock(mutex_);
    if (!connected_) return false;
    ++unconfirmed_;
  }
  // Outside the lock: the library holds locks of its own when it calls back.
  const int rc = Mosquitto().publish(client_.get(), nullptr, topic.c_str(),
                                     static_cast<int>(payload.size()), payload.data(), qos, retain);
  if (rc == MOSQ_ERR_SUCCESS) return true;
  OnSent();
  return false;
}

bool MqttLink::Client::Subscribe(const std::string& topic, int qos) {
  return Mosquitto().subscribe(client_.get(), nullptr, topic.c_str(), qos) == MOSQ_ERR_SUCCESS;
}

bool MqttLink::Client::Unsubscribe(const std::string& topic) {
  return Mosquitto().unsubscribe(client_.get(), nullptr, topic.c_str()) == MOSQ_ERR_SUCCESS;
}

bool MqttLink::Client::Flush(milliseconds at_most) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, at_most, [this] { return unconfirmed_ == 0 || !connected_; });
  return connected_ && unconfirmed_ == 0;
}

std::size_t MqttLink::Client::Outstanding() {
  const std::scoped_lock lock(mutex_);
  return unconfirmed_;
}

MqttLink::MqttLink(const MqttAddress& address, std::chrono::seconds keep_alive,
                   const std::optional<MqttWill>& will, MqttEvents events)
    : client_(std::make_shared<Client>(address, keep_alive, will, std::move(events))) {}

void MqttLink::Connect() { Client::Start(client_); }

MqttLink::~MqttLink() { client_->Stop(); }

bool MqttLink::Publish(const std::string& topic, std::span<const std::byte> payload, int qos,
                       bool retain) {
  return client_->Publish(topic, payload, qos, retain);
}

bool MqttLink::Subscribe(const std::string& topic, int qos) {
  return client_->Subscribe(topic, qos);
}

bool MqttLink::Unsubscribe(const std::string& topic) { return client_->Unsubscribe(topic); }

std::size_t MqttLink::Outstanding() const { return client_->Outstanding(); }

bool MqttLink::Flush(milliseconds at_most) { return client_->Flush(at_most); }

}  // namespace vantoscope
