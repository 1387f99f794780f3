// SPDX-License-Identifier: GPL-3.0-or-later
// The text that selects a device: `KKnn`, `KKnn:rest`, `KKnn:rest?option=value&option`. Two capital
// letters are the kind, two digits the model. A blank, a control character and any of % ? & stand
// percent-encoded in rest and options, and an = in an option's name, so that a text never holds a
// blank. What the parts mean, each kind of device tells in its header.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sources/range.h"

namespace vantoscope {

/// Name and value of each, in order of writing; the value of a bare name is empty.
using DeviceOptions = std::vector<std::pair<std::string, std::string>>;

struct DeviceText {
  std::string kind;       ///< two capital letters
  int model = 0;          ///< 0 to 99
  std::string rest;       ///< decoded; empty without one
  DeviceOptions options;  ///< decoded

  bool operator==(const DeviceText&) const = default;
};

/// Whether a text starts like a full form: two letters, two digits, then its end, ':' or '?'.
bool LooksLikeDeviceText(std::string_view text);

/// The parts of a full form; a small letter in the kind counts as its capital. Throws SourceError
/// when the text is no full form or holds a broken percent sequence.
DeviceText ParseDeviceText(std::string_view text);

/// The parts of a device of that kind from `rest?option=value&option`. Throws SourceError on a
/// broken percent sequence.
DeviceText ParseRest(std::string_view kind, int model, std::string_view text);

/// The full form of the parts. ParseDeviceText gives them back.
std::string FullText(const DeviceText& device);

/// Encodes what would break a device text, and each of `more`; everything else stays as it is.
std::string PercentEncoded(std::string_view text, std::string_view more = {});

/// Nothing when a % is not followed by two hexadecimal digits or the result would hold a NUL.
std::optional<std::string> PercentDecoded(std::string_view text);

/// Splits `a=1&b` at `separator`. An empty option counts for nothing.
DeviceOptions SplitOptions(std::string_view text, char separator);

/// The same, percent-decoded. Throws SourceError on a broken percent sequence or an option without
/// a name.
DeviceOptions ParseOptions(std::string_view text, char separator);

/// Removes the option of that name and gives its value (empty for a bare name), or nothing.
std::optional<std::string> TakeOption(DeviceText& device, std::string_view name);

/// Removes the option and gives its value as a number from `low` to `high`. Throws SourceError,
/// with the option and what is allowed, when it is something else.
std::optional<double> TakeNumber(DeviceText& device, std::string_view name, double low,
                                 double high);

/// Removes the option and gives its value `LO..HI`, two numbers with the lower one first. Throws
/// SourceError, with the option and what is allowed, when it is something else.
std::optional<Range> TakeRange(DeviceText& device, std::string_view name);

/// Throws SourceError naming the first option that nobody took, and the `known` ones.
void RefuseOtherOptions(const DeviceText& device, std::string_view known);

/// A whole text as a number, in plain or exponent form with a point, whatever the locale. Blanks
/// around it and one sign are allowed; nothing for anything else, infinity and nan included.
std::optional<double> WholeNumber(std::string_view text);

/// The shortest text that reads back as the same number.
std::string ShortestText(double number);

}  // namespace vantoscope
