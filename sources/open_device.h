// SPDX-License-Identifier: GPL-3.0-or-later
// From a device text to a device: the one place that knows every kind.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/device_text.h"

namespace vantoscope {

/// What a meter without a device text reads.
inline constexpr std::string_view kDefaultDevice = "SM64";

/// The parts of a device text in full form or in one of the friendly ones, which stand for model
/// 64: `sim`, `sim:options`, `mqtt://host:port/root` and the path of a recording. A path is taken
/// as it stands if there is such a file, else a `?` starts its options and % sequences are decoded.
/// Throws SourceError for an empty text and for a broken percent sequence.
DeviceText ParseAnyDeviceText(const std::string& text);

/// Opens the device that `text`, in full or friendly form, selects. Throws SourceError with one
/// sentence for the user: what could not be opened, and why.
std::unique_ptr<Device> OpenDevice(const std::string& text, Clock clock = SystemTime,
                                   const Meanwhile& meanwhile = {});

/// Throws SourceError, with what to write instead, when only one process can read the device that
/// `text` selects. Waits for the file system as OpenDevice does.
void RefuseStream(const std::string& text, const Meanwhile& meanwhile);

}  // namespace vantoscope
