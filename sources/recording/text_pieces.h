// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes of text tables, one behind the other and in pieces of any size, to whole lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sources/recording/csv_file.h"

namespace vantoscope {

/// Whole lines of a table, or, where its text is over, a last one without a line end.
struct TextPiece {
  std::string text;       ///< UTF-8
  std::size_t lines = 0;  ///< line ends in it
  bool quoted = false;    ///< a field may hold a line end
  std::optional<std::size_t> skip =
      {};                     ///< a table begins, with that many lines ahead of its numbers
  bool over = false;          ///< its text ends here
  std::int64_t taken_at = 0;  ///< by a steady clock, in nanoseconds
};

/// Throws SourceError from where a table cannot be read, or another one has other columns.
class TextPieces {
 public:
  /// Lines that tell a layout.
  static constexpr std::size_t kHeadLines = 400;
  static constexpr std::size_t kHeadBytes = std::size_t{1} << 18U;

  TextPieces(CsvReading reading, std::string subject)
      : reading_(reading), subject_(std::move(subject)) {}

  void Feed(std::string_view bytes);
  /// Takes the first lines, at most kHeadLines of them, for the beginning of the first table. When
  /// they are all there is, `all`, a last one without a line end is one of them. Before it, nothing
  /// is handed on. With `wants_rate`, times that tell none yet are refused too.
  void Settle(bool all, bool wants_rate = false);
  /// The present table is over; `whole` tells that a last line without a line end is one. What is
  /// fed next is the text of another table, which goes on with the same columns, with or without a
  /// header. Zero bytes ahead of it, a hole that truncation left, count for nothing.
  void BeginAnother(bool whole);
  /// Drops what is there and the rest of a line: what is fed next is further on in the same text.
  void SkipAhead();

  /// What has become whole since the last call.
  std::vector<TextPiece> Take() { return std::exchange(pieces_, {}); }
  /// Of the first table, once it is settled.
  [[nodiscard]] const CsvLayout& Layout() const { return layout_; }
  /// Of the present text.
  [[nodiscard]] const TextDecoder& Decoder() const { return decoder_; }
  /// Whole lines of a table that is not settled.
  [[nodiscard]] std::size_t HeadLines() const;
  [[nodiscard]] bool Empty() const { return head_.empty(); }

 private:
  void GoOn();
  [[nodiscard]] bool GoesOn(const CsvLayout& next, std::string_view text) const;
  std::string DecodedHead();
  void BeginTable(std::string_view text, std::size_t skip);
  void Cut(std::string_view text);

  CsvReading reading_;
  std::string subject_;
  CsvLayout layout_;
  std::size_t width_ = 0;  // fields of a line
  bool settled_ = false;
  bool in_table_ = false;
  TextDecoder decoder_;
  std::string head_;  // bytes of a table that is not begun
  char line_end_ = '\n';
  bool in_skipped_line_ = false;
  std::string torn_;
  std::vector<TextPiece> pieces_;
};

}  // namespace vantoscope
