// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/mqtt/host_clock.h"

#include <algorithm>

namespace vantoscope {
namespace {

constexpr HostClock::Microseconds kFits{1'000'000};
// Two clocks drift apart, by no more than one part in so many. Lateness of a few seconds takes
// hours to be taken for drift.
constexpr int kDrift = 5000;

}  // namespace

std::optional<HostClock::Microseconds> HostClock::Lateness(std::int64_t sent_us, Time now) {
  using std::chrono::duration_cast;
  const auto road = duration_cast<Microseconds>(now.time_since_epoch()) - Microseconds(sent_us);
  const bool fits = best_ && sent_us >= sent_us_ - kFits.count() && road >= *best_ - kFits;
  if (fits) {
    best_ = std::min(road, *best_ + duration_cast<Microseconds>(now - came_at_) / kDrift);
  } else if (!best_ || (other_road_ && std::chrono::abs(road - *other_road_) <= kFits)) {
    best_ = road;
  } else {
    other_road_ = road;
    return std::nullopt;
  }
  other_road_.reset();
  sent_us_ = sent_us;
  came_at_ = now;
  return road - *best_;
}

}  // namespace vantoscope
