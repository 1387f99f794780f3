// SPDX-License-Identifier: GPL-3.0-or-later
// A stretch of a recording's scans in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "sources/range.h"
#include "sources/recording/stored_channel.h"

namespace vantoscope {

/// Rows of samples, and the scans that they stand for: each until the next one comes.
struct ScanPiece {
  std::int64_t first = 0;             ///< scan
  std::int64_t end = 0;               ///< behind the last scan
  std::vector<StoredChannel> stored;  ///< one for each channel, all of one length above 0
  /// At which each row comes, rising; empty when every row is one scan.
  std::vector<std::int64_t> scans = {};
  /// Of the finite values of each channel; `low` is above `high` where there are none. Empty when
  /// the ranges of the channels are known to hold them all.
  std::vector<Range> extents = {};

  /// The samples of a channel from scan `from` on, to all of `values`; the piece holds them.
  void Copy(std::size_t channel, std::int64_t from, std::span<double> values) const;
  [[nodiscard]] std::size_t Bytes() const;
};

}  // namespace vantoscope
