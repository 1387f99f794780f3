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

  /// Up to `kFirst`, then up to twice as long each time. Half of it is chance, so that the clients
  /// of a broker that comes back do not all come at the same instant.
  Milliseconds Next() {
    std::uniform_int_distribution<Milliseconds::rep> spread(at_most_.count() / 2, at_most_.count());
    at_most_ = std::min(2 * at_most_, kLongest);
    return Milliseconds(spread(random_));
  }
  /// After a success: the next pause is a first one.
  void Reset() { at_most_ = kFirst; }

 private:
  std::minstd_rand random_{std::random_device{}()};
  Milliseconds at_most_ = kFirst;
};

}  // namespace vantoscope
