// SPDX-License-Identifier: GPL-3.0-or-later
// Where a network host publishes, as the text behind a kind and model (see device_text.h):
//
//   HOST[:PORT]/ROOT[?OPTIONS]    broker over TCP, or over TLS when PORT is 8883; [::1] for IPv6
//   PATH!ROOT[?OPTIONS]           broker at a Unix socket; PATH begins with /
//
// ROOT is the topic that info, state and scan stand under. The options:
//   tls            TLS on any port (then 8883 is the default)
//   cafile=PATH    certificates to trust instead of those of the system; means tls
//   timeout=SEC    without contact for so long the host is gone (30)
//   wait=SEC       time to wait for the host when a meter opens it (5), and for its broker too
// There is no place for a password: see ReadMqttCredentials.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "sources/device_text.h"

namespace vantoscope {

struct MqttAddress {
  std::string broker;  ///< host name, address, or path of a Unix socket
  int port = 0;        ///< 0 for a Unix socket
  std::string root;
  bool tls = false;
  std::string ca_file;  ///< empty: the certificates of the system
  std::chrono::milliseconds timeout{30'000};
  std::chrono::milliseconds wait{5'000};
  bool patient = false;  ///< a wait was asked for: also for a broker that does not answer

  /// HOST:PORT, [ADDRESS]:PORT or the path of the socket.
  [[nodiscard]] std::string Endpoint() const;
  /// For sentences: the endpoint with the word "broker" before it.
  [[nodiscard]] std::string BrokerText() const { return "broker " + Endpoint(); }
};

/// Throws SourceError that says what is wrong with the text. Kind and model are not looked at.
MqttAddress ParseMqttAddress(DeviceText device);
/// The address in a text of its own: as above, with or without mqtt://, or as a device text of kind
/// MQ. Throws SourceError.
MqttAddress ParseMqttTarget(std::string_view text);
/// The parts that give the same address again: with the port, options only where they differ from
/// the default.
DeviceText MqttDeviceText(int model, const MqttAddress& address);

struct MqttCredentials {
  std::string user;
  std::string password;
  std::string warning;  ///< a sentence, when others than its owner can read the file
};

/// User name and password from the first two lines of the file that the environment variable
/// VANTOSCOPE_MQTT_CREDENTIALS names; nothing when it is not set or empty. Throws SourceError when
/// the file cannot be read or its first line is empty.
std::optional<MqttCredentials> ReadMqttCredentials();

}  // namespace vantoscope
