// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/row_scans.h"

#include <algorithm>
#include <cmath>

namespace vantoscope {
namespace {

constexpr double kSameTime = 1e-4;  // scans
constexpr double kNearest = 0.5;
constexpr double kMostScans = 1e15;

}  // namespace

RowScans::RowScans(const Timeline& timeline)
    : rate_(timeline.rate.value()),
      step_(timeline.step),
      longest_(timeline.longest),
      jitter_(timeline.jitter),
      even_(timeline.times.empty()) {}

std::optional<std::int64_t> RowScans::Next(double seconds) {
  if (rate_ == 0) return ++scan_;
  const bool is_read = !std::isnan(seconds);
  if (!first_) {
    // The rows ahead of the first time lie one step apart.
    if (!is_read) return ++scan_;
    first_ = seconds - static_cast<double>(scan_ + 1) / rate_;
    read_ = last_ = seconds;
    return ++scan_;
  }
  if (is_read && seconds < read_) return std::nullopt;
  const double time = is_read ? std::max(seconds, last_) : last_ + step_;
  const bool pauses = time - last_ > longest_;
  if (is_read) read_ = seconds;
  last_ = time;
  const double even = static_cast<double>(scan_ + 1);
  const bool in_step = even_ && !pauses && std::abs(time - *first_ - even / rate_) <= jitter_;
  scan_ = in_step ? scan_ + 1 : std::max(scan_, ScanOf(time));
  return scan_;
}

std::int64_t RowScans::ScanOf(double seconds) const {
  const double scan = (seconds - *first_) * rate_ - (even_ ? kNearest : kSameTime);
  return static_cast<std::int64_t>(std::ceil(std::min(scan, kMostScans)));
}

}  // namespace vantoscope
