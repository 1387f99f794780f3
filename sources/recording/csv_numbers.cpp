// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "text/characters.h"
#include "text/numbers.h"

namespace vantoscope {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kLongestUnit = 16;
constexpr std::string_view kMinus = "\xE2\x88\x92";        // U+2212
constexpr std::string_view kNoBreakSpace = "\xC2\xA0";     // U+00A0
constexpr std::string_view kNarrowSpace = "\xE2\x80\xAF";  // U+202F
constexpr std::string_view kThinSpace = "\xE2\x80\x89";    // U+2009
constexpr std::string_view kCurlyApostrophe = "\xE2\x80\x99";

constexpr std::array<std::string_view, 15> kOverRange{
    "OL",       "O.L",  ".OL", "OVERLOAD", "OVLD", "OVLD.",    "OVER",        "OVERRANGE",
    "OVERFLOW", "OVFL", "OVF", "1.#INF",   "INF",  "INFINITY", "\xE2\x88\x9E"};
constexpr std::array<std::string_view, 26> kMissing{
    "NAN",   "NA",      "N/A",   "#N/A",   "#NA",    "#NV",     "N.A.",  "NULL",    "NONE",
    "NIL",   "MISSING", "-",     "--",     "---",    "----",    "-----", "#DIV/0!", "#VALUE!",
    "#REF!", "#NAME?",  "#NUM!", "#NULL!", "1.#IND", "1.#QNAN", "?",     "*"};

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Removes it from the front if it stands there.
bool Take(std::string_view& text, std::string_view front) {
  if (!text.starts_with(front)) return false;
  text.remove_prefix(front.size());
  return true;
}

/// Whether a sign was there, and which.
double TakeSign(std::string_view& text) {
  double sign = 1;
  if (Take(text, "-") || Take(text, kMinus)) {
    sign = -1;
  } else if (!Take(text, "+")) {
    return sign;
  }
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return sign;
}

std::optional<double> NumberOfWord(std::string_view field) {
  const auto is = [](std::string_view text) {
    return [text](std::string_view word) { return SameIgnoringCase(text, word); };
  };
  if (field.size() > 12) return std::nullopt;
  if (std::ranges::any_of(kMissing, is(field))) return kNan;
  const double sign = TakeSign(field);
  if (std::ranges::any_of(kOverRange, is(field))) return sign * kInfinity;
  if (std::ranges::any_of(kMissing, is(field))) return kNan;
  return std::nullopt;
}

bool IsPrintedWord(std::string_view field) {
  TakeSign(field);
  return SameIgnoringCase(field, "nan") || SameIgnoringCase(field, "inf") ||
         SameIgnoringCase(field, "infinity");
}

std::size_t DigitsAtFront(std::string_view text) {
  return std::min(text.size(),
                  static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin()));
}

/// The group separator at the front of a text whose three digits follow it.
std::string_view GroupSeparator(std::string_view text) {
  for (const std::string_view separator :
       {std::string_view(" "), std::string_view("'"), std::string_view("."), std::string_view(","),
        kNoBreakSpace, kNarrowSpace, kThinSpace, kCurlyApostrophe}) {
    if (text.starts_with(separator) && DigitsAtFront(text.substr(separator.size())) == 3) {
      return separator;
    }
  }
  return {};
}

/// Digits with thousands separators between them, a mark, digits.
struct Mantissa {
  std::string_view group;  ///< empty without one
  char mark = '\0';        ///< . or ,
  std::string digits;      ///< without separators, with a point
  std::string_view rest;   ///< behind it
};

Mantissa SplitMantissa(std::string_view text) {
  Mantissa mantissa;
  const auto take_digits = [&] {
    const std::size_t count = DigitsAtFront(text);
    mantissa.digits += text.substr(0, count);
    text.remove_prefix(count);
    return count;
  };
  const std::size_t first = take_digits();
  if (first >= 1 && first <= 3 && mantissa.digits != "0") {
    mantissa.group = GroupSeparator(text);
    while (!mantissa.group.empty() && GroupSeparator(text) == mantissa.group) {
      text.remove_prefix(mantissa.group.size());
      take_digits();
    }
  }
  if (!text.empty() && (text[0] == '.' || text[0] == ',') &&
      (mantissa.group.empty() || mantissa.group[0] != text[0])) {
    mantissa.mark = text[0];
    mantissa.digits += '.';
    text.remove_prefix(1);
    take_digits();
  }
  mantissa.rest = text;
  return mantissa;
}

/// A single mark with three digits behind it is either of two things: then the style tells.
bool IsOneMark(const Mantissa& mantissa) {
  const auto marks = std::ranges::count(mantissa.digits, '.');
  return marks == 0 && (mantissa.group == "." || mantissa.group == ",");
}

/// Whether the file's style allows for the marks; a mark that is no group after all becomes the
/// decimal one.
bool Settle(Mantissa& mantissa, NumberStyle style) {
  if (mantissa.mark == ',' && !style.decimal_comma) return false;
  if (!IsOneMark(mantissa) || mantissa.group[0] == style.group) return true;
  const bool one_group = mantissa.digits.size() <= 6;
  if (!one_group) return true;
  if (mantissa.group == "," && !style.decimal_comma) return false;
  mantissa.digits.insert(mantissa.digits.size() - 3, ".");
  return true;
}

std::string TakeExponent(std::string_view& text) {
  if (text.size() < 2 || (Lower(text[0]) != 'e' && Lower(text[0]) != 'd')) return {};
  const std::size_t sign = text[1] == '+' || text[1] == '-' ? 1 : 0;
  const std::size_t digits = DigitsAtFront(text.substr(1 + sign));
  if (digits == 0) return {};
  const std::string_view taken =
      text.substr(1 + (text[1] == '+' ? 1 : 0), digits + (text[1] == '-' ? 1 : 0));
  text.remove_prefix(1 + sign + digits);
  return "e" + std::string(taken);
}

/// Letters, with a power at the end at most, and the signs that stand in units.
bool IsUnit(std::string_view text) {
  if (text.empty() || text.size() > kLongestUnit) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool is_sign = std::string_view("%/*^").find(c) != std::string_view::npos;
    const bool is_power = i > 0 && (c == '2' || c == '3') &&
                          (i + 1 == text.size() || text[i + 1] == '/' || text[i + 1] == '*');
    if (!IsLetter(c) && static_cast<unsigned char>(c) < 0x80 && !is_sign && !is_power) return false;
  }
  return true;
}

double ValueOfDecimal(const std::string& decimal) {
  double value = 0;
  const auto [end, error] = std::from_chars(decimal.data(), decimal.data() + decimal.size(), value);
  if (error == std::errc::result_out_of_range) return OverflowsDouble(decimal) ? kInfinity : 0;
  return value;
}

std::optional<FieldNumber> ReadSpelledNumber(std::string_view field, NumberStyle style) {
  if (const auto number = NumberOfWord(field)) return FieldNumber{.value = *number, .unit = {}};
  const double sign = TakeSign(field);
  Mantissa mantissa = SplitMantissa(field);
  if (mantissa.digits.empty() || mantissa.digits == "." || !Settle(mantissa, style)) {
    return std::nullopt;
  }
  std::string_view rest = mantissa.rest;
  const std::string exponent = TakeExponent(rest);
  const std::string_view unit = TrimmedField(rest);
  if (!unit.empty() && !IsUnit(unit)) return std::nullopt;
  return FieldNumber{.value = sign * ValueOfDecimal(mantissa.digits + exponent), .unit = unit};
}

/// A unit as an SI prefix and one of the units that come with prefixes.
struct PrefixedUnit {
  double factor = 1;
  std::string_view base;
};

std::optional<PrefixedUnit> SplitPrefix(std::string_view unit) {
  static constexpr std::array<std::string_view, 20> kBases{
      "V", "A",  "W", "Hz", "Ohm", "ohm", "Ohms", "\xCE\xA9", "\xE2\x84\xA6", "F",
      "H", "Pa", "s", "g",  "N",   "J",   "VA",   "Wh",       "bar",          "m"};
  static constexpr std::array<std::pair<std::string_view, double>, 11> kPrefixes{{
      {"", 1},
      {"p", 1e-12},
      {"n", 1e-9},
      {"u", 1e-6},
      {"\xC2\xB5", 1e-6},  // the micro sign
      {"\xCE\xBC", 1e-6},  // the Greek letter
      {"m", 1e-3},
      {"k", 1e3},
      {"K", 1e3},
      {"M", 1e6},
      {"G", 1e9},
  }};
  for (const auto& [prefix, factor] : kPrefixes) {
    if (!unit.starts_with(prefix)) continue;
    const auto base = std::ranges::find(kBases, unit.substr(prefix.size()));
    if (base != kBases.end()) return PrefixedUnit{.factor = factor, .base = *base};
  }
  return std::nullopt;
}

}  // namespace

std::string_view TrimmedField(std::string_view field) {
  while (!field.empty() && IsBlank(field.front())) field.remove_prefix(1);
  while (!field.empty() && IsBlank(field.back())) field.remove_suffix(1);
  if (!field.starts_with(kNoBreakSpace) && !field.ends_with(kNoBreakSpace)) return field;
  while (Take(field, kNoBreakSpace)) continue;
  while (field.ends_with(kNoBreakSpace)) field.remove_suffix(kNoBreakSpace.size());
  return TrimmedField(field);
}

std::optional<double> PlainNumber(std::string_view field, NumberStyle style) {
  if (field.starts_with('+')) field.remove_prefix(1);
  const std::size_t first = field.starts_with('-') ? 1 : 0;
  if (first >= field.size() || (!IsDigit(field[first]) && field[first] != '.')) return std::nullopt;
  double value = 0;
  const char* const end = field.data() + field.size();
  const auto [stop, error] = std::from_chars(field.data(), end, value);
  if (error != std::errc{} || stop != end) return std::nullopt;
  if (style.group == '.' && field.find('.') != field.npos) return std::nullopt;
  return value;
}

std::optional<FieldNumber> ReadNumber(std::string_view field, NumberStyle style) {
  field = TrimmedField(field);
  if (field.empty()) return std::nullopt;
  if (const auto number = PlainNumber(field, style)) {
    return FieldNumber{.value = *number, .unit = {}};
  }
  return ReadSpelledNumber(field, style);
}

std::optional<double> UnitFactor(std::string_view from, std::string_view to) {
  if (from == to) return 1;
  const auto one = SplitPrefix(from);
  const auto other = SplitPrefix(to);
  if (!one || !other || one->base != other->base) return std::nullopt;
  return one->factor / other->factor;
}

std::optional<double> NumberIn(const FieldNumber& number, std::string_view unit) {
  if (number.unit.empty()) return number.value;
  if (unit.empty()) return std::nullopt;
  const auto factor = UnitFactor(number.unit, unit);
  if (!factor) return std::nullopt;
  // A quotient by a whole number is rounded once, as the decimal text would be.
  return *factor < 1 ? number.value / std::round(1 / *factor) : number.value * *factor;
}

int NumberEvidence(std::string_view field, NumberStyle style) {
  const auto number = ReadNumber(field, style);
  if (!number) return -1;
  return std::isfinite(number->value) || IsPrintedWord(TrimmedField(field)) ? 1 : 0;
}

void NumberStyleVotes::Add(std::string_view field) {
  field = TrimmedField(field);
  if (field.find_first_of(".,") == field.npos) return;
  TakeSign(field);
  const Mantissa mantissa = SplitMantissa(field);
  std::string_view rest = mantissa.rest;
  TakeExponent(rest);
  rest = TrimmedField(rest);
  if (!rest.empty() && !IsUnit(rest)) return;
  comma_decimal_ = comma_decimal_ || mantissa.mark == ',' ||
                   (mantissa.group == "." && mantissa.digits.size() > 6);
  point_decimal_ = point_decimal_ || mantissa.mark == '.' ||
                   (mantissa.group == "," && mantissa.digits.size() > 6);
}

NumberStyle NumberStyleVotes::Style(char separator) const {
  NumberStyle style{.decimal_comma = separator != ',' || comma_decimal_};
  if (comma_decimal_ && !point_decimal_) style.group = '.';
  if (!comma_decimal_ && (point_decimal_ || separator == ',')) style.group = ',';
  return style;
}

}  // namespace vantoscope
