// SPDX-License-Identifier: GPL-3.0-or-later
// What the columns of a CSV recording are: separator, header, channels, times; found once, from the
// first lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sources/recording/csv_numbers.h"
#include "sources/recording/csv_times.h"

namespace vantoscope {

struct CsvColumn {
  std::size_t field = 0;       ///< place in the line, counted from 0
  std::string name = {};       ///< UTF-8; empty without a header
  std::string unit = {};       ///< UTF-8; empty when neither the header nor a field names one
  std::string in_fields = {};  ///< the unit that the fields are read in, as they have it
  std::string heading = {};    ///< of the column, as it stands in the header
};

/// Where the times of a line stand.
struct CsvTimes {
  std::size_t field = 0;
  std::optional<std::size_t> second_field = {};  ///< date and clock stand in two fields
  bool are_numbers = false;
  double seconds_per_unit = 1;  ///< of the numbers
  bool are_clock = false;       ///< without dates: they begin anew at midnight
  DateOrder order = DateOrder::kMonthFirst;
  std::string heading = {};  ///< as it stands in the header
};

struct CsvLayout {
  char separator = ',';  ///< a blank stands for any number of blanks and tabs
  NumberStyle style;
  std::size_t lines_to_skip = 0;  ///< preamble, header and line of units; blank lines not counted
  std::optional<CsvTimes> times;
  std::string unread_time;         ///< a field of the column that is named as times, but holds none
  std::vector<CsvColumn> columns;  ///< the numeric columns without the times, in file order
};

/// Finds the layout from the first lines of a file.
///
/// The separator is the semicolon, the tab, the comma, the bar or runs of blanks: the first of
/// those that leave the most fields readable in lines of the same width. The table begins with the
/// first line whose fields are readable where the columns are numeric, which later lines tell;
/// ahead of it stand a line of units, the header, `Level [m]` or `Level (m)` with a unit, and a
/// preamble. A comment begins with # % or //; right before the table it is the header. A first
/// column that counts the lines and has no name is no channel: row names.
///
/// Times are a date beside a clock time, or the first column when it holds dates or clock times,
/// when it is named so, when its unit is one of time and it rises, or when a table without header
/// has further columns and it rises in even steps; else another column of dates with clock times
/// that rise.
///
/// `head` ends with a whole line. Without numeric columns the result has none. `order` is what the
/// user says of the dates.
CsvLayout FindCsvLayout(std::string_view head, std::optional<DateOrder> order = {});

/// What a file was taken for: separator, decimal mark, times and columns with names and units.
std::string Description(const CsvLayout& layout);

}  // namespace vantoscope
