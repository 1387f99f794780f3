// SPDX-License-Identifier: GPL-3.0-or-later
// The last stage of a tick: colour by the limits, then the text. No state: the alarm does not
// latch.
#pragma once

#include "meter/meter.h"

namespace vantoscope {

enum class Alarm { None, High, Low };

/// With the alarm enabled High above HighLimit, and else Low below LowLimit. Compared as 32-bit
/// floats, strictly; a reading beyond their range compares as infinity.
Alarm AlarmOf(const MeterConfig& config, double reading);

/// ForeColor, or the colour of the alarm.
Color ReadingColor(const MeterConfig& config, double reading);

/// Colours Label1 and writes Reading into it by DisplayFormat, with one more "0" for
/// `extra_digit`, followed directly by the unit if ShowUnit is true.
void DisplayReading(Meter& meter, bool extra_digit);

}  // namespace vantoscope
