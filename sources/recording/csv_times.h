// SPDX-License-Identifier: GPL-3.0-or-later
// What fields of a text file say as a time, and what the times of its lines say as a rate.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace vantoscope {

/// Of a date with the year last and a slash or a hyphen; with points the day is always first.
enum class DateOrder { kMonthFirst, kDayFirst };

struct FieldTime {
  double days = 0;     ///< since 1970-01-01; 0 without a date
  double seconds = 0;  ///< since midnight, of Greenwich if the field names a zone
  bool has_date = false;
  bool has_clock = false;
};

/// Seconds since 1970-01-01, with fewer digits behind the point than the parts have.
double SecondsSince1970(const FieldTime& time);

/// A date, a clock time or both: `YYYY-MM-DD` (also with / or .), `DD.MM.YYYY`, `MM/DD/YYYY` or
/// `DD/MM/YYYY`, `YYYYMMDDTHHMMSS`; `HH:MM`, `HH:MM:SS`, a fraction behind it, AM or PM; `MM:SS.f`;
/// then Z or an offset such as +01:00, which is taken off. Nothing for numbers, impossible dates
/// and all other texts.
std::optional<FieldTime> ReadTime(std::string_view field, DateOrder order);

/// Finds the order from the fields of a column: by what is possible, or by what makes the shorter
/// time of them.
DateOrder OrderOfDates(const std::vector<std::string_view>& fields);

/// Seconds of a number's unit, for a column of times without a unit of their own: since 1970 in s,
/// ms, us or ns by their magnitude; `are_days` are days, as spreadsheets count them; else seconds.
double SecondsPerUnit(double first, bool are_days);

/// Whether a number is a time from 2000 to 2100, in s, ms, us or ns since 1970.
bool IsSince1970(double number);

/// The rate of a recording from its times, told one by one: the mean step, without the steps that
/// fall or are longer than three times the usual one (pauses, midnight, restarts). Where times are
/// written so coarsely that many repeat, the lines count that share one. A rate within a
/// hundred-thousandth of a whole number is that number: times are written with limited digits.
class TimeSteps {
 public:
  void Add(double seconds);
  /// Scans per second; nothing before a second, later time.
  [[nodiscard]] std::optional<double> Rate() const;

 private:
  struct Sum {
    double seconds = 0;
    double steps = 0;
    double repeats = 0;  // of the time before
  };
  static void AddIfUsual(Sum& sum, double step, double usual);

  std::optional<double> last_;
  std::vector<double> first_steps_;
  double usual_ = 0;  // once enough steps are known
  Sum sum_;
};

/// What the times of all lines of a recording come to.
struct Timeline {
  std::optional<double> rate;            ///< nothing when the times never rise
  std::optional<std::size_t> backwards;  ///< the first line that is before the one ahead of it
  std::vector<double> times;             ///< since the first line; empty when the steps are even
  double step = 0;                       ///< the median of those above 0; 0 without any
  double longest = 0;                    ///< no even step is longer
  double jitter = 0;  ///< no line of even steps is further from where it should be
};

/// The lines may differ from even steps by what limited digits and a little jitter make; else the
/// rate is that of the median step and the times are kept. A time that is nan lies one such step
/// behind the one before.
Timeline TimelineOf(std::vector<double> seconds);

}  // namespace vantoscope
