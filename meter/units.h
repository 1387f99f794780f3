// SPDX-License-Identifier: GPL-3.0-or-later
// Lengths that must not be mixed up. 1440 twips or 72 points are one inch; a logical pixel is 15
// twips.
#pragma once

#include <compare>

namespace vantoscope {

struct Twips {
  double value = 0;
  auto operator<=>(const Twips&) const = default;  // NOLINT(modernize-use-nullptr)
};

struct Points {
  double value = 0;
  auto operator<=>(const Points&) const = default;  // NOLINT(modernize-use-nullptr)
};

inline constexpr double kTwipsPerInch = 1440;
inline constexpr double kTwipsPerPixel = 15;
inline constexpr double kTwipsPerPoint = 20;

constexpr Twips TwipsFromPixels(double pixels) { return {pixels * kTwipsPerPixel}; }
constexpr double PixelsFromTwips(Twips twips) { return twips.value / kTwipsPerPixel; }
constexpr Points PointsFromPixels(double pixels) {
  return {pixels * kTwipsPerPixel / kTwipsPerPoint};
}
constexpr double PixelsFromPoints(Points points) {
  return points.value * kTwipsPerPoint / kTwipsPerPixel;
}

}  // namespace vantoscope
