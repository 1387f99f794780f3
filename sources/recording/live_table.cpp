// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/live_table.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vantoscope {
namespace {

// Number of a line behind all headers.
constexpr std::size_t kFurtherOn = std::numeric_limits<std::size_t>::max() / 2;

/// Words behind a blank line are no row; without it they may be one.
bool EndsWithBlankLine(std::string_view text) {
  const std::size_t last = text.find_last_not_of("\r\n");
  const std::string_view ends = text.substr(last + 1);
  return last == text.npos || std::ranges::count(ends, '\n') > 1 || ends.starts_with("\r\r");
}

}  // namespace

LiveTable::LiveTable(const CsvLayout& layout, std::size_t channels, ToScan to_scan,
                     std::size_t read_anyway)
    : to_scan_(std::move(to_scan)),
      read_anyway_(read_anyway),
      rows_(layout, true, [this](const CsvRow& row) { Take(row); }),
      scan_(channels),
      values_(std::make_unique_for_overwrite<double[]>(channels * kHeldScans)) {
  rows_.SkipLines(0);
}

void LiveTable::Add(TextPiece piece) {
  every_ = every_ || piece.quoted;
  pieces_.push_back(std::move(piece));
}

void LiveTable::ReadEvery() {
  if (every_) return;
  every_ = true;
  if (run_ > 0) BeginAt(0);
}

std::int64_t LiveTable::Oldest() const {
  return std::max(begin_, total_ - static_cast<std::int64_t>(kHeldScans));
}

std::size_t LiveTable::Read(std::size_t scans) {
  if (MayLeaveOut(scans)) BeginAt(PieceBack(pieces_.size(), scans));
  ReadOn();
  while (Held() < std::min(scans, kHeldScans) && run_ > 0) {
    BeginAt(PieceBack(run_, 2 * (scans - Held())));
    ReadOn();
  }
  Drop();
  return Held();
}

/// Whether more has come than is wanted.
bool LiveTable::MayLeaveOut(std::size_t scans) const {
  if (every_ || !rows_.AtLineStart()) return false;
  std::size_t bytes = 0;
  for (std::size_t i = next_; i < pieces_.size(); ++i) bytes += pieces_[i].text.size();
  return bytes > read_anyway_ && PieceBack(pieces_.size(), scans) > next_;
}

/// The newest piece ahead of `from` with which there are that many lines up to there.
std::size_t LiveTable::PieceBack(std::size_t from, std::size_t lines) const {
  std::size_t count = 0;
  while (from > 0 && (count == 0 || count < lines || EndsWithBlankLine(pieces_[from - 1].text))) {
    count += pieces_[--from].lines;
  }
  return from;
}

/// Begins another run with that piece.
void LiveTable::BeginAt(std::size_t piece) {
  if (run_ == 0 && next_ == 0) before_ = rows_.Values();
  rows_.Restart({.line = kFurtherOn, .values = piece == 0 ? before_ : std::vector<double>()});
  begin_ = total_;
  run_ = next_ = piece;
}

void LiveTable::ReadOn() {
  while (next_ < pieces_.size()) {
    const TextPiece& piece = pieces_[next_++];
    const std::int64_t before = total_;
    if (piece.skip) rows_.SkipLines(*piece.skip);
    rows_.Feed(piece.text);
    if (piece.over) rows_.Finish();
    if (total_ > before) newest_taken_at_ = piece.taken_at;
    if (!holds_ || every_) continue;
    every_ = true;
    if (run_ > 0) BeginAt(0);
  }
}

void LiveTable::Take(const CsvRow& row) {
  holds_ = holds_ || !row.complete;
  to_scan_(row, scan_);
  double* const place = values_.get() + static_cast<std::size_t>(total_) % kHeldScans;
  for (std::size_t channel = 0; channel < scan_.size(); ++channel) {
    place[channel * kHeldScans] = scan_[channel];
  }
  ++total_;
}

/// What nobody will ask for again.
void LiveTable::Drop() {
  std::size_t lines = 0;
  for (const TextPiece& piece : pieces_) lines += piece.lines;
  while (run_ > 0 && lines >= kHeldScans + pieces_.front().lines) {
    lines -= pieces_.front().lines;
    pieces_.pop_front();
    before_.clear();
    --run_;
    --next_;
  }
  if (run_ > 0 && Held() < kHeldScans) return;
  pieces_.erase(pieces_.begin(), pieces_.begin() + static_cast<std::ptrdiff_t>(next_));
  run_ = next_ = 0;
}

void LiveTable::Copy(std::size_t channel, std::int64_t first, std::span<double> values) const {
  const double* const ring = values_.get() + channel * kHeldScans;
  const std::size_t start = static_cast<std::size_t>(first) % kHeldScans;
  const std::size_t stretch = std::min(values.size(), kHeldScans - start);
  std::copy_n(ring + start, stretch, values.begin());
  std::ranges::copy(std::span(ring, values.size() - stretch), values.subspan(stretch).begin());
}

}  // namespace vantoscope
