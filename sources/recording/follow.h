// SPDX-License-Identifier: GPL-3.0-or-later
// A CSV file that a recorder is writing: the newest scans of it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/clock.h"
#include "sources/device.h"
#include "sources/range.h"
#include "sources/recording/csv_file.h"
#include "sources/recording/recorded_file.h"

namespace vantoscope {

/// What the age of a row goes by: the file's own time at first, later the time since our own reads.
struct FollowClocks {
  Clock wall = SystemTime;
  Clock steady = SteadyTime;
};

/// Throws SourceError as OpenRecording does.
std::unique_ptr<Device> MakeFollow(std::string name, std::unique_ptr<RecordedFile> file,
                                   CsvReading reading, std::optional<Range> range,
                                   FollowClocks clocks = {});

}  // namespace vantoscope
