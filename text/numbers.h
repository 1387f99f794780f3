// SPDX-License-Identifier: GPL-3.0-or-later
// The text forms of numbers in the settings file, on the command line and in the dialog's fields.
// No locale has a say in reading.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantoscope {

/// The number at the front of a text; 0 if there is none. Blanks, tabs and line feeds are skipped,
/// also inside the number. "&H" and "&O" open hexadecimal and octal integers: with a trailing "&"
/// 32 bits wide, without it a value of at most four hexadecimal digits is a signed 16-bit number.
/// Decimal numbers have a point and an exponent behind E or D. Never fails on what follows.
double NumberFromText(std::string_view text);

/// The same of a text that holds a number and nothing else; nothing for any other text.
std::optional<double> WholeNumberFromText(std::string_view text);

/// Of a decimal text that std::from_chars finds out of the range of a double: whether its value is
/// too large, and not too close to 0. The exponent stands behind e or E.
bool OverflowsDouble(std::string_view decimal);

/// A 32-bit float in general form: at most seven significant digits, no trailing zeros, the
/// locale's separator, an exponent such as 1E+10 where the plain form would be long.
std::string FloatText(float value, std::string_view decimal_sep);

/// Nearest whole number, an exact half to the even neighbour; the nearest value of the type where
/// the number lies beyond it. A number that is nan gives 0.
std::int16_t RoundToInt16(double value);
std::int32_t RoundToInt32(double value);
/// Nearest 32-bit float; the largest finite one where the number lies beyond it.
float NarrowToFloat(double value);

}  // namespace vantoscope
