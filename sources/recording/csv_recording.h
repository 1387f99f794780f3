// SPDX-License-Identifier: GPL-3.0-or-later
// The replay of a CSV file: a small one is read whole, of a large one only what is played.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "sources/range.h"
#include "sources/recording/csv_file.h"
#include "sources/recording/scan_source.h"

namespace vantoscope {

/// Files of more than `whole_bytes` are large. Throws SourceError for times that cannot be replayed
/// and values that no raw word of a special channel holds, with their line in the file; of a large
/// file those in its first megabytes.
RecordedScans OpenCsv(std::unique_ptr<RecordedFile> file, const CsvReading& reading,
                      std::optional<Range> range, std::uint64_t whole_bytes);

}  // namespace vantoscope
