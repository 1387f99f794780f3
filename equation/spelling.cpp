// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/spelling.h"

#include <algorithm>
#include <cstddef>

#include "text/characters.h"

namespace vantoscope {
namespace {

/// Slips between two names: letters added, left out, changed, or two neighbours swapped.
std::size_t EditDistance(std::string_view one, std::string_view other) {
  const std::size_t width = other.size() + 1;
  std::vector<std::size_t> slips((one.size() + 1) * width);
  for (std::size_t i = 0; i <= one.size(); ++i) {
    for (std::size_t j = 0; j <= other.size(); ++j) {
      std::size_t& here = slips[i * width + j];
      if (i == 0 || j == 0) {
        here = i + j;
        continue;
      }
      const std::size_t changed = Lower(one[i - 1]) == Lower(other[j - 1]) ? 0 : 1;
      here = std::min({slips[(i - 1) * width + j] + 1, slips[i * width + j - 1] + 1,
                       slips[(i - 1) * width + j - 1] + changed});
      if (i > 1 && j > 1 && Lower(one[i - 1]) == Lower(other[j - 2]) &&
          Lower(one[i - 2]) == Lower(other[j - 1])) {
        here = std::min(here, slips[(i - 2) * width + j - 2] + 1);
      }
    }
  }
  return slips.back();
}

/// Slips that a name of that length may have.
std::size_t Tolerated(std::size_t length) { return length < 3 ? 0 : length < 6 ? 1 : 2; }

constexpr std::size_t kShortestStem = 3;
constexpr std::size_t kLongestName = 32;

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string_view>& candidates) {
  if (name.size() > kLongestName) return "";
  std::string_view nearest;
  std::size_t least = Tolerated(name.size()) + 1;
  for (const std::string_view candidate : candidates) {
    if (const std::size_t slips = EditDistance(name, candidate); slips < least) {
      least = slips;
      nearest = candidate;
    }
  }
  if (!nearest.empty()) return std::string(nearest);
  for (const std::string_view candidate : candidates) {
    if (candidate.size() >= kShortestStem && candidate.size() > nearest.size() &&
        SameIgnoringCase(name.substr(0, candidate.size()), candidate)) {
      nearest = candidate;
    }
  }
  return std::string(nearest);
}

}  // namespace vantoscope
