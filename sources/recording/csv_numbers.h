// SPDX-License-Identifier: GPL-3.0-or-later
// What a field of a text file says as a number, however its writer spells it: signs, decimal
// commas, thousands separators, units behind the number, and words for what has no number.
#pragma once

#include <optional>
#include <string_view>

namespace vantoscope {

/// How the numbers of one file are written. Blanks and apostrophes always separate thousands, and a
/// point is always a decimal point, unless it is the group separator and stands as one.
struct NumberStyle {
  bool decimal_comma = false;
  char group = '\0';  ///< a point or a comma that separates thousands

  bool operator==(const NumberStyle&) const = default;
};

struct FieldNumber {
  double value = 0;       ///< nan for a word that says missing, an infinity for over range
  std::string_view unit;  ///< what is written behind the number
};

/// The field without blanks, no-break spaces and control characters around it.
std::string_view TrimmedField(std::string_view field);

/// A number of digits, point, sign and exponent alone, which is what large files hold: the fast
/// part of ReadNumber. Nothing for all others.
std::optional<double> PlainNumber(std::string_view field, NumberStyle style);

/// Nothing for an empty field and for any other text.
std::optional<FieldNumber> ReadNumber(std::string_view field, NumberStyle style);

/// The number in that unit, which a number without one has anyway; the SI prefixes of common
/// units may differ. Nothing when it has another unit, or has one where `unit` is empty.
std::optional<double> NumberIn(const FieldNumber& number, std::string_view unit);

/// What a unit with an SI prefix is in the other one; nothing when they differ in more.
std::optional<double> UnitFactor(std::string_view from, std::string_view to);

/// A number speaks for a column of numbers (1), any other text against it (-1). A word for a
/// missing value says nothing (0), but for the ones that programs print for it as a number.
int NumberEvidence(std::string_view field, NumberStyle style);

/// Finds the style from all fields of a file's first lines, told one by one.
class NumberStyleVotes {
 public:
  void Add(std::string_view field);
  [[nodiscard]] NumberStyle Style(char separator) const;

 private:
  bool comma_decimal_ = false;
  bool point_decimal_ = false;
};

}  // namespace vantoscope
