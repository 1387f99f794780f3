// SPDX-License-Identifier: GPL-3.0-or-later
// The device kind MQ: a meter on a host that publishes through an MQTT broker (telvixd, or any
// program that keeps to mqtt_wire.h). Many meters on many machines read one host.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sources/device.h"
#include "sources/mqtt/mqtt_address.h"
#include "sources/mqtt/mqtt_feed.h"

namespace vantoscope {

class MqttDevice : public Device {
 public:
  /// Connects and waits, for `address.wait` at most, until the host's channel list is there and the
  /// host says that it is open; for a broker that does not answer only if it is to be `patient`.
  /// Throws SourceError: no broker, not let in, no host, host closed, given up. `model` is 32
  /// or 64.
  MqttDevice(int model, const MqttAddress& address, const Meanwhile& meanwhile = {});
  ~MqttDevice() override;

  [[nodiscard]] std::string Name() const override { return name_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override { return channels_; }
  [[nodiscard]] double SampleRate() const override { return rate_; }
  void Start() override;
  void Stop() override;
  double LatestValue(std::int16_t channel) override;
  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override;
  Scans ScansSince(std::int64_t next, std::size_t limit) override;
  Freshness DataFreshness() override;
  std::optional<std::string> HostGone() override;

  /// What came in so far.
  MqttCounts Counts();

 private:
  struct Reader;
  void TakeList();

  std::string name_;
  std::vector<ChannelInfo> channels_;
  std::uint64_t list_changes_ = 0;  // that `channels_` knows of
  double rate_ = 0;
  std::unique_ptr<Reader> reader_;
};

/// Opens the device of kind MQ that the text selects; throws SourceError.
std::unique_ptr<Device> OpenMqttDevice(const DeviceText& device, const Meanwhile& meanwhile);

}  // namespace vantoscope
