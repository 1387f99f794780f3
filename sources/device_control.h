// SPDX-License-Identifier: GPL-3.0-or-later
// The control Telvix1 as meters use it: it holds the device that its text selects, looks at the
// arguments of every call and hands it on.
#pragma once

#include <memory>
#include <string>

#include "meter/data_source.h"
#include "sources/clock.h"
#include "sources/device.h"

namespace vantoscope {

/// Opens the default device, the simulator, at the first call that needs one if no DeviceName was
/// written. SetStartupToggle has no effect that shows.
class DeviceControl final : public Telvix1 {
 public:
  explicit DeviceControl(Clock clock = SystemTime, Meanwhile meanwhile = {});

  std::string DeviceName() override;
  void SetDeviceName(const std::string& text) override;
  void SetStartupToggle(std::int16_t value) override;
  void Start() override;
  void Stop() override;
  std::int16_t ChannelCount() override;
  double SampleRate() override;
  double ScaleHigh(std::int16_t channel) override;
  double ScaleLow(std::int16_t channel) override;
  double LatestValue(std::int16_t channel) override;
  std::int16_t ChannelNumber(std::int16_t channel) override;
  std::string EngUnit(std::int16_t channel) override;
  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override;
  void CheckHost() override;

  /// See Device::DataFreshness.
  Freshness DataFreshness();
  /// What the device calls the channel; may be empty.
  std::string ChannelName(std::int16_t channel);
  /// Why the host went away, in one sentence; empty before HostClosed.
  [[nodiscard]] std::string WhyClosed() const { return why_closed_.value_or(""); }
  /// False while the default device stands in for one that nobody has named.
  [[nodiscard]] bool IsNamed() const { return named_; }

 private:
  Device& Opened();
  const ChannelInfo& Channel(std::int16_t channel);

  Clock clock_;
  Meanwhile meanwhile_;
  std::unique_ptr<Device> device_;
  bool named_ = false;
  std::optional<std::string> why_closed_;
};

}  // namespace vantoscope
