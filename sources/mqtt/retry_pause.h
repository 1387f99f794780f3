// SPDX-License-Identifier: GPL-3.0-or-later
// The pauses between attempts to reach a broker that does not answer.
#pragma once

#include <algorithm>
#include <chrono>
#include <random>

namespace vantoscope {

class RetryPause {
 public:
  using Milliseconds = std::chrono::milliseconds;
  static constexpr Milliseconds kFirst{250};
  static constexpr Milliseconds kLongest{4'000};
  static constexpr Milliseconds kSettled{5'000};

  /// Up to `kFirst`, then up to twice as long each time, and a first one again after a connection
  /// that stood for `kSettled`: a broker that accepts and closes at once is not there yet. Half of
  /// it is chance, so that the clients of a broker that comes back do not all come at the same
  /// instant.
  Milliseconds After(Milliseconds stood) {
    if (stood >= kSettled) at_most_ = kFirst;
    std::uniform_int_distribution<Milliseconds::rep> spread(at_most_.count() / 2, at_most_.count());
    at_most_ = std::min(2 * at_most_, kLongest);
    return Milliseconds(spread(random_));
  }

 private:
  std::minstd_rand random_{std::random_device{}()};
  Milliseconds at_most_ = kFirst;
};

}  // namespace vantoscope
