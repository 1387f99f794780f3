// SPDX-License-Identifier: GPL-3.0-or-later
// From a number to its text by a picture of `0`, `#` and `.`.
#pragma once

#include <string>
#include <string_view>

namespace vantoscope {

/// The text of `value` by `picture`: the integer part whole, zero-padded to the `0` placeholders
/// before the point; then `decimal_sep` if the picture has a point; then one digit for each `0`
/// and, up to the last digit that is not zero, for each `#`. Rounded from the exact decimal value
/// of the double. An empty picture gives the shortest plain decimal text. Not finite: "nan",
/// "inf", "-inf". Other characters of the picture are written as they stand, before or behind the
/// number.
std::string FormatPicture(double value, std::string_view picture, std::string_view decimal_sep);

}  // namespace vantoscope
