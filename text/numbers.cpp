// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "text/characters.h"

namespace vantoscope {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n'; }

/// Walks over a text and sees no blanks. Past the end it shows the character 0.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : rest_(text) { SkipBlanks(); }

  [[nodiscard]] char Peek() const { return rest_.empty() ? '\0' : rest_.front(); }
  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }
  char Take() {
    const char c = Peek();
    rest_.remove_prefix(1);
    SkipBlanks();
    return c;
  }

 private:
  void SkipBlanks() {
    while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
  }

  std::string_view rest_;
};

struct ReadResult {
  double value = 0;
  bool found = false;  ///< the text opens with a number
  bool whole = false;  ///< and holds nothing behind it
};

int DigitOf(char c, int base) {
  const char upper = Upper(c);
  const int digit = IsDigit(upper) ? upper - '0' : upper >= 'A' ? upper - 'A' + 10 : base;
  return digit < base ? digit : -1;
}

/// Stands behind "&H" or "&O". Digits beyond 32 bits push the upper ones out.
ReadResult ReadBaseInteger(Cursor cursor, int base) {
  ReadResult result;
  std::uint32_t bits = 0;
  for (int digit = 0; !cursor.AtEnd() && (digit = DigitOf(cursor.Peek(), base)) >= 0;) {
    bits = bits * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digit);
    result.found = true;
    cursor.Take();
  }
  const bool wide = cursor.Peek() == '&';
  if (wide) cursor.Take();
  result.value =
      !wide && bits <= 0xFFFF ? static_cast<std::int16_t>(bits) : static_cast<std::int32_t>(bits);
  result.whole = result.found && cursor.AtEnd();
  return result;
}

ReadResult ReadDecimal(Cursor cursor) {
  ReadResult result;
  std::string decimal;  // what was read, in the form that from_chars takes
  const auto take_digits = [&] {
    bool any = false;
    for (; IsDigit(cursor.Peek()); any = true) decimal += cursor.Take();
    return any;
  };

  if (cursor.Peek() == '+' || cursor.Peek() == '-') {
    if (cursor.Take() == '-') decimal += '-';
  }
  result.found = take_digits();
  if (cursor.Peek() == '.') {
    decimal += cursor.Take();
    if (take_digits()) result.found = true;
  }
  if (!result.found) return result;

  if (const char mark = Upper(cursor.Peek()); mark == 'E' || mark == 'D') {
    const Cursor before = cursor;
    const std::size_t length = decimal.size();
    cursor.Take();
    decimal += 'e';
    if (cursor.Peek() == '+' || cursor.Peek() == '-') {
      if (cursor.Take() == '-') decimal += '-';
    }
    if (!take_digits()) {  // the letter opened no exponent: the number ended before it
      cursor = before;
      decimal.resize(length);
    }
  }

  const auto [end, error] =
      std::from_chars(decimal.data(), decimal.data() + decimal.size(), result.value);
  if (error == std::errc::result_out_of_range || !std::isfinite(result.value)) {
    const double magnitude = OverflowsDouble(decimal) ? std::numeric_limits<double>::max() : 0;
    result.value = decimal.front() == '-' ? -magnitude : magnitude;
  }
  result.whole = cursor.AtEnd();
  return result;
}

ReadResult ReadNumber(std::string_view text) {
  Cursor cursor(text);
  if (cursor.Peek() != '&') return ReadDecimal(cursor);
  cursor.Take();
  const char base = Upper(cursor.Peek());
  if (base != 'H' && base != 'O') return {};
  cursor.Take();
  return ReadBaseInteger(cursor, base == 'H' ? 16 : 8);
}

template <typename Integer>
Integer RoundTo(double value) {
  if (std::isnan(value)) return 0;
  constexpr double kLowest = std::numeric_limits<Integer>::min();
  constexpr double kHighest = std::numeric_limits<Integer>::max();
  return static_cast<Integer>(std::clamp(std::nearbyint(value), kLowest, kHighest));
}

}  // namespace

double NumberFromText(std::string_view text) { return ReadNumber(text).value; }

std::optional<double> WholeNumberFromText(std::string_view text) {
  const ReadResult number = ReadNumber(text);
  return number.whole ? std::optional(number.value) : std::nullopt;
}

// By the decimal power of the first digit that is not zero.
bool OverflowsDouble(std::string_view decimal) {
  const std::size_t exponent_at = std::min(decimal.find_first_of("eE"), decimal.size());
  const std::string_view mantissa = decimal.substr(0, exponent_at);
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) return false;
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const auto power = static_cast<long long>(point) - static_cast<long long>(first);

  if (exponent_at == decimal.size()) return power > 0;
  std::string_view digits = decimal.substr(exponent_at + 1);
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  std::int32_t exponent = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec != std::errc{}) {
    return !negative;
  }
  return power + (negative ? -exponent : exponent) > 0;
}

std::string FloatText(float value, std::string_view decimal_sep) {
  if (value == 0) return "0";  // also for the zero that carries a sign
  char digits[32];
  const auto [end, error] =
      std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 7);
  if (!std::isfinite(value)) return {digits, end};
  std::string text;
  for (const char* at = digits; at != end; ++at) {
    if (*at == '.') {
      text += decimal_sep;
    } else {
      text += Upper(*at);
    }
  }
  return text;
}

std::int16_t RoundToInt16(double value) { return RoundTo<std::int16_t>(value); }

std::int32_t RoundToInt32(double value) { return RoundTo<std::int32_t>(value); }

float NarrowToFloat(double value) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  return static_cast<float>(std::clamp(value, -kLargest, kLargest));
}

}  // namespace vantoscope
