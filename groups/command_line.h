// The command line of a meter, and the launch of a group: one process for every channel.
#pragma once

#include <string_view>

#include "meter/meter.h"

namespace vantoscope {

/// Takes a non-empty argument text, cut at every single blank: "-d" device, "-n" name, "-i" index,
/// each only in its place. Writes DeviceName, MeterName and ChannelIndex. The index -1 starts one
/// further process for each channel but the first, and stays with channel 0 itself.
void ReadCommandLine(Meter& meter, std::string_view command_line);

}  // namespace vantoscope
