// SPDX-License-Identifier: GPL-3.0-or-later
// The time that devices go by. Production code reads the system clock; a test hands in its own.
#pragma once

#include <cstdint>
#include <functional>

namespace vantoscope {

/// Nanoseconds since the Unix epoch.
using Clock = std::function<std::int64_t()>;

/// The clock on the wall: the one thing that meters on one machine share without talking.
std::int64_t SystemTime();

/// Nanoseconds of a clock that nobody sets, from a beginning of its own: for the time in between.
std::int64_t SteadyTime();

/// Index of the newest scan at `nanoseconds` when scan 0 was taken at time 0 and `rate` scans are
/// taken per second. Never falls while time does not.
std::int64_t ScanIndexAt(std::int64_t nanoseconds, double rate);

/// Seconds from scan `index`, by the same rule, to `nanoseconds`.
double SecondsSinceScan(std::int64_t index, std::int64_t nanoseconds, double rate);

}  // namespace vantoscope
