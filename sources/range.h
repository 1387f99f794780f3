// SPDX-License-Identifier: GPL-3.0-or-later
// A range of values of a channel.
#pragma once

#include <algorithm>

namespace vantoscope {

/// `low` <= `high`.
struct Range {
  double low = 0;
  double high = 0;

  bool operator==(const Range&) const = default;
};

/// The smallest range that holds both.
inline Range Joined(Range one, Range other) {
  return {.low = std::min(one.low, other.low), .high = std::max(one.high, other.high)};
}

/// Room for values to come, around those there are: the smallest of 1, 2, 5, 10, 20 ... to both
/// sides that holds twice as much.
Range RoomAround(Range extent);

}  // namespace vantoscope
