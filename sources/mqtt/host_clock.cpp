#include "sources/mqtt/host_clock.h"

#include <algorithm>

namespace vantoscope {
namespace {

constexpr std::int64_t kSetBack = 1'000'000;
// Two clocks drift apart, by no more than one part in so many. Lateness of a few seconds takes
// hours to be taken for drift.
constexpr int kDrift = 5000;

}  // namespace

HostClock::Microseconds HostClock::Lateness(std::int64_t sent_us, Time now) {
  using std::chrono::duration_cast;
  const auto road = duration_cast<Microseconds>(now.time_since_epoch()) - Microseconds(sent_us);
  if (!best_ || sent_us < sent_us_ - kSetBack) {
    best_ = road;
  } else {
    best_ = std::min(road, *best_ + duration_cast<Microseconds>(now - came_at_) / kDrift);
  }
  sent_us_ = sent_us;
  came_at_ = now;
  return road - *best_;
}

}  // namespace vantoscope
