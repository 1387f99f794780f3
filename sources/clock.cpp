// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/clock.h"

#include <chrono>
#include <cmath>

namespace vantoscope {

namespace {

template <typename AnyClock>
std::int64_t Nanoseconds() {
  using std::chrono::nanoseconds;
  return nanoseconds(AnyClock::now().time_since_epoch()).count();
}

}  // namespace

std::int64_t SystemTime() { return Nanoseconds<std::chrono::system_clock>(); }

std::int64_t SteadyTime() { return Nanoseconds<std::chrono::steady_clock>(); }

std::int64_t ScanIndexAt(std::int64_t nanoseconds, double rate) {
  // A long double holds the nanoseconds of three centuries exactly, a double only those of 104
  // days.
  const long double scans = static_cast<long double>(nanoseconds) * rate / 1e9L;
  return static_cast<std::int64_t>(std::floor(scans));
}

double SecondsSinceScan(std::int64_t index, std::int64_t nanoseconds, double rate) {
  const long double seconds = static_cast<long double>(nanoseconds) / 1e9L;
  return static_cast<double>(seconds - static_cast<long double>(index) / rate);
}

}  // namespace vantoscope
