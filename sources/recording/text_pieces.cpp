// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/text_pieces.h"

#include <algorithm>
#include <utility>

#include "meter/data_source.h"

namespace vantoscope {
namespace {

constexpr std::size_t kLongestLine = std::size_t{1} << 22U;

/// Length of the first `most` lines, and of those at most that are whole.
std::size_t WholeLines(std::string_view text, char line_end, std::size_t most) {
  std::size_t size = 0;
  for (std::size_t end = 0; most > 0 && (end = text.find(line_end, size)) != text.npos; --most) {
    size = end + 1;
  }
  return size;
}

char LineEndOf(std::string_view text) {
  return text.find('\n') == text.npos && text.find('\r') != text.npos ? '\r' : '\n';
}

/// Fields of the first line of numbers.
std::size_t WidthOf(std::string_view text, char separator, std::size_t skip) {
  const auto lines = CsvFields(text, separator, skip + 1);
  return lines.size() > skip ? lines[skip].size() : 0;
}

bool TellsRate(const CsvLayout& layout, std::string_view head) {
  TimeSteps steps;
  CsvRows rows(layout, true, [&](const CsvRow& row) {
    if (row.seconds) steps.Add(*row.seconds);
  });
  rows.Feed(head);
  return steps.Rate().has_value();
}

std::size_t LeastWidth(const CsvLayout& layout) {
  std::size_t fields = 0;
  for (const CsvColumn& column : layout.columns) fields = std::max(fields, column.field + 1);
  return fields;
}

}  // namespace

void TextPieces::Feed(std::string_view bytes) {
  if (in_table_) return Cut(decoder_.Decode(bytes));
  if (settled_ && head_.empty() && decoder_.UnitSize() == 1) {
    bytes.remove_prefix(std::min(bytes.find_first_not_of('\0'), bytes.size()));
  }
  head_ += bytes;
  if (settled_) GoOn();
}

std::size_t TextPieces::HeadLines() const {
  return static_cast<std::size_t>(std::ranges::count(head_, LineEndOf(head_)));
}

std::string TextPieces::DecodedHead() {
  decoder_ = TextDecoder(head_);
  std::string text(decoder_.Decode(std::string_view(head_).substr(decoder_.MarkSize())));
  line_end_ = LineEndOf(text);
  return text;
}

void TextPieces::Settle(bool all, bool wants_rate) {
  const std::string text = DecodedHead();
  std::size_t size = WholeLines(text, line_end_, kHeadLines);
  if (all && HeadLines() < kHeadLines) size = text.size();
  const std::string_view head = std::string_view(text).substr(0, size);
  layout_ = LayoutOfTable(head, reading_, subject_);
  if (wants_rate && layout_.times && !reading_.rate && !TellsRate(layout_, head)) {
    throw SourceError(subject_ +
                      " has sent no two times yet that tell its rate; ?rate=R says how "
                      "many lines make a second.");
  }
  width_ = WidthOf(head, layout_.separator, layout_.lines_to_skip);
  settled_ = true;
  BeginTable(text, layout_.lines_to_skip);
}

void TextPieces::BeginTable(std::string_view text, std::size_t skip) {
  in_table_ = true;
  head_.clear();
  const std::size_t before = pieces_.size();
  Cut(text);
  if (pieces_.size() == before) return;  // one line without a line end
  TextPiece& piece = pieces_[before];
  piece.skip = skip;
  // Quotes ahead of the numbers do no harm when they are closed there.
  const std::size_t ahead = WholeLines(piece.text, line_end_, skip);
  const auto quotes = std::ranges::count(std::string_view(piece.text).substr(0, ahead), '"');
  piece.quoted = quotes % 2 != 0 || piece.text.find('"', ahead) != piece.text.npos;
}

void TextPieces::BeginAnother(bool whole) {
  if (whole && !torn_.empty()) pieces_.push_back({.text = torn_, .lines = 1});
  if (!pieces_.empty()) pieces_.back().over = true;
  torn_.clear();
  in_table_ = in_skipped_line_ = false;
  if (settled_) head_.clear();
}

/// Begins the next table as soon as its first line of numbers is there.
void TextPieces::GoOn() {
  const std::string text = DecodedHead();
  const std::string_view head =
      std::string_view(text).substr(0, WholeLines(text, line_end_, kHeadLines));
  const CsvLayout next = FindCsvLayout(head, reading_.dates);
  if (next.columns.empty() && head_.size() < kHeadBytes) return;
  if (!GoesOn(next, head)) throw SourceError(subject_ + " goes on with other columns.");
  BeginTable(text, next.lines_to_skip);
}

bool TextPieces::GoesOn(const CsvLayout& next, std::string_view text) const {
  const std::size_t width = WidthOf(text, layout_.separator, next.lines_to_skip);
  if (width < LeastWidth(layout_) || width > width_) return false;
  const auto named = [](const CsvColumn& column) { return !column.heading.empty(); };
  if (std::ranges::none_of(next.columns, named)) return true;
  return std::ranges::all_of(next.columns, [&](const CsvColumn& column) {
    const auto before = std::ranges::find(layout_.columns, column.field, &CsvColumn::field);
    return before == layout_.columns.end() || before->heading == column.heading;
  });
}

void TextPieces::SkipAhead() {
  pieces_.clear();
  torn_.clear();
  decoder_.Restart();
  in_skipped_line_ = true;
}

void TextPieces::Cut(std::string_view text) {
  if (in_skipped_line_) {
    const std::size_t end = text.find(line_end_);
    if (end == text.npos) return;
    in_skipped_line_ = false;
    text.remove_prefix(end + 1);
  }
  const std::size_t size = text.rfind(line_end_) + 1;  // 0 without a line end
  if (size > 0) {
    TextPiece piece{.text = std::exchange(torn_, {})};
    piece.text += text.substr(0, size);
    piece.lines = static_cast<std::size_t>(std::ranges::count(text, line_end_));
    piece.quoted = piece.text.find('"') != std::string::npos;
    pieces_.push_back(std::move(piece));
  }
  torn_ += text.substr(size);
  if (torn_.size() > kLongestLine) {
    throw SourceError(subject_ + " cannot be read: a line is longer than four mebibytes.");
  }
}

}  // namespace vantoscope
