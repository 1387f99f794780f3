// SPDX-License-Identifier: GPL-3.0-or-later
// The pieces of a recording for a thread that must not wait for a file system: they are read on a
// thread of their own and kept around what was asked for last.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sources/recording/scan_source.h"

namespace vantoscope {

/// Scans `first` to `last`, both included.
struct ScanSpan {
  std::int64_t first = 0;
  std::int64_t last = 0;
};

/// A call waits for the other thread a moment at most, and not at all once that was in vain.
class ScanReader {
 public:
  /// Finds out where scans stand by `ahead` of them before they are asked for, which also brings
  /// their part of the file into the page cache.
  ScanReader(std::unique_ptr<ScanSource> source, std::int64_t ahead);
  ScanReader(const ScanReader&) = delete;
  ScanReader& operator=(const ScanReader&) = delete;
  /// Leaves a thread that waits for the file system behind, which ends by itself.
  ~ScanReader();

  using Pieces = std::vector<std::shared_ptr<const ScanPiece>>;
  /// The pieces that hold all of these spans. Nothing when they are not there yet, and are then
  /// read to be had later, or when the recording ends ahead of them.
  std::optional<Pieces> Get(const std::vector<ScanSpan>& spans);
  /// In scans, once it is known. `now`: finds it out, wherever it is.
  std::optional<std::int64_t> Length(bool now);
  /// Why the recording cannot be read any more, in one sentence.
  std::optional<std::string> Gone();
  /// Why something is not there yet, as the end of a sentence.
  [[nodiscard]] std::string Missing() const;

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

}  // namespace vantoscope
