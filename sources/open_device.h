// From a device text to a device: the one place that knows every kind.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sources/clock.h"
#include "sources/device.h"

namespace vantoscope {

/// What a meter without a device text reads.
inline constexpr std::string_view kDefaultDevice = "SM64";

/// The full form of a device text: as it is if it is one already; of the friendly forms `sim`,
/// `sim:options`, `mqtt://host:port/root` and the path of a recording, with model 64. A path is
/// taken as it stands if there is such a file, else a `?` starts its options and % sequences are
/// decoded. Throws SourceError for any other text.
std::string FullDeviceText(const std::string& text);

/// Opens the device that `text`, in full or friendly form, selects. Throws SourceError with one
/// sentence for the user: what could not be opened, and why.
std::unique_ptr<Device> OpenDevice(const std::string& text, Clock clock = SystemTime);

}  // namespace vantoscope
