// SPDX-License-Identifier: GPL-3.0-or-later
#include "equation/text_replacement.h"

namespace vantoscope {

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
  if (from.empty()) return;
  std::size_t found = text.find(from);
  if (found == std::string::npos) return;
  std::string result;
  std::size_t done = 0;
  for (; found != std::string::npos; found = text.find(from, done)) {
    result.append(text, done, found - done).append(to);
    done = found + from.size();
  }
  result.append(text, done);
  text = std::move(result);
}

}  // namespace vantoscope
