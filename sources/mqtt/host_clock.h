// How late the messages of a host arrive, though its clock and ours need not agree: later than by
// the best road seen so far.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace vantoscope {

class HostClock {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Microseconds = std::chrono::microseconds;

  /// How late a message is that the host sent at `sent_us` by its clock, within 9000 years of 0,
  /// and that has come now. The first one is not late, nor is one after the host's clock was set
  /// back by more than a second.
  Microseconds Lateness(std::int64_t sent_us, Time now);

 private:
  std::optional<Microseconds> best_;  // smallest difference of our clock at arrival and the host's
  std::int64_t sent_us_ = 0;          // of the last message
  Time came_at_;                      // the last message
};

}  // namespace vantoscope
