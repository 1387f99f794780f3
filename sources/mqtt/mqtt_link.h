// SPDX-License-Identifier: GPL-3.0-or-later
// One connection to an MQTT broker that mends itself: a thread that connects, reads, and after a
// loss tries again with growing pauses. It knows topics and bytes and nothing of what they mean.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "sources/mqtt/mqtt_address.h"

namespace vantoscope {

/// What a link tells. Called on the link's own thread, never at the same time.
struct MqttEvents {
  std::function<void()> connected;
  /// Once after each `connected`, and once after each failed attempt. `why` is the end of a
  /// sentence, `refused` is true when the broker answered and does not want us.
  std::function<void(const std::string& why, bool refused)> lost;
  std::function<void(const std::string& topic, std::span<const std::byte> payload, bool retained)>
      message;
};

struct MqttWill {
  std::string topic;
  std::string payload;  ///< sent by the broker, retained, QoS 1
};

class MqttLink {
 public:
  /// Does nothing yet. Throws SourceError for credentials or certificates that cannot be read.
  MqttLink(const MqttAddress& address, std::chrono::seconds keep_alive,
           const std::optional<MqttWill>& will, MqttEvents events);
  MqttLink(const MqttLink&) = delete;
  MqttLink& operator=(const MqttLink&) = delete;
  /// Disconnects in order (no will is sent) if the broker takes all that was published. No event
  /// comes once it returns.
  ~MqttLink();

  /// Begins to connect, and to call events. Once, and before anything that follows.
  void Connect();
  /// False when there is no connection. Callable from any thread, also from an event.
  bool Publish(const std::string& topic, std::span<const std::byte> payload, int qos, bool retain);
  bool Subscribe(const std::string& topic, int qos);
  bool Unsubscribe(const std::string& topic);
  /// Messages that were published and are not sent, or not confirmed where they have QoS 1.
  [[nodiscard]] std::size_t Outstanding() const;
  /// Waits until all that was published is sent, and what has QoS 1 is confirmed.
  bool Flush(std::chrono::milliseconds at_most);

 private:
  class Client;
  std::shared_ptr<Client> client_;
};

}  // namespace vantoscope
