// SPDX-License-Identifier: GPL-3.0-or-later
// The reading tick: source to Reading to label, afresh every time.
#pragma once

#include "meter/meter.h"

namespace vantoscope {

/// The handler of Timer1. A source that fails or has no block ends the tick silently, with label
/// and Reading as they were.
void Timer1Tick(Meter& meter);

}  // namespace vantoscope
