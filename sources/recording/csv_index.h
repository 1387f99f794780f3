// SPDX-License-Identifier: GPL-3.0-or-later
// Where in a CSV file its rows stand: found by reading on through the file, kept as the starts of
// stretches of some hundred kilobytes, from each of which its rows can be read again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sources/recording/csv_blocks.h"
#include "sources/recording/csv_rows.h"
#include "sources/recording/csv_skim.h"
#include "sources/recording/row_scans.h"

namespace vantoscope {

/// At least one row, and what stands between its last one and the next stretch.
struct CsvStretch {
  std::uint64_t begin = 0;  ///< in the file
  std::uint64_t end = 0;
  std::int64_t first_scan = 0;
  std::size_t rows = 0;
  RowScans scans;      ///< ahead of its first row
  CsvRestart restart;  ///< a default one for the start of the file
};

class CsvIndex {
 public:
  /// Stretches of about that many bytes, at least one line. `path` is for sentences alone.
  CsvIndex(std::string path, CsvBlocks blocks, const CsvLayout& layout, const RowScans& scans,
           std::size_t stretch_bytes);
  CsvIndex(const CsvIndex&) = delete;
  CsvIndex& operator=(const CsvIndex&) = delete;
  ~CsvIndex() = default;

  /// Reads on by about the bytes of a stretch. Throws SourceError.
  void ReadOn();
  [[nodiscard]] const std::vector<CsvStretch>& Stretches() const { return stretches_; }
  /// All stretches are known.
  [[nodiscard]] bool Complete() const { return complete_; }
  /// Scans of all rows that were found.
  [[nodiscard]] std::int64_t Length() const { return scans_.Newest() + 1; }
  /// Whether another table began, which is not read.
  [[nodiscard]] bool TableEnded() const { return rows_.TableEnded(); }
  /// The line, as CsvRow::line counts, whose time runs backwards: the recording ends ahead of it.
  [[nodiscard]] std::optional<std::size_t> BackwardsLine() const { return backwards_; }
  /// How far the file has been read.
  [[nodiscard]] std::uint64_t Position() const { return next_.end; }

  /// Called with the seconds and the line of every row that is found; nan for a time that could not
  /// be read.
  std::function<void(double, std::size_t)> OnRow;

  /// Reads the rows of a stretch once more, for `take`, which must not throw.
  void Read(const CsvStretch& stretch, const CsvRows::Take& take);

 private:
  bool Skim(std::string_view text);
  void Parse(const CsvBlocks::Block& block);
  CsvBlocks::Block FirstBlock();
  [[nodiscard]] bool IsComplete(std::string_view first_line);
  [[nodiscard]] std::optional<CsvRestart> EndOf(const CsvStretch& stretch);
  void TakeRow(double seconds, std::size_t line);
  void Feed(CsvRows& rows, std::string_view text) const;
  void EndStretch(CsvRestart next);

  std::string path_;
  CsvBlocks blocks_;
  std::size_t stretch_bytes_;
  CsvSkim skim_;
  CsvRows rows_;  // of a stretch that cannot be skimmed
  CsvRows::Take take_;
  CsvRows rows_again_;
  RowScans scans_;
  std::vector<double> seconds_;
  std::vector<CsvStretch> stretches_;
  CsvStretch next_;
  bool inside_ = false;  // of a stretch that cannot be skimmed
  bool complete_ = false;
  std::optional<std::size_t> backwards_;
};

}  // namespace vantoscope
