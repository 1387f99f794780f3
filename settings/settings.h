// SPDX-License-Identifier: GPL-3.0-or-later
// A meter's section of the settings file: load at start, save at the end.
#pragma once

#include "meter/meter.h"

namespace vantoscope {

/// Fills MeterConfig from the section and brings the window into the stored state. Needs IniFile,
/// SectionName, MeterName, ChannelIndex and a started source. Missing keys take their defaults.
void LoadSettings(Meter& meter);

/// Writes all 24 keys of the section: MeterConfig, and the window's position and frame of this
/// moment. Of a window that has no place yet the position in the file stays what it was.
void SaveSettings(Meter& meter);

}  // namespace vantoscope
