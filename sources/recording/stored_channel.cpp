// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/stored_channel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace vantoscope {
namespace {

constexpr int kMostDecimals = 9;

/// The values as whole numbers over `divisor`, if that gives back every one of them exactly. The
/// quotient of two exact numbers is rounded once, like a decimal text that is read, so it does when
/// the text had no more decimals than the divisor has zeros.
template <typename Whole>
bool PackInto(const std::vector<double>& values, double divisor, std::vector<Whole>& packed) {
  packed.clear();
  packed.reserve(values.size());
  for (const double value : values) {
    const double whole = std::round(value * divisor);
    if (whole < std::numeric_limits<Whole>::min() || whole > std::numeric_limits<Whole>::max() ||
        whole / divisor != value || (value == 0 && std::signbit(value))) {
      return false;
    }
    packed.push_back(static_cast<Whole>(whole));
  }
  return true;
}

template <typename Whole>
bool PackWithDecimals(const std::vector<double>& values, std::vector<Whole>& packed,
                      double& divisor) {
  divisor = 1;
  for (int decimals = 0; decimals <= kMostDecimals; ++decimals, divisor *= 10) {
    if (PackInto(values, divisor, packed)) return true;
  }
  return false;
}

}  // namespace

StoredChannel StoredChannel::Packed(std::vector<double> values) {
  double divisor = 1;
  std::vector<std::int16_t> words;
  if (PackWithDecimals(values, words, divisor)) return {std::move(words), divisor};
  words = {};
  std::vector<std::int32_t> wide;
  if (PackWithDecimals(values, wide, divisor)) return {std::move(wide), divisor};
  return StoredChannel(std::move(values));
}

std::size_t StoredChannel::Size() const {
  return std::visit([](const auto& stored) { return stored.size(); }, stored_);
}

std::size_t StoredChannel::Bytes() const {
  return std::visit([](const auto& stored) { return stored.size() * sizeof(stored[0]); }, stored_);
}

double StoredChannel::operator[](std::size_t index) const {
  return std::visit(
      [&](const auto& stored) {
        return offset_ + factor_ * (static_cast<double>(stored[index]) / divisor_);
      },
      stored_);
}

void StoredChannel::Copy(std::size_t first, std::span<double> values) const {
  const double divisor = divisor_;
  const double factor = factor_;
  const double offset = offset_;
  std::visit(
      [&](const auto& stored) {
        const auto* const from = stored.data() + first;
        double* const to = values.data();
        const std::size_t count = values.size();
        for (std::size_t i = 0; i < count; ++i) {
          to[i] = offset + factor * (static_cast<double>(from[i]) / divisor);
        }
      },
      stored_);
}

Range StoredChannel::Extent() const {
  const auto value = [this](auto stored) {
    return offset_ + factor_ * (static_cast<double>(stored) / divisor_);
  };
  return std::visit(
      [&](const auto& stored) -> Range {
        std::optional<Range> extent;
        for (const auto sample : stored) {
          const double number = static_cast<double>(sample);
          if (!std::isfinite(number)) continue;
          if (!extent) extent = Range{.low = number, .high = number};
          extent->low = std::min(extent->low, number);
          extent->high = std::max(extent->high, number);
        }
        if (!extent) return {};
        return Joined({.low = value(extent->low), .high = value(extent->low)},
                      {.low = value(extent->high), .high = value(extent->high)});
      },
      stored_);
}

}  // namespace vantoscope
