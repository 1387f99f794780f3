// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/copied_reading.h"

#include <algorithm>

namespace vantoscope {
namespace {

std::string Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

std::string Cell(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  return Trimmed(text);
}

}  // namespace

std::string NumberShown(const ReadingParts& parts) {
  std::string_view number = parts.shown;
  if (number.ends_with(parts.unit)) number.remove_suffix(parts.unit.size());
  return Trimmed(number);
}

std::string TableLine(const ReadingParts& parts) {
  std::string line = Cell(NumberShown(parts));
  for (const std::string& part : {parts.unit, parts.channel, parts.time}) line += '\t' + Cell(part);
  if (!parts.doubt.empty()) line += '\t' + Cell(parts.doubt);
  return line;
}

}  // namespace vantoscope
