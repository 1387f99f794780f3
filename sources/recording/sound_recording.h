// SPDX-License-Identifier: GPL-3.0-or-later
// The replay of a sound file: a small or compressed one is read whole, of a large one only what is
// played.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "sources/range.h"
#include "sources/recording/scan_source.h"

namespace vantoscope {

/// Full scale stands for `range`, else for -1 to 1. Files of more than `whole_bytes` are large.
/// Throws SourceError; also for a compressed file of more than 100 million samples.
RecordedScans OpenSound(std::unique_ptr<RecordedFile> file, std::optional<Range> range,
                        std::uint64_t whole_bytes);

}  // namespace vantoscope
