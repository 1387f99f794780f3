// SPDX-License-Identifier: GPL-3.0-or-later
// What a device is and has, for a terminal and for scripts.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sources/device.h"

namespace vantoscope {

struct ListedChannel {
  ChannelInfo info;
  std::string label;            ///< behind CH in an equation; empty where there is none
  std::optional<double> value;  ///< the newest in the channel's unit; nothing when there is none
};

struct DeviceListing {
  std::string device;         ///< as whoever asks wrote it
  double rate = 0;            ///< scans a second
  std::string description;    ///< see Device::Description
  std::optional<double> age;  ///< of the newest scan, in seconds; nothing when there is none
  std::string doubt;          ///< why there are no values or only old ones, a sentence; else empty
  std::vector<ListedChannel> channels;
};

/// Starts the device and waits for its first scan: as long as its data may take to come, at least 2
/// and at most 10 seconds. Throws SourceError.
DeviceListing ListDevice(Device& device, const std::string& text);

/// For a terminal of 80 columns: a table with a line for each channel, and what else there is to
/// say.
std::string ListingText(const DeviceListing& listing);
/// One JSON object, the same. A value is a number, "nan", "inf", "-inf", or null when there is
/// none.
std::string ListingJson(const DeviceListing& listing);

/// The kinds of devices, an example each.
std::string DeviceKindsText();
std::string DeviceKindsJson();

}  // namespace vantoscope
