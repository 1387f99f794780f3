// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_times.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "sources/recording/csv_numbers.h"
#include "text/characters.h"

namespace vantoscope {
namespace {

constexpr std::size_t kStepsForUsual = 1000;
constexpr std::size_t kStepsLookedAt = 65536;
constexpr double kManyRepeats = 0.1;
constexpr double kLongStep = 3;    // times the usual one
constexpr double kEvenStep = 2.1;  // times the median one, where some times repeat
constexpr double kLostLine = 1.5;  // times the median one
constexpr double kJitter = 1.5;    // times the mean one
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kDay = 86400;
constexpr double kLeastRate = 1e-9;
constexpr double kGreatestRate = 1e9;

struct Digits {
  int number = 0;
  std::size_t count = 0;
};

/// Takes the digits at the front, at most `most` of them.
std::optional<Digits> TakeDigits(std::string_view& text, std::size_t most) {
  Digits digits;
  while (digits.count < text.size() && IsDigit(text[digits.count])) ++digits.count;
  if (digits.count == 0 || digits.count > most) return std::nullopt;
  std::from_chars(text.data(), text.data() + digits.count, digits.number);
  text.remove_prefix(digits.count);
  return digits;
}

bool TakeOne(std::string_view& text, std::string_view any_of) {
  if (text.empty() || any_of.find(text.front()) == any_of.npos) return false;
  text.remove_prefix(1);
  return true;
}

void TakeBlanks(std::string_view& text) {
  while (TakeOne(text, " ")) continue;
}

/// Days from 1970-01-01 in the Gregorian calendar.
std::optional<double> DaysOf(int year, int month, int day) {
  if (year < 100) year += year < 70 ? 2000 : 1900;
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  return static_cast<double>(std::chrono::sys_days(date).time_since_epoch().count());
}

struct DateParts {
  std::array<Digits, 3> parts;
  char separator = '\0';
};

std::optional<DateParts> TakeDateParts(std::string_view& text) {
  DateParts date;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto digits = TakeDigits(text, 4);
    if (!digits) return std::nullopt;
    date.parts[i] = *digits;
    if (i == 2) break;
    if (i == 0 && !text.empty()) date.separator = text.front();
    if (!TakeOne(text, i == 0 ? std::string_view("-/.") : std::string_view(&date.separator, 1))) {
      return std::nullopt;
    }
  }
  return date;
}

/// Takes a date at the front.
std::optional<double> TakeDate(std::string_view& text, DateOrder order) {
  if (text.size() >= 9 && (text[8] == 'T' || text[8] == 't')) {
    std::string_view rest = text;
    const auto digits = TakeDigits(rest, 8);
    if (!digits || digits->count != 8) return std::nullopt;
    text = rest;
    return DaysOf(digits->number / 10000, digits->number / 100 % 100, digits->number % 100);
  }
  std::string_view rest = text;
  const auto date = TakeDateParts(rest);
  if (!date) return std::nullopt;
  const auto& [first, second, third] = date->parts;
  text = rest;
  if (first.count == 4) return DaysOf(first.number, second.number, third.number);
  if (first.count > 2 || second.count > 2 || third.count == 3 || third.count == 1) {
    return std::nullopt;
  }
  const bool day_first = date->separator == '.' || order == DateOrder::kDayFirst;
  return day_first ? DaysOf(third.number, second.number, first.number)
                   : DaysOf(third.number, first.number, second.number);
}

/// `.25`, `,25` or `:25` at the front, in units of the digits before it; 0 without one.
std::optional<double> TakeFraction(std::string_view& text) {
  if (!TakeOne(text, ".,:")) return 0;
  std::size_t count = 0;
  double fraction = 0;
  double scale = 1;
  for (; count < text.size() && IsDigit(text[count]); ++count) {
    fraction = fraction * 10 + (text[count] - '0');
    scale *= 10;
  }
  text.remove_prefix(count);
  if (count > 15) return std::nullopt;
  return fraction / scale;
}

/// Hours from 0 to 23 of a clock with AM and PM.
std::optional<int> TakeHalfOfDay(std::string_view& text, int hours) {
  TakeBlanks(text);
  const std::string_view half = text.substr(0, 2);
  const bool afternoon = SameIgnoringCase(half, "PM");
  if (!afternoon && !SameIgnoringCase(half, "AM")) return hours;
  text.remove_prefix(2);
  if (hours < 1 || hours > 12) return std::nullopt;
  return hours % 12 + (afternoon ? 12 : 0);
}

/// Takes a clock time at the front.
std::optional<double> TakeClock(std::string_view& text) {
  const auto first = TakeDigits(text, 6);
  if (!first) return std::nullopt;
  if (first->count == 6) {  // of the compact form
    const auto fraction = TakeFraction(text);
    if (!fraction) return std::nullopt;
    const auto hours = first->number / 10000;
    const auto minutes = first->number / 100 % 100;
    return hours * 3600 + minutes * 60 + first->number % 100 + *fraction;
  }
  if (first->count > 4 || !TakeOne(text, ":")) return std::nullopt;
  const auto second = TakeDigits(text, 2);
  if (!second || second->number > 59) return std::nullopt;
  Digits third;
  const bool has_seconds = TakeOne(text, ":");
  if (has_seconds) {
    const auto digits = TakeDigits(text, 2);
    if (!digits || digits->number > 60) return std::nullopt;
    third = *digits;
  }
  const bool has_fraction = text.starts_with('.') || text.starts_with(',') || text.starts_with(':');
  const auto fraction = TakeFraction(text);
  if (!fraction) return std::nullopt;
  if (!has_seconds && has_fraction) return first->number * 60 + second->number + *fraction;
  const auto hours = TakeHalfOfDay(text, first->number);
  if (!hours) return std::nullopt;
  return *hours * 3600.0 + second->number * 60 + third.number + *fraction;
}

/// Takes `Z`, `+01:00`, `+0100`, `+01` or a name such as UTC; seconds east of Greenwich.
std::optional<double> TakeZone(std::string_view& text) {
  TakeBlanks(text);
  if (text.size() <= 5 && std::ranges::all_of(text, IsCapital)) {
    text = {};
    return 0;
  }
  if (SameIgnoringCase(text, "z")) text = {};
  const bool west = text.starts_with('-');
  if (!TakeOne(text, "+-")) return 0;
  const auto hours = TakeDigits(text, 4);
  if (!hours) return std::nullopt;
  Digits minutes;
  if (hours->count <= 2 && TakeOne(text, ":")) {
    const auto digits = TakeDigits(text, 2);
    if (!digits) return std::nullopt;
    minutes = *digits;
  }
  const int whole = hours->count > 2 ? hours->number / 100 * 60 + hours->number % 100
                                     : hours->number * 60 + minutes.number;
  return (west ? -60.0 : 60.0) * whole;
}

/// Nothing for a rate that no recorder has.
std::optional<double> RateOf(double step) {
  const double rate = 1 / step;
  if (!(rate >= kLeastRate && rate <= kGreatestRate)) return std::nullopt;
  const double whole = std::round(rate);
  return std::abs(rate - whole) < 1e-5 * rate ? whole : rate;
}

/// The median of the ones above 0; 0 when there are none.
double UsualStep(std::vector<double> steps) {
  std::erase_if(steps, [](double step) { return !(step > 0); });
  if (steps.empty()) return 0;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>((steps.size() - 1) / 2);
  std::ranges::nth_element(steps, middle);
  return *middle;
}

/// The usual step of the times, from no more of them than it takes.
double UsualStepOf(const std::vector<double>& seconds) {
  const std::size_t stride = seconds.size() / kStepsLookedAt + 1;
  std::vector<double> steps;
  for (std::size_t i = 1; i < seconds.size(); i += stride) {
    steps.push_back(seconds[i] - seconds[i - 1]);
  }
  return UsualStep(std::move(steps));
}

/// A time that is not there lies one step behind the one before.
void FillIn(std::vector<double>& seconds, double usual) {
  std::size_t next = 0;
  for (std::size_t i = 0; i < seconds.size(); ++i) {
    if (!std::isnan(seconds[i])) continue;
    for (next = std::max(next, i); next < seconds.size() && std::isnan(seconds[next]);) ++next;
    double limit = kInfinity;
    if (next < seconds.size()) limit = seconds[next];
    const double before = i > 0 ? seconds[i - 1] : limit - usual;
    seconds[i] = i > 0 && before <= limit ? std::min(before + usual, limit) : before;
  }
}

/// Whether limited digits and a little jitter explain how the times differ from even steps.
bool AreEven(const std::vector<double>& seconds, double mean, const Timeline& timeline) {
  for (std::size_t i = 1; i < seconds.size(); ++i) {
    const double even = seconds[0] + static_cast<double>(i) * mean;
    if (std::abs(seconds[i] - even) > timeline.jitter) return false;
    if (seconds[i] - seconds[i - 1] > timeline.longest) return false;
  }
  return true;
}

}  // namespace

std::optional<FieldTime> ReadTime(std::string_view field, DateOrder order) {
  std::string_view text = TrimmedField(field);
  if (text.size() < 4 || !IsDigit(text[0])) return std::nullopt;
  FieldTime time;
  if (const std::size_t mark = text.find_first_not_of("0123456789");
      mark == text.npos || text[mark] != ':') {
    const auto days = TakeDate(text, order);
    if (!days) return std::nullopt;
    time = {.days = *days, .seconds = 0, .has_date = true, .has_clock = false};
    if (text.empty()) return time;
    if (!TakeOne(text, "Tt ,_")) return std::nullopt;
    TakeBlanks(text);
  }
  const auto clock = TakeClock(text);
  const auto zone = clock ? TakeZone(text) : std::nullopt;
  if (!zone || !text.empty()) return std::nullopt;
  time.seconds = *clock - *zone;
  time.has_clock = true;
  return time;
}

DateOrder OrderOfDates(const std::vector<std::string_view>& fields) {
  const auto seconds_in = [&](DateOrder order) {
    double low = 0;
    double high = -1;
    std::size_t impossible = 0;
    for (const std::string_view field : fields) {
      const auto time = ReadTime(field, order);
      if (!time) {
        ++impossible;
        continue;
      }
      const double seconds = SecondsSince1970(*time);
      if (high < low) low = high = seconds;
      low = std::min(low, seconds);
      high = std::max(high, seconds);
    }
    return std::pair(impossible, high - low);
  };
  return seconds_in(DateOrder::kDayFirst) < seconds_in(DateOrder::kMonthFirst)
             ? DateOrder::kDayFirst
             : DateOrder::kMonthFirst;
}

double SecondsSince1970(const FieldTime& time) { return time.days * kDay + time.seconds; }

bool IsSince1970(double number) {
  const double seconds = number * SecondsPerUnit(number, false);
  return seconds > 9.46e8 && seconds < 4.1e9;
}

double SecondsPerUnit(double first, bool are_days) {
  if (are_days) return kDay;
  if (first >= 1e17) return 1e-9;
  if (first >= 1e14) return 1e-6;
  return first >= 1e11 ? 1e-3 : 1;
}

void TimeSteps::Add(double seconds) {
  const std::optional<double> last = std::exchange(last_, seconds);
  if (!last) return;
  const double step = seconds - *last;
  if (usual_ > 0) return AddIfUsual(sum_, step, usual_);
  if (step >= 0) first_steps_.push_back(step);
  if (first_steps_.size() < kStepsForUsual) return;
  usual_ = UsualStep(first_steps_);
  const std::vector<double> steps = std::exchange(first_steps_, {});
  if (usual_ == 0) return;
  for (const double first : steps) AddIfUsual(sum_, first, usual_);
}

std::optional<double> TimeSteps::Rate() const {
  Sum sum = sum_;
  if (usual_ == 0) {
    const double usual = UsualStep(first_steps_);
    for (const double step : first_steps_) AddIfUsual(sum, step, usual);
  }
  if (!(sum.seconds > 0)) return std::nullopt;
  const bool coarse = sum.repeats > kManyRepeats * sum.steps;
  return RateOf(sum.seconds / (sum.steps + (coarse ? sum.repeats : 0)));
}

void TimeSteps::AddIfUsual(Sum& sum, double step, double usual) {
  if (step < 0 || step > kLongStep * usual) return;
  sum.seconds += step;
  ++(step > 0 ? sum.steps : sum.repeats);
}

Timeline TimelineOf(std::vector<double> seconds) {
  const double usual = UsualStepOf(seconds);
  FillIn(seconds, usual);
  Timeline timeline;
  timeline.step = usual;
  bool coarse = false;
  for (std::size_t i = 1; i < seconds.size() && !timeline.backwards; ++i) {
    if (seconds[i] < seconds[i - 1]) timeline.backwards = i;
    coarse = coarse || seconds[i] == seconds[i - 1];
  }
  if (usual == 0 || timeline.backwards) return timeline;

  const double first = seconds.front();
  const double mean = (seconds.back() - first) / static_cast<double>(seconds.size() - 1);
  timeline.longest = (coarse ? kEvenStep : kLostLine) * usual;
  timeline.jitter = std::max(kJitter * mean, coarse ? usual : 0);
  if (AreEven(seconds, mean, timeline)) {
    timeline.rate = RateOf(mean);
    return timeline;
  }
  timeline.rate = RateOf(usual);
  for (double& time : seconds) time -= first;
  timeline.times = std::move(seconds);
  return timeline;
}

}  // namespace vantoscope
