// A CSV file that a recorder is writing: the newest scans of it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/device.h"
#include "sources/range.h"
#include "sources/recording/recorded_file.h"

namespace vantoscope {

/// Throws SourceError as OpenRecording does. `rate` overrides what the times in the file say.
std::unique_ptr<Device> MakeFollow(std::string name, std::unique_ptr<RecordedFile> file,
                                   std::optional<double> rate, std::optional<Range> range);

}  // namespace vantoscope
