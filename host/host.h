// SPDX-License-Identifier: GPL-3.0-or-later
// The host: takes the scans of one device and publishes them under one root of a broker.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/end_watch.h"
#include "host/link_events.h"
#include "host/outbox.h"
#include "host/publication.h"
#include "host/rising_scans.h"
#include "host/service_manager.h"
#include "sources/device.h"
#include "sources/mqtt/mqtt_address.h"
#include "sources/mqtt/mqtt_link.h"

namespace vantoscope {

class Host {
 public:
  /// `say` takes one line for the user. Throws SourceError like MqttLink, and for a device that
  /// gives more than a network takes.
  Host(Device& device, const MqttAddress& address, std::function<void(const std::string&)> say);

  /// Publishes a block every `interval`, sooner where it would be too large, until the device ends
  /// or fails, a signal asks for the end or another host has the root; gives the exit code.
  int Run(std::chrono::milliseconds interval, EndWatch& end);

 private:
  using Time = std::chrono::steady_clock::time_point;
  [[nodiscard]] std::string Topic(std::string_view leaf) const;
  void OnMessage(const std::string& topic, std::span<const std::byte> payload, bool retained);
  void HandleEvents();
  void OnConnected();
  void OnLost(const std::string& why);
  void SayLost(const std::string& why);
  std::optional<int> Turn(std::chrono::milliseconds interval);
  bool PublishNew();
  void TellManager();
  int End(int code, EndWatch& end);
  HostTimes Times();

  Device& device_;
  const MqttAddress address_;
  const std::function<void(const std::string&)> say_;
  LinkEvents events_;
  bool connected_ = false;
  bool lost_before_ = false;
  std::string last_loss_;
  bool listening_ = false;  // to the scans of another host
  RisingScans scans_;
  Time next_block_;
  ServiceManager manager_;
  std::string status_;
  Outbox outbox_;
  Publication publication_;
  MqttLink link_;  // last: its thread uses what stands above
};

}  // namespace vantoscope
