// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_skim.h"

#include <algorithm>

#include "sources/recording/csv_numbers.h"

namespace vantoscope {
namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view WithoutBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

}  // namespace

CsvSkim::CsvSkim(const CsvLayout& layout)
    : separator_(layout.separator),
      style_(layout.style),
      times_(layout.times),
      first_value_(layout.columns.front().field),
      time_(layout) {}

bool CsvSkim::Lines(std::string_view text, CsvTimeOrigin& origin, std::vector<double>& seconds) {
  seconds.clear();
  if (text.find('"') != text.npos) return false;
  const bool has_returns = text.find('\r') != text.npos;
  time_.SetOrigin(origin);
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end == text.npos) return false;
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    if (has_returns) {
      if (line.ends_with('\r')) line.remove_suffix(1);
      if (line.find('\r') != line.npos) return false;
    }
    const std::optional<double> time = SecondsOf(line);
    if (!time) return false;
    seconds.push_back(*time);
  }
  origin = time_.Origin();
  return true;
}

std::optional<double> CsvSkim::SecondsOf(std::string_view line) {
  const auto is_number = [&](std::size_t place) {
    return PlainNumber(FieldAt(line, place), style_).has_value();
  };
  // What begins a line may make it a comment.
  if (first_value_ == 0 || !times_) {
    if (!is_number(first_value_)) return std::nullopt;
  }
  if (!times_) return 0;
  time_.NextLine();
  if (!time_.Take(FieldAt(line, times_->field))) return std::nullopt;
  if (times_->second_field && !time_.Take(FieldAt(line, *times_->second_field))) {
    return std::nullopt;
  }
  return time_.Seconds();
}

std::string_view CsvSkim::FieldAt(std::string_view line, std::size_t place) const {
  if (separator_ == ' ') {
    line = WithoutBlanks(line);
    for (; place > 0; --place) {
      line.remove_prefix(std::min(line.find_first_of(kBlanks), line.size()));
      line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    }
    return line.substr(0, line.find_first_of(kBlanks));
  }
  for (; place > 0; --place)
    line.remove_prefix(std::min(line.find(separator_), line.size() - 1) + 1);
  return WithoutBlanks(line.substr(0, line.find(separator_)));
}

}  // namespace vantoscope
