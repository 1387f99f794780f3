// SPDX-License-Identifier: GPL-3.0-or-later
// The newest scans of a text table that grows, read from its lines when somebody wants them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "sources/recording/csv_rows.h"
#include "sources/recording/text_pieces.h"

namespace vantoscope {

/// Lines that come faster than they are wanted are left out: what is read is the same all the same.
/// Everything is read where lines lean on those before them, by fields that are empty or quoted.
class LiveTable {
 public:
  static constexpr std::size_t kHeldScans = 32768;
  /// Puts the values of a line into a scan, one for each channel.
  using ToScan = std::function<void(const CsvRow& row, std::span<double> scan)>;

  /// Less than so many bytes are read in any case.
  static constexpr std::size_t kReadAnyway = std::size_t{1} << 16U;

  LiveTable(const CsvLayout& layout, std::size_t channels, ToScan to_scan,
            std::size_t read_anyway = kReadAnyway);

  void Add(TextPiece piece);
  /// From now on every line is read, and scans are counted without a gap.
  void ReadEvery();
  /// Reads so much that the newest `scans` are there, if they have come; how many there are then.
  /// Throws SourceError as CsvRows does.
  std::size_t Read(std::size_t scans);

  /// Of what has been read: index behind the newest scan, and of the oldest one that is there.
  [[nodiscard]] std::int64_t Total() const { return total_; }
  [[nodiscard]] std::int64_t Oldest() const;
  /// When the newest scan came; nothing before the first.
  [[nodiscard]] std::optional<std::int64_t> NewestTakenAt() const { return newest_taken_at_; }
  /// The values of one channel from scan `first` on.
  void Copy(std::size_t channel, std::int64_t first, std::span<double> values) const;

 private:
  [[nodiscard]] std::size_t Held() const { return static_cast<std::size_t>(total_ - Oldest()); }
  [[nodiscard]] bool MayLeaveOut(std::size_t scans) const;
  [[nodiscard]] std::size_t PieceBack(std::size_t from, std::size_t lines) const;
  void BeginAt(std::size_t piece);
  void ReadOn();
  void Take(const CsvRow& row);
  void Drop();

  ToScan to_scan_;
  std::size_t read_anyway_;
  CsvRows rows_;
  std::vector<double> scan_;
  std::unique_ptr<double[]> values_;  // channel by channel; untouched pages cost nothing
  std::int64_t total_ = 0;
  std::int64_t begin_ = 0;  // first scan of the run that ends with the newest one
  std::optional<std::int64_t> newest_taken_at_;

  std::deque<TextPiece> pieces_;
  std::vector<double>
      before_;            // what fields of the first piece repeat; none when that is not known
  std::size_t run_ = 0;   // piece that the run begins with; 0 as well when it is gone
  std::size_t next_ = 0;  // first piece that is not read
  bool every_ = false;
  bool holds_ = false;  // values from lines before
};

}  // namespace vantoscope
