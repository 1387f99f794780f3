// SPDX-License-Identifier: GPL-3.0-or-later
// A large CSV file as scans that are read when they are played.
#pragma once

#include <memory>
#include <optional>

#include "sources/range.h"
#include "sources/recording/csv_file.h"
#include "sources/recording/scan_source.h"

namespace vantoscope {

/// The rate, and whether the steps are even, is what the times of the first megabytes say. Where
/// times run backwards further on, the recording ends, with a line that says so. The ranges leave
/// room around the values of the first rows and of samples from all over the file.
RecordedScans OpenLongCsv(std::unique_ptr<RecordedFile> file, const CsvReading& reading,
                          std::optional<Range> range);

}  // namespace vantoscope
