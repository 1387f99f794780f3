// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/rising_scans.h"

#include <algorithm>
#include <utility>

namespace vantoscope {

RisingScans::RisingScans(Device& device, std::function<void(const std::string&)> say, Time now)
    : device_(device), say_(std::move(say)), last_scan_(now) {}

Scans RisingScans::Next(std::size_t limit, Time now) {
  using Seconds = std::chrono::duration<double>;
  constexpr Seconds kLookAgain{2};
  Scans scans = device_.ScansSince(next_, limit);
  if (scans.scans > 0) {
    next_ = scans.first + static_cast<std::int64_t>(scans.scans);
    scans.first += ahead_;
    last_scan_ = now;
  } else if (now - last_scan_ > std::max(kLookAgain, Seconds(3 / device_.SampleRate()))) {
    last_scan_ = now;
    LookAgain();
  }
  return scans;
}

void RisingScans::LookAgain() {
  const Scans newest = device_.ScansSince(-1, 1);
  if (newest.scans == 0 || newest.first + 1 >= next_) return;
  say_("the device begins again at scan " + std::to_string(newest.first));
  ahead_ += next_ + 1 - newest.first;
  next_ = newest.first;
}

}  // namespace vantoscope
