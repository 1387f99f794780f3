// SPDX-License-Identifier: GPL-3.0-or-later
// The two ways in which a meter ends; each writes its settings once.
#pragma once

#include "meter/meter.h"

namespace vantoscope {

/// The window is closed: stops the source and saves. A source that cannot stop costs no setting.
void UnloadMeter(Meter& meter);

/// The host went away: saves and ends the process at once. Stop is not called.
void EndByHost(Meter& meter);

}  // namespace vantoscope
