// SPDX-License-Identifier: GPL-3.0-or-later
// Texts as a terminal shows them, where a character may take two cells or none.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantoscope {

/// The cells that a line of UTF-8 takes. A byte that belongs to no character takes one.
std::size_t DisplayWidth(std::string_view line);

/// The rows as lines, each with its line end: columns two cells apart, each as wide as its widest
/// cell, nothing behind the last. A column is aligned right where `right` has true.
std::string Table(const std::vector<std::vector<std::string>>& rows,
                  const std::vector<bool>& right);

/// The words of a text in lines of at most `width` cells, each with its line end. A word that is
/// longer has a line to itself; blanks between words count as one.
std::string Wrapped(std::string_view text, std::size_t width);

}  // namespace vantoscope
