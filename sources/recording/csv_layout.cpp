#include "sources/recording/csv_layout.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <utility>

#include "sources/recording/csv_rows.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

constexpr std::size_t kSampleLines = 200;
constexpr std::size_t kSeparatorLines = 50;
constexpr std::size_t kStepsForUsual = 1000;
constexpr double kLongStep = 3;  // times the usual one

using Lines = std::vector<std::vector<std::string>>;

/// The value that occurs most often, the greatest of several; 0 for none.
std::size_t MostCommon(const std::vector<std::size_t>& values) {
  std::map<std::size_t, std::size_t> counts;
  for (const std::size_t value : values) ++counts[value];
  std::size_t best = 0;
  std::size_t best_count = 0;
  for (const auto& [value, count] : counts) {
    if (count < best_count) continue;
    best = value;
    best_count = count;
  }
  return best;
}

char FindSeparator(std::string_view head) {
  for (const char separator : {';', '\t', ','}) {
    std::vector<std::size_t> widths;
    for (const auto& line : CsvFields(head, separator, kSeparatorLines)) {
      widths.push_back(line.size());
    }
    if (MostCommon(widths) > 1) return separator;
  }
  return ',';
}

bool IsUtf8(std::string_view text) {
  std::size_t following = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (following > 0) {
      if ((byte & 0xC0U) != 0x80U) return false;
      --following;
    } else if (byte >= 0x80U) {
      following = byte >= 0xF5U ? 4 : byte >= 0xF0U ? 3 : byte >= 0xE0U ? 2 : byte >= 0xC2U ? 1 : 4;
      if (following == 4) return false;
    }
  }
  return following == 0;
}

/// Old recorders write their units in Latin-1.
std::string ToUtf8(std::string_view text) {
  if (IsUtf8(text)) return std::string(text);
  std::string converted;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80U) {
      converted += c;
    } else {
      converted += static_cast<char>(0xC0U | (byte >> 6U));
      converted += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return converted;
}

std::string Trimmed(std::string_view text) { return std::string(TrimmedField(text)); }

/// What stands before the brackets at the end of a text, and in them.
struct Bracketed {
  std::string before;
  std::string inside;  ///< empty without brackets
};

Bracketed SplitBrackets(std::string_view field) {
  const std::string text = Trimmed(ToUtf8(field));
  for (const auto& [open, close] : {std::pair{'[', ']'}, std::pair{'(', ')'}}) {
    const std::size_t start = text.rfind(open);
    if (text.ends_with(close) && start != std::string::npos) {
      const std::string_view view = text;
      return {.before = Trimmed(view.substr(0, start)),
              .inside = Trimmed(view.substr(start + 1, text.size() - start - 2))};
    }
  }
  return {.before = text, .inside = {}};
}

/// `Level [m]` or `Level (m)` to name and unit.
CsvColumn NamedColumn(std::size_t field, std::string_view header) {
  Bracketed text = SplitBrackets(header);
  return {.field = field,
          .name = std::move(text.before),
          .unit = std::move(text.inside),
          .in_fields = {},
          .heading = std::string(header)};
}

/// `m`, `[m]` or `(m)` to the unit.
std::string UnitOf(std::string_view field) {
  Bracketed text = SplitBrackets(field);
  return std::move(text.inside.empty() ? text.before : text.inside);
}

/// Seconds in a unit of time; nothing if it is none.
std::optional<double> SecondsIn(std::string_view unit) {
  static constexpr std::array<std::pair<std::string_view, double>, 14> kUnits{{
      {"s", 1},
      {"sec", 1},
      {"second", 1},
      {"seconds", 1},
      {"ms", 1e-3},
      {"msec", 1e-3},
      {"us", 1e-6},
      {"\xC2\xB5s", 1e-6},  // the micro sign
      {"\xCE\xBCs", 1e-6},  // the Greek letter
      {"ns", 1e-9},
      {"min", 60},
      {"minutes", 60},
      {"h", 3600},
      {"hours", 3600},
  }};
  for (const auto& [name, seconds] : kUnits) {
    if (SameIgnoringCase(unit, name)) return seconds;
  }
  return std::nullopt;
}

bool NamesTime(const CsvColumn& column) {
  if (!column.unit.empty() && !SecondsIn(column.unit)) return false;
  if (column.name == "t") return true;  // a capital T is a temperature
  const std::string_view name = column.name;
  for (const std::string_view word : {"s", "sec", "seconds", "ms", "elapsed", "zeit"}) {
    if (SameIgnoringCase(name, word)) return true;
  }
  for (const std::string_view word : {"time", "date", "elapsed "}) {
    if (SameIgnoringCase(name.substr(0, word.size()), word)) return true;
  }
  return false;
}

/// The lines as wide as the table, and what stands before them.
struct Table {
  Lines lines;
  std::size_t preamble = 0;
};

Table CutPreamble(Lines lines) {
  std::vector<std::size_t> widths;
  for (const auto& line : lines) widths.push_back(line.size());
  const std::size_t width = MostCommon(widths);
  Table table;
  const auto first = std::ranges::find(widths, width);
  table.preamble = static_cast<std::size_t>(first - widths.begin());
  for (std::size_t i = table.preamble; i < lines.size(); ++i) {
    lines[i].resize(width);
    table.lines.push_back(std::move(lines[i]));
  }
  return table;
}

bool IsTime(std::string_view field, NumberStyle style) {
  return TimeOfField(field, style).has_value();
}

int TimeEvidence(std::string_view field, NumberStyle style) {
  return IsTime(field, style) ? 1 : -1;
}

bool IsNumber(std::string_view field, NumberStyle style) {
  return ReadNumber(field, style).has_value();
}

NumberStyle StyleOf(const Lines& lines, char separator) {
  NumberStyleVotes votes;
  for (const auto& line : lines) {
    for (const std::string& field : line) votes.Add(field);
  }
  return votes.Style(separator);
}

/// The unit of the header, if the ones in the fields differ from it in their prefixes only, or the
/// first one in a field.
void FindUnitInFields(CsvColumn& column, const Lines& lines, std::size_t from, NumberStyle style) {
  for (std::size_t i = from; i < lines.size() && column.in_fields.empty(); ++i) {
    const auto number = ReadNumber(lines[i][column.field], style);
    if (!number || number->unit.empty()) continue;
    column.in_fields = UnitFactor(number->unit, column.unit) ? column.unit : number->unit;
  }
  if (column.unit.empty()) column.unit = ToUtf8(column.in_fields);
}

/// Some filled field of the column passes, from line `from` on, and no fewer than fail.
bool MostlyPass(const Lines& lines, std::size_t field, std::size_t from, NumberStyle style,
                int (*evidence)(std::string_view, NumberStyle)) {
  std::ptrdiff_t balance = 0;
  bool any = false;
  for (std::size_t i = from; i < lines.size(); ++i) {
    const std::string& text = lines[i][field];
    if (TrimmedField(text).empty()) continue;
    const int says = evidence(text, style);
    balance += says;
    any = any || says > 0;
  }
  return any && balance >= 0;
}

/// Whether the line tells of the numeric columns in words.
bool IsWords(const std::vector<std::string>& line, const std::vector<std::size_t>& numeric,
             NumberStyle style) {
  return std::ranges::any_of(numeric, [&](std::size_t field) {
    return !TrimmedField(line[field]).empty() && !IsNumber(line[field], style);
  });
}

/// Whether the first column rises from line to line, and whether it does so in even steps.
struct Rise {
  bool rises = true;
  bool even = true;
};

Rise RiseOfFirst(const Lines& lines, std::size_t from, NumberStyle style) {
  std::vector<double> steps;
  std::optional<double> last;
  for (std::size_t i = from; i < lines.size(); ++i) {
    const std::optional<double> time = TimeOfField(lines[i][0], style);
    if (!time) return {.rises = false, .even = false};
    if (last) steps.push_back(*time - *last);
    last = time;
  }
  if (steps.size() < 2) return {.rises = !steps.empty() && steps[0] > 0, .even = false};
  const auto [least, greatest] = std::ranges::minmax_element(steps);
  return {.rises = *least > 0, .even = *least > 0 && *greatest < 1.5 * *least};
}

std::optional<int> DigitsAt(std::string_view text, std::size_t place, std::size_t count) {
  if (place + count > text.size()) return std::nullopt;
  int number = 0;
  const char* const end = text.data() + place + count;
  const auto [stop, error] = std::from_chars(text.data() + place, end, number);
  if (error != std::errc{} || stop != end || number < 0) return std::nullopt;
  return number;
}

/// Days from 1970-01-01 in the Gregorian calendar.
std::optional<double> DaysOfDate(std::string_view date) {
  if (date.size() != 10 || date[4] != date[7] || (date[4] != '-' && date[4] != '/')) {
    return std::nullopt;
  }
  const auto year = DigitsAt(date, 0, 4);
  const auto month = DigitsAt(date, 5, 2);
  const auto day = DigitsAt(date, 8, 2);
  if (!year || !month || !day || *month < 1 || *month > 12 || *day < 1 || *day > 31) {
    return std::nullopt;
  }
  // Howard Hinnant's days_from_civil, with years that begin in March.
  const int y = *month <= 2 ? *year - 1 : *year;
  const int era = y / 400;
  const int year_of_era = y - era * 400;
  const int day_of_year = (153 * (*month > 2 ? *month - 3 : *month + 9) + 2) / 5 + *day - 1;
  const int day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097.0 + day_of_era - 719468;
}

std::optional<double> PlainOrNothing(std::string_view field, NumberStyle style) {
  const auto number = ReadNumber(field, style);
  if (!number || !number->unit.empty() || !std::isfinite(number->value)) return std::nullopt;
  return number->value;
}

/// `HH:MM`, `HH:MM:SS` or `HH:MM:SS.fff`, a time zone behind it left alone.
std::optional<double> SecondsOfClock(std::string_view clock, NumberStyle style) {
  const auto hours = DigitsAt(clock, 0, 2);
  const auto minutes = DigitsAt(clock, 3, 2);
  if (!hours || !minutes || clock[2] != ':') return std::nullopt;
  const double whole = *hours * 3600.0 + *minutes * 60.0;
  if (clock.size() == 5) return whole;
  if (clock[5] != ':' || clock.size() < 8) return std::nullopt;
  const std::size_t zone = clock.find_first_of("Zz+-", 6);
  const auto seconds = PlainOrNothing(clock.substr(6, zone == clock.npos ? zone : zone - 6), style);
  if (!seconds || *seconds < 0) return std::nullopt;
  return whole + *seconds;
}

}  // namespace

std::optional<double> TimeOfField(std::string_view field, NumberStyle style) {
  if (const auto number = PlainOrNothing(field, style)) return number;
  const std::string text = Trimmed(field);
  const std::string_view view = text;
  const std::optional<double> days = DaysOfDate(view.substr(0, 10));
  if (!days) return SecondsOfClock(view, style);
  const double midnight = *days * 86400;
  if (view.size() == 10) return midnight;
  if (view[10] != 'T' && view[10] != ' ') return std::nullopt;
  const auto clock = SecondsOfClock(view.substr(11), style);
  if (!clock) return std::nullopt;
  return midnight + *clock;
}

CsvLayout FindCsvLayout(std::string_view head) {
  CsvLayout layout;
  layout.separator = FindSeparator(head);
  const Table table = CutPreamble(CsvFields(head, layout.separator, kSampleLines));
  if (table.lines.empty()) return layout;
  const Lines& lines = table.lines;
  const NumberStyle style = layout.style = StyleOf(lines, layout.separator);
  const std::size_t width = lines[0].size();

  // A header is no evidence of what a column holds, but a single line is all there is.
  const std::size_t evidence = lines.size() > 1 ? 1 : 0;
  std::vector<std::size_t> numeric;
  for (std::size_t field = 0; field < width; ++field) {
    if (MostlyPass(lines, field, evidence, style, NumberEvidence)) numeric.push_back(field);
  }
  const bool starts_with_times = MostlyPass(lines, 0, evidence, style, TimeEvidence);
  const bool has_header =
      IsWords(lines[0], numeric, style) ||
      (starts_with_times && IsWords(lines[0], {0}, style) && !IsTime(lines[0][0], style));
  const bool has_units = has_header && lines.size() > 2 && IsWords(lines[1], numeric, style) &&
                         std::ranges::none_of(numeric, [&](std::size_t field) {
                           return IsNumber(lines[1][field], style);
                         });
  const std::size_t first = (has_header ? 1U : 0U) + (has_units ? 1U : 0U);
  layout.lines_to_skip = table.preamble + first;

  const auto column_at = [&](std::size_t field) {
    std::string header = has_header ? lines[0][field] : "";
    if (field == 0 && header.starts_with('#')) header.erase(0, 1);
    CsvColumn column = NamedColumn(field, header);
    if (has_units) column.unit = UnitOf(lines[1][field]);
    FindUnitInFields(column, lines, first, style);
    return column;
  };

  if (starts_with_times) {
    const CsvColumn column = column_at(0);
    const Rise rise = RiseOfFirst(lines, first, style);
    const bool is_number = !numeric.empty() && numeric[0] == 0;
    const auto unit = SecondsIn(column.unit);
    layout.has_times = !is_number || NamesTime(column) || (unit && rise.rises) ||
                       (!has_header && numeric.size() > 1 && rise.even);
    if (is_number) layout.seconds_per_time_unit = unit.value_or(SecondsIn(column.name).value_or(1));
  }
  for (const std::size_t field : numeric) {
    if (field == 0 && layout.has_times) continue;
    layout.columns.push_back(column_at(field));
  }
  return layout;
}

void TimeSteps::Add(double seconds) {
  const std::optional<double> last = std::exchange(last_, seconds);
  if (!last) return;
  const double step = seconds - *last;
  if (usual_ > 0) return AddIfUsual(sum_, step, usual_);
  if (step > 0) first_steps_.push_back(step);
  if (first_steps_.size() < kStepsForUsual) return;
  usual_ = UsualStep();
  for (const double first : first_steps_) AddIfUsual(sum_, first, usual_);
}

std::optional<double> TimeSteps::Rate() const {
  Sum sum = sum_;
  if (usual_ == 0 && !first_steps_.empty()) {
    const double usual = UsualStep();
    for (const double step : first_steps_) AddIfUsual(sum, step, usual);
  }
  if (sum.steps == 0) return std::nullopt;
  const double rate = sum.steps / sum.seconds;
  const double whole = std::round(rate);
  return std::abs(rate - whole) < 1e-5 * rate ? whole : rate;
}

double TimeSteps::UsualStep() const {
  std::vector<double> steps = first_steps_;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::ranges::nth_element(steps, middle);
  return *middle;
}

void TimeSteps::AddIfUsual(Sum& sum, double step, double usual) {
  if (step <= 0 || step > kLongStep * usual) return;
  sum.seconds += step;
  ++sum.steps;
}

}  // namespace vantoscope
