// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_index.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "meter/data_source.h"

namespace vantoscope {

CsvIndex::CsvIndex(std::string path, CsvBlocks blocks, const CsvLayout& layout,
                   const RowScans& scans, std::size_t stretch_bytes)
    : path_(std::move(path)),
      blocks_(std::move(blocks)),
      stretch_bytes_(stretch_bytes),
      skim_(layout),
      rows_(layout, false,
            [this](const CsvRow& row) {
              TakeRow(row.seconds.value_or(std::numeric_limits<double>::quiet_NaN()), row.line);
            }),
      rows_again_(layout, false, [this](const CsvRow& row) { take_(row); }),
      scans_(scans) {
  next_.begin = next_.end = blocks_.Begin();
  next_.scans = scans_;
}

void CsvIndex::ReadOn() {
  if (complete_) return;
  const CsvBlocks::Block block = inside_ ? blocks_.Read(next_.end, stretch_bytes_) : FirstBlock();
  next_.end += block.bytes;
  if (inside_ || !block.text.ends_with('\n') || !Skim(block.text)) Parse(block);
  complete_ = complete_ || block.at_end || backwards_.has_value();
}

/// Of the next stretch, whose first line either repeats no value or knows all of them.
CsvBlocks::Block CsvIndex::FirstBlock() {
  CsvBlocks::Block block = blocks_.Read(next_.begin, stretch_bytes_);
  if (stretches_.empty()) return block;
  if (IsComplete(block.text.substr(0, block.text.find('\n') + 1))) {
    next_.restart.values = {};
  } else if (next_.restart.values.empty()) {
    if (auto end = EndOf(stretches_.back())) next_.restart = std::move(*end);
    block = blocks_.Read(next_.begin, stretch_bytes_);
  }
  return block;
}

bool CsvIndex::IsComplete(std::string_view first_line) {
  std::optional<bool> complete;  // of its first row: a carriage return ends one too
  take_ = [&](const CsvRow& row) { complete = complete.value_or(row.complete); };
  rows_again_.Restart(next_.restart);
  Feed(rows_again_, first_line);
  return complete.value_or(false);
}

std::optional<CsvRestart> CsvIndex::EndOf(const CsvStretch& stretch) {
  Read(stretch, [](const CsvRow&) {});
  return rows_again_.RestartHere();
}

bool CsvIndex::Skim(std::string_view text) {
  CsvRestart end{.line = next_.restart.line, .origin = next_.restart.origin, .values = {}};
  if (stretches_.empty() || !skim_.Lines(text, end.origin, seconds_)) return false;
  for (const double seconds : seconds_) TakeRow(seconds, end.line++);
  EndStretch(std::move(end));
  return true;
}

void CsvIndex::Parse(const CsvBlocks::Block& block) {
  if (!std::exchange(inside_, true)) rows_.Restart(next_.restart);
  Feed(rows_, block.text);
  if (block.at_end) rows_.Finish();
  if (block.at_end || backwards_ || rows_.TableEnded()) {
    complete_ = true;
    EndStretch({});
  } else if (next_.rows > 0 && block.text.ends_with('\n')) {
    if (auto restart = rows_.RestartHere()) EndStretch(std::move(*restart));
  }
}

void CsvIndex::Feed(CsvRows& rows, std::string_view text) const {
  try {
    rows.Feed(text);
  } catch (const SourceError& error) {
    throw SourceError("The recording '" + path_ + "' cannot be read: " + error.what() + ".");
  }
}

void CsvIndex::TakeRow(double seconds, std::size_t line) {
  if (backwards_) return;
  const RowScans before = scans_;
  const std::optional<std::int64_t> scan = scans_.Next(seconds);
  if (!scan) {
    backwards_ = line;
    return;
  }
  if (next_.rows == 0) {
    next_.scans = before;
    next_.first_scan = *scan;
  }
  ++next_.rows;
  if (OnRow) OnRow(seconds, line);
}

void CsvIndex::EndStretch(CsvRestart next) {
  inside_ = false;
  const std::uint64_t end = next_.end;
  if (next_.rows > 0) stretches_.push_back(std::move(next_));
  next_ = {};
  next_.begin = next_.end = end;
  next_.scans = scans_;
  next_.restart = std::move(next);
}

void CsvIndex::Read(const CsvStretch& stretch, const CsvRows::Take& take) {
  std::size_t rows = 0;
  take_ = [&](const CsvRow& row) {
    if (rows++ < stretch.rows) take(row);
  };
  rows_again_.Restart(stretch.restart);
  for (std::uint64_t place = stretch.begin; place < stretch.end;) {
    const CsvBlocks::Block block =
        blocks_.Read(place, static_cast<std::size_t>(stretch.end - place));
    Feed(rows_again_, block.text);
    place += block.bytes;
    if (block.bytes == 0) break;
    if (block.at_end) break;
  }
  rows_again_.Finish();
}

}  // namespace vantoscope
