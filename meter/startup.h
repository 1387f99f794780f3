// SPDX-License-Identifier: GPL-3.0-or-later
// The load event of Form0: brings both records to life in a fixed order and leaves the meter
// ticking.
#pragma once

#include <string>

#include "meter/meter.h"

namespace vantoscope {

/// Start-up of the meter. `command_line` is the argument text without the program's own name.
/// Throws SourceError when the device cannot be opened or the channel index is not in its list;
/// nothing has been written then.
void StartUp(Meter& meter, const std::string& command_line);

}  // namespace vantoscope
