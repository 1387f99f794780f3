// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/terminal_text.h"

#include <clocale>
#include <cwchar>

#include <algorithm>

namespace vantoscope {
namespace {

/// The locale of UTF-8 that every system has, for this thread as long as this lives.
class Utf8Here {
 public:
  Utf8Here() : before_(uselocale(Utf8())) {}
  ~Utf8Here() { uselocale(before_); }
  Utf8Here(const Utf8Here&) = delete;
  Utf8Here& operator=(const Utf8Here&) = delete;

 private:
  static locale_t Utf8() {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return utf8;
  }

  locale_t before_;
};

std::string Padding(std::string_view cell, std::size_t width) {
  return std::string(width - DisplayWidth(cell), ' ');
}

}  // namespace

std::size_t DisplayWidth(std::string_view line) {
  const Utf8Here here;
  std::size_t width = 0;
  std::mbstate_t state{};
  while (!line.empty()) {
    wchar_t character = 0;
    const std::size_t bytes = std::mbrtowc(&character, line.data(), line.size(), &state);
    const bool whole = bytes > 0 && bytes <= line.size();
    width += whole ? static_cast<std::size_t>(std::max(wcwidth(character), 0)) : 1;
    if (!whole) state = {};
    line.remove_prefix(whole ? bytes : 1);
  }
  return width;
}

std::string Table(const std::vector<std::vector<std::string>>& rows,
                  const std::vector<bool>& right) {
  std::vector<std::size_t> widths(right.size());
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
  }
  std::string table;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string padding = Padding(row[i], widths[i]);
      if (i > 0) line += "  ";
      line += right[i] ? padding + row[i] : row[i] + padding;
    }
    line.resize(line.find_last_not_of(' ') + 1);
    table += line + '\n';
  }
  return table;
}

std::string Wrapped(std::string_view text, std::size_t width) {
  std::string lines;
  std::size_t used = 0;
  while (!text.empty()) {
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    if (word.empty()) continue;
    const std::size_t cells = DisplayWidth(word);
    if (used > 0) lines += used + 1 + cells > width ? '\n' : ' ';
    used = used == 0 || used + 1 + cells > width ? cells : used + 1 + cells;
    lines += word;
  }
  return lines.empty() ? lines : lines + '\n';
}

}  // namespace vantoscope
