// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/scan_piece.h"

#include <algorithm>

namespace vantoscope {

void ScanPiece::Copy(std::size_t channel, std::int64_t from, std::span<double> values) const {
  const StoredChannel& rows = stored[channel];
  if (scans.empty()) return rows.Copy(static_cast<std::size_t>(from - first), values);
  const auto next = std::ranges::upper_bound(scans, from);
  auto row = static_cast<std::size_t>(std::max<std::ptrdiff_t>(next - scans.begin(), 1) - 1);
  for (double& value : values) {
    while (row + 1 < scans.size() && scans[row + 1] <= from) ++row;
    value = rows[row];
    ++from;
  }
}

std::size_t ScanPiece::Bytes() const {
  std::size_t bytes = scans.size() * sizeof(scans[0]);
  for (const StoredChannel& channel : stored) bytes += sizeof(channel) + channel.Bytes();
  return bytes;
}

}  // namespace vantoscope
