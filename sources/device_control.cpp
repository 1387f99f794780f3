// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/device_control.h"

#include <utility>

#include "sources/open_device.h"

namespace vantoscope {

DeviceControl::DeviceControl(Clock clock, Meanwhile meanwhile)
    : clock_(std::move(clock)), meanwhile_(std::move(meanwhile)) {}

Device& DeviceControl::Opened() {
  if (!device_) device_ = OpenDevice(std::string(kDefaultDevice), clock_);
  return *device_;
}

const ChannelInfo& DeviceControl::Channel(std::int16_t channel) {
  const std::vector<ChannelInfo>& channels = Opened().Channels();
  if (channel < 0 || static_cast<std::size_t>(channel) >= channels.size()) {
    throw SourceError("The channel index " + std::to_string(channel) +
                      " is not in the list of the device " + Opened().Name() + ", which has " +
                      std::to_string(channels.size()) + " channels, counted from 0.");
  }
  return channels[static_cast<std::size_t>(channel)];
}

std::string DeviceControl::DeviceName() { return Opened().Name(); }

void DeviceControl::SetDeviceName(const std::string& text) {
  device_ = OpenDevice(text, clock_, meanwhile_);
  named_ = true;
}

void DeviceControl::SetStartupToggle(std::int16_t /*value*/) {}

void DeviceControl::Start() { Opened().Start(); }

void DeviceControl::Stop() { Opened().Stop(); }

std::int16_t DeviceControl::ChannelCount() {
  return static_cast<std::int16_t>(Opened().Channels().size());
}

double DeviceControl::SampleRate() { return Opened().SampleRate(); }

double DeviceControl::ScaleHigh(std::int16_t channel) { return Channel(channel).high; }

double DeviceControl::ScaleLow(std::int16_t channel) { return Channel(channel).low; }

double DeviceControl::LatestValue(std::int16_t channel) {
  Channel(channel);  // refuses an index that is not in the list
  return Opened().LatestValue(channel);
}

std::int16_t DeviceControl::ChannelNumber(std::int16_t channel) { return Channel(channel).number; }

std::string DeviceControl::EngUnit(std::int16_t channel) { return Channel(channel).unit; }

std::optional<Block> DeviceControl::GetData(std::int16_t count, std::int32_t mode) {
  if (count < 0) throw SourceError("A block cannot have " + std::to_string(count) + " scans.");
  if (mode != kRawWords && mode != kEngineeringUnits) {
    throw SourceError("There is no block in mode " + std::to_string(mode) + ".");
  }
  return Opened().GetData(count, mode);
}

Freshness DeviceControl::DataFreshness() { return Opened().DataFreshness(); }

std::string DeviceControl::ChannelName(std::int16_t channel) { return Channel(channel).name; }

void DeviceControl::CheckHost() {
  if (why_closed_ || !device_) return;
  why_closed_ = device_->HostGone();
  if (why_closed_ && HostClosed) HostClosed();
}

}  // namespace vantoscope
