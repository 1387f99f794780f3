// What the columns of a CSV recording are: separator, header, channels, times; found once, from the
// first lines. And what a field means as a time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sources/recording/csv_numbers.h"

namespace vantoscope {

struct CsvColumn {
  std::size_t field = 0;       ///< place in the line, counted from 0
  std::string name = {};       ///< UTF-8; empty without a header
  std::string unit = {};       ///< UTF-8; empty when neither the header nor a field names one
  std::string in_fields = {};  ///< the unit that the fields are read in, as they have it
  std::string heading = {};    ///< of the column, as it stands in the header
};

struct CsvLayout {
  char separator = ',';
  NumberStyle style;
  std::size_t lines_to_skip = 0;  ///< preamble, header and line of units; blank lines not counted
  bool has_times = false;         ///< the first field is a time
  double seconds_per_time_unit = 1;
  std::vector<CsvColumn> columns;  ///< the numeric columns without the times, in file order
};

/// Finds the layout from the first lines of a file.
///
/// The separator is the semicolon, the tab or the comma, the first of these that most lines hold.
/// The table is as wide as most of its lines; narrower lines before it are a preamble. A column is
/// numeric when more of its filled fields are numbers than are not, and a first line whose fields
/// are no numbers where the column is numeric is the header, `Level [m]` or `Level (m)` with a
/// unit; a second such line gives the units. The first column holds times when it is named so, when
/// its unit is one of time and it rises, or when a table without header has further columns and it
/// rises in even steps.
///
/// `head` ends with a whole line. Without numeric columns the result has none.
CsvLayout FindCsvLayout(std::string_view head);

/// A field as a time: a number, `[YYYY-MM-DD(T or blank)]HH:MM[:SS[.fff]]`, or a date alone. In the
/// number's own unit, or in seconds.
std::optional<double> TimeOfField(std::string_view field, NumberStyle style);

/// The rate of a recording from its times, told one by one: the mean step, without the steps that
/// are no rise or longer than three times the usual one (pauses, midnight, restarts). A rate within
/// a hundred-thousandth of a whole number is that number: times are written with limited digits.
class TimeSteps {
 public:
  void Add(double seconds);
  /// Scans per second; nothing before a second, later time.
  [[nodiscard]] std::optional<double> Rate() const;

 private:
  struct Sum {
    double seconds = 0;
    double steps = 0;
  };
  [[nodiscard]] double UsualStep() const;
  static void AddIfUsual(Sum& sum, double step, double usual);

  std::optional<double> last_;
  std::vector<double> first_steps_;
  double usual_ = 0;  // once enough steps are known
  Sum sum_;
};

}  // namespace vantoscope
