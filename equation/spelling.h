// SPDX-License-Identifier: GPL-3.0-or-later
// What somebody may have meant who wrote a name that nobody knows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

/// The candidate nearest to `name`, whatever the case of its letters: a slip or two away, or `name`
/// with an ending that the candidate lacks. Empty where none is near.
std::string NearestName(std::string_view name, const std::vector<std::string_view>& candidates);

}  // namespace vantoscope
