// SPDX-License-Identifier: GPL-3.0-or-later
// The new scans of a device, block by block, under indices that only rise.
//
// A device that follows the clock goes back in its own indices when the clock is set back. What is
// handed on rises all the same, with one index left out for the break.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "sources/device.h"

namespace vantoscope {

class RisingScans {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// `say` takes one line for the user.
  RisingScans(Device& device, std::function<void(const std::string&)> say, Time now);

  /// The next scans, at most `limit`; at first the newest one. A device without a new scan for two
  /// seconds, or three scans' time, is asked whether it began again.
  Scans Next(std::size_t limit, Time now);

 private:
  void LookAgain();

  Device& device_;
  std::function<void(const std::string&)> say_;
  std::int64_t next_ = -1;  // index of the device
  std::int64_t ahead_ = 0;  // of the indices handed on, of those of the device
  Time last_scan_;
};

}  // namespace vantoscope
