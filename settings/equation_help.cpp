// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/equation_help.h"

#include <algorithm>
#include <optional>

#include "text/picture.h"

namespace vantoscope {
namespace {

/// Values of a block that are fetched to show one number.
constexpr int kLargestBlock = 32767;

std::vector<OfferedChannel> ChannelsOf(
    Meter& meter, const std::function<std::string(std::int16_t)>& name_of) try {
  return OfferedChannels(meter, name_of);
} catch (const SourceError&) {
  return {};  // a dialog without a list of channels is better than none
}

}  // namespace

EquationHelp::EquationHelp(Meter& meter, const std::function<std::string(std::int16_t)>& name_of)
    : check_(meter), channels_(ChannelsOf(meter, name_of)) {}

std::string EquationHelp::ValueNow(const DialogFields& fields) {
  Meter& copy = check_.Copy();
  ApplyDialogFields(fields, copy);
  const int channels = std::max(static_cast<int>(channels_.size()), 1);
  copy.config.WindowSize = std::clamp(copy.config.WindowSize, 1, kLargestBlock / channels);
  copy.ticks.failure.clear();
  if (const std::optional<double> value = check_.ValueNow()) {
    return "Now " + FormatPicture(*value, copy.runtime.DisplayFormat, copy.runtime.DecimalSep) +
           " " + copy.config.MathUnit;
  }
  const std::string& reason = copy.ticks.failure;
  return "No value now" + (reason.empty() ? "" : ": " + reason) + ".";
}

}  // namespace vantoscope
