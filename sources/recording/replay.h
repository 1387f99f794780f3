// SPDX-License-Identifier: GPL-3.0-or-later
// The replay at its rate of a recording in memory, for as long as its file stays the same.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/recording/recorded_file.h"
#include "sources/recording/stored_channel.h"

namespace vantoscope {

/// A recording in memory: the channel list, and for each entry its samples; all of one length
/// above 0.
struct RecordedScans {
  std::vector<ChannelInfo> channels;
  std::vector<StoredChannel> stored;
  double rate = 1;
  /// When each sample was taken, in seconds since the first; empty when they are even. A scan shows
  /// the newest sample by then.
  std::vector<double> times = {};
  std::string description = {};  ///< see Device::Description
};

/// When a replay takes which scan.
struct ReplayTimes {
  std::int64_t start = 0;  ///< of scan 0, in nanoseconds since the Unix epoch
  bool loop = false;
};

std::unique_ptr<Device> MakeReplay(std::string name, RecordedScans scans, ReplayTimes times,
                                   std::unique_ptr<RecordedFile> file, Clock clock);

}  // namespace vantoscope
