// SPDX-License-Identifier: GPL-3.0-or-later
// The time of one line of a CSV recording after the other, from the fields that hold it.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "sources/recording/csv_layout.h"

namespace vantoscope {

/// What the time of a line rests on from the lines before it.
struct CsvTimeOrigin {
  std::optional<double> first;  ///< time of the file, in days or in units of its numbers
  double last_clock = 0;        ///< clock times begin anew at midnight
  double midnight = 0;
};

class CsvLineTime {
 public:
  explicit CsvLineTime(const CsvLayout& layout) : times_(layout.times), style_(layout.style) {}

  /// Whether the field at that place of the line is of its time.
  [[nodiscard]] bool IsAt(std::size_t place) const {
    return times_ && (place == times_->field || place == times_->second_field);
  }
  /// False when the field is no time.
  bool Take(std::string_view field);
  /// Whether a field of this line was taken.
  [[nodiscard]] bool Any() const { return taken_ > 0; }
  [[nodiscard]] bool IsHeading(std::string_view field) const {
    return !times_->heading.empty() && field == times_->heading;
  }

  /// The time of a line that counts, in seconds since a moment that all lines share; nothing when
  /// it could not be read. Once a line.
  std::optional<double> Seconds();
  void NextLine() { seconds_ = 0, taken_ = 0; }

  [[nodiscard]] const CsvTimeOrigin& Origin() const { return origin_; }
  void SetOrigin(const CsvTimeOrigin& origin) { origin_ = origin; }

 private:
  [[nodiscard]] std::optional<double> SecondsOf(std::string_view field);

  std::optional<CsvTimes> times_;
  NumberStyle style_;
  CsvTimeOrigin origin_;
  double seconds_ = 0;
  std::size_t taken_ = 0;  // how many fields
};

}  // namespace vantoscope
