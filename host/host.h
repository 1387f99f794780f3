// The host: takes the scans of one device and publishes them under one root of a broker.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "host/link_events.h"
#include "host/publication.h"
#include "host/rising_scans.h"
#include "sources/device.h"
#include "sources/mqtt/mqtt_address.h"
#include "sources/mqtt/mqtt_link.h"

namespace vantoscope {

class Host {
 public:
  /// `say` takes one line for the user. Throws SourceError like MqttLink.
  Host(Device& device, const MqttAddress& address, std::function<void(const std::string&)> say);

  /// Publishes a block every `interval` until the device ends, one of the signals `ends` comes
  /// (which every thread has to block) or another host has the root; gives the exit code.
  int Run(std::chrono::milliseconds interval, const sigset_t& ends);

 private:
  [[nodiscard]] std::string Topic(std::string_view leaf) const;
  void OnMessage(const std::string& topic, std::span<const std::byte> payload, bool retained);
  void HandleEvents();
  void OnConnected();
  void OnLost(const std::string& why);
  void SayLost(const std::string& why);
  void PublishNew();
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
  Publication publication_;
  MqttLink link_;  // last: its thread uses what stands above
};

}  // namespace vantoscope
