// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/scans.h"

#include <algorithm>

namespace vantoscope {

Samples ZeroSamples(Encoding encoding, std::size_t count) {
  if (encoding == Encoding::kInt16) return std::vector<std::int16_t>(count);
  return std::vector<double>(count);
}

std::size_t SampleCount(const Samples& samples) {
  return std::visit([](const auto& values) { return values.size(); }, samples);
}

Scans ScansWanted(std::int64_t next, std::size_t limit, std::int64_t oldest, std::int64_t newest) {
  const std::int64_t first = next < 0 ? newest : std::max(next, oldest);
  if (newest < oldest || first > newest) return {};
  return {.first = first,
          .scans = std::min(limit, static_cast<std::size_t>(newest - first + 1)),
          .channels = {}};
}

}  // namespace vantoscope
