// SPDX-License-Identifier: GPL-3.0-or-later
// At which scan of a replay the rows of a recording come, one row after the other, by their times.
#pragma once

#include <cstdint>
#include <optional>

#include "sources/recording/csv_times.h"

namespace vantoscope {

/// A row of even steps comes one scan behind the one before; where the times leave that by more
/// than jitter, as at a pause, the rows go on at the scan of their time. A row of unequal steps
/// comes at the first scan that is not ahead of its time. The first row comes at scan 0.
class RowScans {
 public:
  /// Of rows without times.
  RowScans() = default;
  /// Of rows that begin as the timeline says; it has a rate.
  explicit RowScans(const Timeline& timeline);

  /// The scan of the next row, no earlier than the one before; `seconds` is nan when its time could
  /// not be read. Nothing for a time that runs backwards.
  std::optional<std::int64_t> Next(double seconds);
  [[nodiscard]] std::int64_t Newest() const { return scan_; }

 private:
  [[nodiscard]] std::int64_t ScanOf(double seconds) const;

  double rate_ = 0;  // 0 without times
  double step_ = 0;
  double longest_ = 0;  // even steps
  double jitter_ = 0;   // of them
  bool even_ = false;
  std::optional<double> first_;
  double read_ = 0;  // the last time that could be read
  double last_ = 0;  // and the last one
  std::int64_t scan_ = -1;
};

}  // namespace vantoscope
