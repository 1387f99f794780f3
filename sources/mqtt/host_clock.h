// SPDX-License-Identifier: GPL-3.0-or-later
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
  /// and that has come now. The first one is not late. Nothing for a time that does not fit:
  /// earlier than the message before by more than a second, or sooner here than by the best road by
  /// more than that; the host's clock was set, or it is not the host's. It is believed, and nothing
  /// late, when the next time agrees with it.
  std::optional<Microseconds> Lateness(std::int64_t sent_us, Time now);

 private:
  std::optional<Microseconds> best_;  // smallest difference of our clock at arrival and the host's
  std::optional<Microseconds> other_road_;  // of a message just now that did not fit
  std::int64_t sent_us_ = 0;                // of the last message that did
  Time came_at_;                            // the same message
};

}  // namespace vantoscope
