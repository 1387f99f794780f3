// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace vantoscope {
namespace {

constexpr std::string_view kPlaceholders = "0#.";
/// Digits of the widest double before the point, a sign and the point.
constexpr std::size_t kWidestInteger = 312;

/// What a picture asks for, and the texts around the number.
struct Picture {
  std::string_view before;
  std::string_view integer;   ///< between the first placeholder and the point
  std::string_view decimals;  ///< behind the first point
  std::string_view after;
  bool has_point = false;
};

Picture Read(std::string_view text) {
  const std::size_t first = text.find_first_of(kPlaceholders);
  if (first == std::string_view::npos) return {text, {}, {}, {}, false};
  const std::size_t last = text.find_last_of(kPlaceholders);
  Picture picture;
  picture.before = text.substr(0, first);
  picture.after = text.substr(last + 1);
  const std::string_view middle = text.substr(first, last - first + 1);
  const std::size_t point = middle.find('.');
  picture.has_point = point != std::string_view::npos;
  picture.integer = middle.substr(0, point);
  if (picture.has_point) picture.decimals = middle.substr(point + 1);
  return picture;
}

bool IsDigitPlace(char c) { return c == '0' || c == '#'; }

/// Decimal text of a finite magnitude, correctly rounded from its exact value. Lies on the stack
/// but for pictures of hundreds of places, so that a tick needs no memory for it.
class FixedText {
 public:
  FixedText(double magnitude, std::size_t decimals) {
    char* begin = small_.data();
    std::size_t size = small_.size();
    if (kWidestInteger + decimals > size) {
      large_.resize(kWidestInteger + decimals);
      begin = large_.data();
      size = large_.size();
    }
    const auto result = std::to_chars(begin, begin + size, magnitude, std::chars_format::fixed,
                                      static_cast<int>(decimals));
    const std::string_view text(begin, static_cast<std::size_t>(result.ptr - begin));
    const std::size_t point = std::min(text.find('.'), text.size());
    integer_ = text.substr(0, point);
    decimals_ = text.substr(std::min(point + 1, text.size()));
  }
  FixedText(const FixedText&) = delete;
  FixedText& operator=(const FixedText&) = delete;
  ~FixedText() = default;

  [[nodiscard]] std::string_view Integer() const { return integer_; }
  [[nodiscard]] std::string_view Decimals() const { return decimals_; }

 private:
  std::array<char, kWidestInteger + 64> small_;  // NOLINT: written before it is read
  std::string large_;
  std::string_view integer_;
  std::string_view decimals_;
};

std::string PlainText(double value, std::string_view decimal_sep) {
  if (value == 0) value = 0;  // no sign on a zero
  std::string text(kWidestInteger + 800, '\0');
  const auto result =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  text.resize(static_cast<std::size_t>(result.ptr - text.data()));
  const std::size_t point = text.find('.');
  if (point != std::string::npos) text.replace(point, 1, decimal_sep);
  return text;
}

void AppendDecimals(std::string& text, std::string_view places, std::string_view digits) {
  const std::size_t significant = digits.find_last_not_of('0') + 1;  // 0 when all are zero
  std::size_t digit = 0;
  for (const char place : places) {
    if (!IsDigitPlace(place)) continue;
    if (place == '0' || digit < significant) text += digits[digit];
    ++digit;
  }
}

std::string Number(double magnitude, const Picture& picture, std::string_view decimal_sep) {
  const auto places = std::count_if(picture.decimals.begin(), picture.decimals.end(), IsDigitPlace);
  const FixedText fixed(magnitude, static_cast<std::size_t>(places));
  const std::string_view integer = fixed.Integer() == "0" ? "" : fixed.Integer();
  const auto zeros =
      static_cast<std::size_t>(std::count(picture.integer.begin(), picture.integer.end(), '0'));
  std::string text(zeros > integer.size() ? zeros - integer.size() : 0, '0');
  text += integer;
  if (picture.has_point) text += decimal_sep;
  AppendDecimals(text, picture.decimals, fixed.Decimals());
  return text;
}

}  // namespace

std::string FormatPicture(double value, std::string_view picture, std::string_view decimal_sep) {
  if (!std::isfinite(value)) {
    const Picture around = Read(picture);
    const char* name = std::isnan(value) ? "nan" : "inf";
    return std::string(value < 0 ? "-" : "") + std::string(around.before) + name +
           std::string(around.after);
  }
  if (picture.empty()) return PlainText(value, decimal_sep);

  const Picture parts = Read(picture);
  std::string text = value < 0 ? "-" : "";
  text += parts.before;
  if (parts.before.size() == picture.size()) return text;  // no place for a digit
  text += Number(std::abs(value), parts, decimal_sep);
  text += parts.after;
  return text;
}

}  // namespace vantoscope
