// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/range.h"

#include <cmath>

namespace vantoscope {
namespace {

/// 1, 2, 5, 10, 20 ... and their fractions: the smallest that is not below `number`.
double NiceAbove(double number) {
  const double decade = std::pow(10, std::floor(std::log10(number)));
  for (const double step : {1, 2, 5, 10}) {
    if (step * decade >= number) return step * decade;
  }
  return 20 * decade;
}

}  // namespace

Range RoomAround(Range extent) {
  const double greatest = std::max(std::abs(extent.low), std::abs(extent.high));
  const double half = greatest > 0 && greatest < 1e300 ? NiceAbove(2 * greatest) : 1;
  return Joined(extent, {.low = -half, .high = half});
}

}  // namespace vantoscope
