// SPDX-License-Identifier: GPL-3.0-or-later
// Characters of UTF-8 texts, where a rule counts characters and not bytes. A byte that belongs to
// no valid character counts as one.
#pragma once

#include <cstddef>
#include <string_view>

namespace vantoscope {

/// A byte inside a character, behind its first.
constexpr bool ContinuesCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Length in bytes of the first `count` characters of `text`; the whole text where it has fewer.
constexpr std::size_t BytesOfCharacters(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  while (at < text.size() && count > 0) {
    ++at;
    while (at < text.size() && ContinuesCharacter(text[at])) ++at;
    --count;
  }
  return at;
}

constexpr std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  return text.substr(0, BytesOfCharacters(text, count));
}

constexpr std::string_view WithoutFirstCharacters(std::string_view text, std::size_t count) {
  return text.substr(BytesOfCharacters(text, count));
}

}  // namespace vantoscope
