// SPDX-License-Identifier: GPL-3.0-or-later
// How a device puts the age of its newest scan into a Freshness.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "meter/reading_state.h"

namespace vantoscope {

/// Seconds from which on the newest of scans that come `rate` times a second is old: two, or three
/// sample periods if that is longer.
inline double FreshnessLimit(double rate) { return std::max(2.0, 3 / rate); }

inline bool IsFresh(const Freshness& data) { return data.age && *data.age <= data.limit; }

/// An age below 0, as by a clock that was set back, is 0. `reason` counts when the scan is old, or
/// when there is none.
inline Freshness FreshnessOf(std::optional<double> age, double limit, std::string reason) {
  if (age) age = std::max(*age, 0.0);
  Freshness data{.age = age, .limit = limit, .reason = ""};
  if (!IsFresh(data)) data.reason = std::move(reason);
  return data;
}

}  // namespace vantoscope
