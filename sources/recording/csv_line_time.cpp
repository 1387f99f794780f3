// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_line_time.h"

#include <cmath>

#include "sources/recording/csv_numbers.h"
#include "sources/recording/csv_times.h"

namespace vantoscope {
namespace {

constexpr double kDay = 86400;

}  // namespace

bool CsvLineTime::Take(std::string_view field) {
  const std::optional<double> seconds = SecondsOf(field);
  if (!seconds) return false;
  seconds_ += *seconds;
  ++taken_;
  return true;
}

/// From the first time of the file on, so that small steps keep their digits.
std::optional<double> CsvLineTime::SecondsOf(std::string_view field) {
  std::optional<double>& first = origin_.first;
  if (!times_->are_numbers) {
    const auto time = ReadTime(field, times_->order);
    if (!time) return std::nullopt;
    if (!first && time->has_date) first = time->days;
    return (time->days - (time->has_date ? *first : 0)) * kDay + time->seconds;
  }
  std::optional<double> number = PlainNumber(field, style_);
  if (!number) {
    const auto spelled = ReadNumber(field, style_);
    if (!spelled || !spelled->unit.empty() || !std::isfinite(spelled->value)) return std::nullopt;
    number = spelled->value;
  }
  if (!first) first = *number;
  return (*number - *first) * times_->seconds_per_unit;
}

std::optional<double> CsvLineTime::Seconds() {
  if (taken_ == 0 || taken_ < (times_->second_field ? 2U : 1U)) return std::nullopt;
  if (!times_->are_clock) return seconds_;
  if (seconds_ < origin_.last_clock - kDay / 2) origin_.midnight += kDay;
  origin_.last_clock = seconds_;
  return origin_.midnight + seconds_;
}

}  // namespace vantoscope
