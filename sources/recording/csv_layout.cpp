// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

#include "sources/device_text.h"
#include "sources/recording/csv_encoding.h"
#include "sources/recording/csv_rows.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

constexpr std::size_t kSampleLines = 400;
constexpr std::size_t kSeparatorLines = 100;

using Line = std::vector<std::string>;
using Lines = std::vector<Line>;

bool IsEmpty(std::string_view field) { return TrimmedField(field).empty(); }
bool IsComment(const Line& line) { return line.empty() || StartsComment(line[0]); }

bool IsNumber(std::string_view field, NumberStyle style) {
  return ReadNumber(field, style).has_value();
}

bool IsTime(std::string_view field) {
  return ReadTime(field, DateOrder::kMonthFirst) || ReadTime(field, DateOrder::kDayFirst);
}

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

/// How many fields most lines have, comments aside.
std::size_t WidthOf(const Lines& lines) {
  std::vector<std::size_t> widths;
  for (const Line& line : lines) {
    if (!IsComment(line)) widths.push_back(line.size());
  }
  return MostCommon(widths);
}

/// How much of the lines a separator leaves readable: the share of readable fields, of the lines of
/// the usual width.
double Readable(std::string_view head, char separator) {
  const Lines lines = CsvFields(head, separator, kSeparatorLines);
  const std::size_t width = WidthOf(lines);
  if (width < 2 && separator != kNoSeparator) return 0;
  const NumberStyle style{.decimal_comma = separator != ','};
  double sum = 0;
  for (const Line& line : lines) {
    if (line.size() != width || IsComment(line)) continue;
    const auto readable = std::ranges::count_if(line, [&](const std::string& field) {
      return IsEmpty(field) || IsNumber(field, style) || IsTime(field);
    });
    const bool all_empty = std::ranges::all_of(line, IsEmpty);
    if (!all_empty) sum += static_cast<double>(readable) / static_cast<double>(width);
  }
  return sum;
}

char FindSeparator(std::string_view head) {
  char best = ',';
  double most = 0;
  for (const char separator : {';', '\t', ',', '|', ' ', kNoSeparator}) {
    const double readable = Readable(head, separator);
    if (readable <= most) continue;
    best = separator;
    most = readable;
  }
  return best;
}

NumberStyle StyleOf(const Lines& lines, char separator) {
  NumberStyleVotes votes;
  for (const Line& line : lines) {
    for (const std::string& field : line) votes.Add(field);
  }
  return votes.Style(separator);
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
          .heading = std::string(header)};
}

/// `m`, `[m]` or `(m)` to the unit.
std::string UnitOf(std::string_view field) {
  Bracketed text = SplitBrackets(field);
  return std::move(text.inside.empty() ? text.before : text.inside);
}

/// Seconds in a unit of time; nothing if it is none.
std::optional<double> SecondsIn(std::string_view unit) {
  static constexpr std::array<std::pair<std::string_view, double>, 18> kUnits{{
      {"s", 1},
      {"sec", 1},
      {"secs", 1},
      {"second", 1},
      {"seconds", 1},
      {"ms", 1e-3},
      {"msec", 1e-3},
      {"milliseconds", 1e-3},
      {"us", 1e-6},
      {"\xC2\xB5s", 1e-6},  // the micro sign
      {"\xCE\xBCs", 1e-6},  // the Greek letter
      {"ns", 1e-9},
      {"min", 60},
      {"minutes", 60},
      {"h", 3600},
      {"hours", 3600},
      {"d", 86400},
      {"days", 86400},
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
  for (const std::string_view word :
       {"s", "sec", "seconds", "ms", "elapsed", "zeit", "datum", "uhrzeit", "epoch"}) {
    if (SameIgnoringCase(name, word)) return true;
  }
  for (const std::string_view word : {"time", "date", "elapsed "}) {
    if (SameIgnoringCase(name.substr(0, word.size()), word)) return true;
  }
  return false;
}

/// A unit as it stands in a line of units.
bool LooksLikeUnit(std::string_view field) {
  const std::string_view text = TrimmedField(field);
  if (text.empty() || text.size() > 12) return false;
  const bool bracketed =
      (text.front() == '[' && text.back() == ']') || (text.front() == '(' && text.back() == ')');
  const bool has_sign = text.find_first_of("/%^") != text.npos ||
                        std::ranges::any_of(text, [](char c) { return (c & 0x80) != 0; });
  static constexpr std::array<std::string_view, 24> kUnits{
      "W", "kW", "MW", "VA", "K", "C", "F", "g",   "kg",  "N",   "Nm", "J",
      "m", "mm", "cm", "km", "l", "L", "T", "rpm", "ppm", "deg", "dB", "psi"};
  return bracketed || has_sign || SecondsIn(text) || std::ranges::count(kUnits, text) > 0 ||
         std::ranges::any_of(std::array{"V", "A", "Hz", "Pa", "Ohm", "bar"},
                             [&](const char* unit) { return UnitFactor(text, unit).has_value(); });
}

/// What the numbers of a column say for it, from line `from` on.
bool IsNumeric(const Lines& lines, std::size_t field, std::size_t from, NumberStyle style) {
  std::ptrdiff_t balance = 0;
  bool any = false;
  for (std::size_t i = from; i < lines.size(); ++i) {
    if (field >= lines[i].size() || IsComment(lines[i]) || IsEmpty(lines[i][field])) continue;
    const int says = NumberEvidence(lines[i][field], style);
    balance += says;
    any = any || says > 0;
  }
  return any && balance >= 0;
}

/// The filled fields of a column, from line `from` on.
std::vector<std::string_view> Filled(const Lines& lines, std::size_t field, std::size_t from) {
  std::vector<std::string_view> fields;
  for (std::size_t i = from; i < lines.size(); ++i) {
    if (field >= lines[i].size() || IsComment(lines[i]) || IsEmpty(lines[i][field])) continue;
    fields.push_back(lines[i][field]);
  }
  return fields;
}

/// What a column of times holds, in most of its fields.
enum class TimeKind { kNone, kDates, kClock, kBoth };

TimeKind TimeKindOf(const std::vector<std::string_view>& fields) {
  std::array<std::size_t, 4> counts{};
  for (const std::string_view field : fields) {
    auto time = ReadTime(field, DateOrder::kMonthFirst);
    if (!time) time = ReadTime(field, DateOrder::kDayFirst);
    const std::size_t kind = !time ? 0 : !time->has_date ? 2 : !time->has_clock ? 1 : 3;
    ++counts[kind];
  }
  const auto most = std::ranges::max_element(counts);
  return fields.empty() ? TimeKind::kNone : static_cast<TimeKind>(most - counts.begin());
}

/// Whether numbers rise from line to line, and whether they do so in even steps.
struct Rise {
  bool rises = true;
  bool even = true;
};

Rise RiseOf(const std::vector<double>& numbers) {
  std::vector<double> steps;
  for (std::size_t i = 1; i < numbers.size(); ++i) steps.push_back(numbers[i] - numbers[i - 1]);
  if (steps.size() < 2) return {.rises = !steps.empty() && steps[0] > 0, .even = false};
  const auto [least, greatest] = std::ranges::minmax_element(steps);
  return {.rises = *least > 0, .even = *least > 0 && *greatest < 1.5 * *least};
}

/// One sight of the first lines, step by step.
class Finder {
 public:
  Finder(std::string_view head, std::optional<DateOrder> order) : order_(order) {
    layout_.separator = FindSeparator(head);
    lines_ = CsvFields(head, layout_.separator, kSampleLines);
    width_ = WidthOf(lines_);
    layout_.style = StyleOf(lines_, layout_.separator);
  }

  CsvLayout Find() {
    if (width_ == 0) return layout_;
    FindStart();
    FindHeader();
    layout_.lines_to_skip = start_;
    FindTimes();
    for (const std::size_t field : numeric_) {
      if (IsOfTimes(field) || (field == 0 && AreRowNames())) continue;
      layout_.columns.push_back(ColumnAt(field));
      FindUnitInFields(layout_.columns.back());
    }
    return layout_;
  }

 private:
  [[nodiscard]] bool IsFull(const Line& line) const {
    return line.size() == width_ && !IsComment(line);
  }
  void FindNumeric(std::size_t from) {
    numeric_.clear();
    for (std::size_t field = 0; field < width_; ++field) {
      if (IsNumeric(lines_, field, from, layout_.style)) numeric_.push_back(field);
    }
    first_kind_ = TimeKindOf(Filled(lines_, 0, from));
  }
  /// The first line of numbers, by what the second half of the lines holds.
  void FindStart() {
    std::vector<std::size_t> full;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      if (IsFull(lines_[i])) full.push_back(i);
    }
    FindNumeric(full[full.size() / 2]);
    const auto begins = [&](std::size_t line) {
      return !HasWords(lines_[line]) && 2 * FilledNumbers(lines_[line]) >= numeric_.size();
    };
    auto first = std::ranges::find_if(full, begins);
    if (first == full.end()) first = full.begin();
    start_ = *first;
    FindNumeric(start_);
  }
  [[nodiscard]] std::size_t FilledNumbers(const Line& line) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        numeric_, [&](std::size_t field) { return field < line.size() && !IsEmpty(line[field]); }));
  }
  /// Whether the line has words where numbers or times should be.
  [[nodiscard]] bool HasWords(const Line& line) const {
    const bool words = std::ranges::any_of(numeric_, [&](std::size_t field) {
      return field < line.size() && !IsEmpty(line[field]) && !IsNumber(line[field], layout_.style);
    });
    return words || (first_kind_ != TimeKind::kNone && !IsEmpty(line[0]) && !IsTime(line[0]));
  }
  /// The line as a header that stands right before the table; empty if it is none.
  [[nodiscard]] Line HeaderOf(Line line) const {
    if (IsComment(line) && !line.empty()) {
      line[0].erase(0, line[0].starts_with("//") ? 2 : 1);
      if (IsEmpty(line[0]) && line.size() == width_ + 1) line.erase(line.begin());
      if (line.size() != width_ || line[0].find(':') != std::string::npos) return {};
    }
    const bool has_row_names = line.size() + 1 == width_ && width_ > 1 && NamesNoRow(line);
    if (has_row_names) line.insert(line.begin(), "");
    if (line.size() + 1 == width_ && Filled(lines_, width_ - 1, start_).empty())
      line.emplace_back();
    if (line.size() > width_) line.resize(width_);  // lines may lack their last fields
    if (line.size() != width_ || !HasWords(line)) return {};
    return 2 * FilledNumbers(line) >= numeric_.size() ? line : Line{};
  }
  /// A header as R writes it has a name for every column but the first, which names the lines.
  [[nodiscard]] bool NamesNoRow(const Line& line) const {
    const bool last_is_filled = !Filled(lines_, width_ - 1, start_).empty();
    return last_is_filled && (!IsNumeric(lines_, 0, start_, layout_.style) || CountsLines()) &&
           std::ranges::none_of(line, IsEmpty);
  }
  [[nodiscard]] bool CountsLines() const {
    const std::vector<double> numbers = NumbersOfFirst();
    if (numbers.size() < 2 || (numbers[0] != 0 && numbers[0] != 1)) return false;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      if (numbers[i] != numbers[0] + static_cast<double>(i)) return false;
    }
    return true;
  }
  [[nodiscard]] bool AreRowNames() const {
    return !header_.empty() && width_ > 1 && IsEmpty(header_[0]) && CountsLines();
  }
  void FindHeader() {
    if (start_ == 0) return;
    const Line& before = lines_[start_ - 1];
    const Line ahead = start_ > 1 ? HeaderOf(lines_[start_ - 2]) : Line{};
    if (!ahead.empty() && before.size() == width_ && AreUnits(before)) {
      header_ = ahead;
      units_ = before;
    } else {
      header_ = HeaderOf(before);
    }
  }
  [[nodiscard]] bool AreUnits(const Line& line) const {
    std::size_t units = 0;
    std::size_t others = 0;
    for (const std::size_t field : numeric_) {
      if (field >= line.size() || IsEmpty(line[field])) continue;
      if (IsNumber(line[field], layout_.style)) return false;
      ++(LooksLikeUnit(line[field]) ? units : others);
    }
    return units > others;
  }
  [[nodiscard]] CsvColumn ColumnAt(std::size_t field) const {
    CsvColumn column = NamedColumn(field, header_.empty() ? "" : header_[field]);
    if (!units_.empty() && !IsEmpty(units_[field])) column.unit = UnitOf(units_[field]);
    return column;
  }
  /// The unit of the header, if the ones in the fields differ from it in their prefixes only, or
  /// the first one in a field.
  void FindUnitInFields(CsvColumn& column) const {
    for (const std::string_view field : Filled(lines_, column.field, start_)) {
      const auto number = ReadNumber(field, layout_.style);
      if (!number || number->unit.empty()) continue;
      column.in_fields = UnitFactor(number->unit, column.unit) ? column.unit : number->unit;
      break;
    }
    if (column.unit.empty()) column.unit = ToUtf8(column.in_fields);
  }

  [[nodiscard]] std::vector<double> NumbersOfFirst() const {
    std::vector<double> numbers;
    for (const std::string_view field : Filled(lines_, 0, start_)) {
      const auto number = ReadNumber(field, layout_.style);
      if (number && number->unit.empty() && std::isfinite(number->value)) {
        numbers.push_back(number->value);
      }
    }
    return numbers;
  }
  [[nodiscard]] bool IsOfTimes(std::size_t field) const {
    return layout_.times && (field == layout_.times->field || field == layout_.times->second_field);
  }
  void FindTimes() {
    std::vector<TimeKind> kinds;
    for (std::size_t field = 0; field < width_; ++field) {
      kinds.push_back(TimeKindOf(Filled(lines_, field, start_)));
    }
    for (std::size_t field = 0; field + 1 < width_; ++field) {
      const auto is = [&](TimeKind one, TimeKind other) {
        return kinds[field] == one && kinds[field + 1] == other;
      };
      if (is(TimeKind::kDates, TimeKind::kClock) || is(TimeKind::kClock, TimeKind::kDates)) {
        return SetTimes({.field = field, .second_field = field + 1});
      }
    }
    if (kinds[0] != TimeKind::kNone) {
      return SetTimes({.field = 0, .are_clock = kinds[0] == TimeKind::kClock});
    }
    const CsvColumn first = ColumnAt(0);
    if (!numeric_.empty() && numeric_[0] == 0) {
      FindNumberTimes(first);
    } else if (NamesTime(first)) {
      const auto fields = Filled(lines_, 0, start_);
      if (!fields.empty()) layout_.unread_time = ToUtf8(fields[0]);
    }
    const auto both = std::ranges::find(kinds, TimeKind::kBoth);
    if (layout_.times || both == kinds.end()) return;
    const auto field = static_cast<std::size_t>(both - kinds.begin());
    const DateOrder order = OrderOf(field);
    const auto fields = Filled(lines_, field, start_);
    const auto earliest = ReadTime(fields.front(), order);
    const auto last = ReadTime(fields.back(), order);
    if (earliest && last && SecondsSince1970(*last) > SecondsSince1970(*earliest))
      SetTimes({.field = field});
  }
  void SetTimes(CsvTimes times) {
    times.order = OrderOf(times.field);
    if (times.second_field && OrderOf(*times.second_field) == DateOrder::kDayFirst) {
      times.order = DateOrder::kDayFirst;
    }
    if (!header_.empty()) times.heading = header_[times.field];
    layout_.unread_time.clear();
    layout_.times = std::move(times);
  }
  [[nodiscard]] DateOrder OrderOf(std::size_t field) const {
    return order_.value_or(OrderOfDates(Filled(lines_, field, start_)));
  }
  void FindNumberTimes(const CsvColumn& first) {
    const std::vector<double> numbers = NumbersOfFirst();
    if (numbers.empty()) return;
    const Rise rise = RiseOf(numbers);
    const auto unit = SecondsIn(first.unit);
    const bool named = NamesTime(first);
    const bool are_times = named || ((unit || IsSince1970(numbers[0])) && rise.rises) ||
                           (header_.empty() && numeric_.size() > 1 && rise.even);
    if (!are_times) return;
    const bool are_days = named && AreSpreadsheetDays(numbers);
    const auto told = unit ? unit : SecondsIn(first.name);
    SetTimes({.field = 0,
              .are_numbers = true,
              .seconds_per_unit = told.value_or(SecondsPerUnit(numbers[0], are_days))});
  }
  /// Days since 1900 in 1970 to 2100, that go on by less than a day and need many decimals.
  [[nodiscard]] bool AreSpreadsheetDays(const std::vector<double>& numbers) const {
    const auto [least, greatest] = std::ranges::minmax_element(numbers);
    if (*least < 25569 || *greatest > 73050) return false;
    const auto fields = Filled(lines_, 0, start_);
    const auto has_decimals = [](std::string_view field) {
      const std::size_t mark = field.find_first_of(".,");
      return mark != field.npos && TrimmedField(field.substr(mark)).size() > 4;
    };
    return 2 * static_cast<std::size_t>(std::ranges::count_if(fields, has_decimals)) >=
           fields.size();
  }

  CsvLayout layout_;
  std::optional<DateOrder> order_;
  Lines lines_;
  std::size_t width_ = 0;
  std::size_t start_ = 0;
  std::vector<std::size_t> numeric_;
  TimeKind first_kind_ = TimeKind::kNone;
  Line header_;
  Line units_;
};

std::string DescriptionOf(const CsvTimes& times) {
  std::string text = times.are_numbers ? "numbers" : times.are_clock ? "clock times" : "dates";
  if (times.are_numbers) text += " of " + ShortestText(times.seconds_per_unit) + " s";
  if (!times.are_numbers && !times.are_clock) {
    if (times.order == DateOrder::kDayFirst) text += " with the day first";
  }
  text += " in field " + std::to_string(times.field + 1);
  if (times.second_field) text += " and " + std::to_string(*times.second_field + 1);
  return text;
}

}  // namespace

CsvLayout FindCsvLayout(std::string_view head, std::optional<DateOrder> order) {
  return Finder(head, order).Find();
}

std::string Description(const CsvLayout& layout) {
  static const std::map<char, std::string_view> kNames{
      {',', "comma"}, {';', "semicolon"}, {'\t', "tab"}, {'|', "bar"}, {' ', "blanks"}};
  const auto name = kNames.find(layout.separator);
  std::string text = "separator " + std::string(name == kNames.end() ? "none" : name->second);
  if (layout.style.decimal_comma) text += ", decimal point or comma";
  text += "; lines ahead of the numbers: " + std::to_string(layout.lines_to_skip);
  text += "; times: " + (layout.times ? DescriptionOf(*layout.times) : "none");
  text += "; columns:";
  for (const CsvColumn& column : layout.columns) {
    text += column.field == layout.columns.front().field ? " " : ", ";
    text += column.name.empty() ? "(no name)" : column.name;
    if (!column.unit.empty()) text += " [" + column.unit + "]";
  }
  return text;
}

}  // namespace vantoscope
