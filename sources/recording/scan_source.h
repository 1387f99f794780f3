// SPDX-License-Identifier: GPL-3.0-or-later
// What a replay plays: a recording whose scans are read piece by piece, or are all in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sources/device.h"
#include "sources/recording/recorded_file.h"
#include "sources/recording/scan_piece.h"

namespace vantoscope {

/// Scans from 0 on. Used by one thread at a time; every operation may take as long as the file
/// system does, and may throw SourceError.
class ScanSource {
 public:
  ScanSource() = default;
  ScanSource(const ScanSource&) = delete;
  ScanSource& operator=(const ScanSource&) = delete;
  virtual ~ScanSource() = default;

  /// Finds out where more of the scans stand, in some milliseconds. Nothing more when complete.
  virtual void ReadOn() = 0;
  /// The scans below it are known to stand in pieces.
  [[nodiscard]] virtual std::int64_t Known() const = 0;
  /// Known() is the length of the recording.
  [[nodiscard]] virtual bool Complete() const = 0;
  /// The piece that holds that scan, which is known.
  virtual std::shared_ptr<const ScanPiece> Read(std::int64_t scan) = 0;
  [[nodiscard]] virtual const RecordedFile& File() const = 0;
};

struct RecordedScans {
  std::vector<ChannelInfo> channels;
  double rate = 1;
  std::unique_ptr<ScanSource> source;
  std::string description = {};  ///< see Device::Description
};

/// A recording that is one piece, which begins with scan 0.
std::unique_ptr<ScanSource> InMemory(ScanPiece piece, std::unique_ptr<RecordedFile> file);

}  // namespace vantoscope
