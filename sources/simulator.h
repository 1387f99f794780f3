// SPDX-License-Identifier: GPL-3.0-or-later
// The simulator, kind SM: a plant that every machine has. The word of a channel in a scan is a pure
// function of seed, channel and scan index, and the index comes from the clock, so all meters agree
// without talking. Nothing is stored: a block is computed sample by sample where it is returned.
#pragma once

#include <memory>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/device_text.h"

namespace vantoscope {

/// Options, as the rest `rate=1000,channels=12,seed=1` or behind a `?`:
///   rate      scans per second, 0.001 to 1000000; 1000
///   channels  1 to 1000; 12
///   seed      whole number from 0 to 2^53; other phases and other noise; 1
///   close     the host goes away so many seconds after the first Start; never
///
/// The list: the analog channels 1 to 8, then digital input (-1), counter (-2), reverse counter
/// (-3) and 999. A list of up to 8 ends with its last analog channel; a longer one ends with 999
/// and has in between what fits of the special channels, and from 13 on the analog channels 9 and
/// above. Throws SourceError for other options and values.
std::unique_ptr<Device> OpenSimulator(DeviceText device, Clock clock);

}  // namespace vantoscope
