// SPDX-License-Identifier: GPL-3.0-or-later
// The replay of a recording at its rate, for as long as its file stays the same.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/recording/scan_source.h"

namespace vantoscope {

/// When a replay takes which scan.
struct ReplayTimes {
  std::int64_t start = 0;  ///< of scan 0, in nanoseconds since the Unix epoch
  bool loop = false;
};

/// There is no block, no value and no scan while the file system keeps them waiting. A range grows
/// in steps when a piece that holds more is delivered.
std::unique_ptr<Device> MakeReplay(std::string name, RecordedScans scans, ReplayTimes times,
                                   Clock clock);

}  // namespace vantoscope
