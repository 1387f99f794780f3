// SPDX-License-Identifier: GPL-3.0-or-later
// From the equation as its user wrote it to tokens on list indices, by ordered, case-sensitive
// replacement of plain text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "equation/traced_text.h"
#include "meter/meter.h"

namespace vantoscope {

/// The equation with every reference to a channel, its past, its statistics and the sample rate
/// turned into a token. Starts the source; changes nothing in the records. Errors of the source
/// pass through.
TracedText NormaliseEquation(Meter& meter, std::string_view text);
/// The same, and the source is left as it is.
TracedText NormaliseOnRunningSource(Meter& meter, std::string_view text);

/// A channel that has a label.
struct LabelledChannel {
  std::int16_t index;
  std::int16_t number;
  std::string label;  ///< what a user writes behind CH
};

/// In the order in which their labels are replaced: the highest number first, and of equal numbers,
/// of which only the first can be named, the higher index.
std::vector<LabelledChannel> LabelledChannels(Meter& meter);

/// How many of the StatisticNames a user can write behind a channel: all but the frequency.
inline constexpr std::size_t kSuffixes = 5;
std::string SuffixOf(std::string_view statistic);

}  // namespace vantoscope
