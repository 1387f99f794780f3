// SPDX-License-Identifier: GPL-3.0-or-later
// The command line of a meter, and the launch of a group: one process for every channel.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "meter/meter.h"

namespace vantoscope {

/// What stands behind "-" and the letter, in either case; nothing where a word has not that form.
std::optional<std::string_view> ValueBehind(char upper_letter, std::string_view word);

/// The index as it was typed; nothing where the argument text holds none in its place.
std::optional<std::string_view> IndexText(std::string_view command_line);
/// The same as a number; 0 where there is none.
std::int16_t IndexOf(std::string_view command_line);

/// Whether its index is the one that stands for all channels.
bool OpensGroup(std::string_view command_line);

/// Takes a non-empty argument text, cut at every single blank: "-d" device, "-n" name, "-i" index,
/// each only in its place. Writes DeviceName, MeterName and ChannelIndex. The index -1 starts one
/// further process for each channel but the first, and stays with channel 0 itself.
void ReadCommandLine(Meter& meter, std::string_view command_line);

}  // namespace vantoscope
