// SPDX-License-Identifier: GPL-3.0-or-later
// The words of a command text. Nothing is quoted: a blank always parts two words.
#pragma once

#include <string_view>
#include <vector>

namespace vantoscope {

/// Cuts at every single blank; two blanks in a row give an empty word, and so does an empty text.
inline std::vector<std::string_view> CutAtBlanks(std::string_view text) {
  std::vector<std::string_view> words;
  std::size_t begin = 0;
  for (std::size_t blank = text.find(' '); blank != std::string_view::npos;
       blank = text.find(' ', begin)) {
    words.push_back(text.substr(begin, blank - begin));
    begin = blank + 1;
  }
  words.push_back(text.substr(begin));
  return words;
}

}  // namespace vantoscope
