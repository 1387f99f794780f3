// SPDX-License-Identifier: GPL-3.0-or-later
// Classes of characters as ASCII has them, whatever the locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace vantoscope {

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsSmall(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool IsCapital(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool IsLetter(char c) { return IsSmall(c) || IsCapital(c); }
constexpr char Upper(char c) { return IsSmall(c) ? static_cast<char>(c - 'a' + 'A') : c; }
constexpr char Lower(char c) { return IsCapital(c) ? static_cast<char>(c - 'A' + 'a') : c; }
/// The characters below the space, and delete.
constexpr bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

/// The same text but for small letters and capitals.
constexpr bool SameIgnoringCase(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
}

}  // namespace vantoscope
