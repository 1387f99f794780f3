// SPDX-License-Identifier: GPL-3.0-or-later
// The words that ask for a text instead of a meter.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantoscope {

/// What the program prints for `word`, "--help" or "--version"; nothing for any other word.
std::optional<std::string> PrintedFor(std::string_view word);

}  // namespace vantoscope
