// SPDX-License-Identifier: GPL-3.0-or-later
// CSV text, in pieces of any size, to lines of numbers by a known layout (libcsv below). A line
// counts when its end has been seen, so a torn line waits for its rest.
#pragma once

#include <csv.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sources/recording/csv_layout.h"
#include "sources/recording/csv_line_time.h"
#include "sources/recording/csv_quotes.h"

namespace vantoscope {

/// The separator of a file with one column; no text has it.
inline constexpr char kNoSeparator = '\x1F';

/// One line of the table.
struct CsvRow {
  std::optional<double> seconds;   ///< its time, counted from a moment that all lines share
  std::span<const double> values;  ///< one for each column of the layout
  std::size_t line = 0;            ///< counted from 0, without blank ones
  bool complete = false;           ///< no value repeats one of a line before
};

/// Where lines can be read from without those before them: at the start of a line of the table.
struct CsvRestart {
  std::size_t line = 0;          ///< number of the next one, as CsvRow::line counts
  CsvTimeOrigin origin = {};     ///< of its time
  std::vector<double> values{};  ///< that empty fields repeat; none when the line is complete
};

class CsvRows {
 public:
  using Take = std::function<void(const CsvRow&)>;

  /// Lines go to `take`, which must not throw: a C library calls it. An empty or missing field
  /// repeats the value before it in its column, nan ahead of the first one: the rows of a slower
  /// channel. A field that is no number is nan. Skipped are comments, the header again, and a line
  /// without any number that has no readable time or too few fields; but a line with a readable
  /// time is never the header again, nor, without times, one whose first value is a plain number. A
  /// table ends where another one
  /// begins: with words behind a blank line, or, of columns between blanks, behind two of them;
  /// `goes_on` tells to skip the words and read on.
  CsvRows(CsvLayout layout, bool goes_on, Take take);
  CsvRows(const CsvRows&) = delete;
  CsvRows& operator=(const CsvRows&) = delete;
  ~CsvRows();

  /// Throws SourceError when a field grows beyond a mebibyte, as after a quote that nobody closes.
  void Feed(std::string_view bytes);
  /// The file is over: a last line without a line end counts if no field is missing. What is fed
  /// later is another file.
  void Finish();
  /// Behind a line end: no quote is open.
  [[nodiscard]] bool AtLineStart() const { return guard_.AtLineStart(); }
  /// Forgets all it knows of what came before, and goes on with that line.
  void Restart(const CsvRestart& from);
  /// Where reading can begin behind the bytes that were fed, which end with a line feed. Nothing
  /// inside of a quoted field, ahead of the first line that counts, behind a blank line, or when
  /// the table has ended.
  [[nodiscard]] std::optional<CsvRestart> RestartHere() const;
  /// Of the last line that counted.
  [[nodiscard]] const std::vector<double>& Values() const { return values_; }
  /// What is fed next begins with that many lines that are not blank ahead of the numbers.
  void SkipLines(std::size_t lines);
  /// Whether another table began, which is not read.
  [[nodiscard]] bool TableEnded() const { return ended_; }

 private:
  static void OnField(void* bytes, std::size_t size, void* self);
  static void OnLine(int end, void* self);
  void Parse(std::string_view piece);
  void TakeField(std::string_view field);
  void TakeTime(std::size_t place, std::string_view field);
  void TakeNumber(std::size_t column, std::string_view field);
  void TakeBlankLine(int end);
  void TakeLine();
  void NextLine();
  [[nodiscard]] bool IsWhole() const { return field_ >= fields_; }
  [[nodiscard]] bool BeginsAnotherTable() const;
  [[nodiscard]] bool IsSkipped() const;
  [[nodiscard]] bool Counts() const;

  CsvLayout layout_;
  bool goes_on_;
  Take take_;
  QuoteGuard guard_;
  csv_parser parser_{};
  std::string spaced_;  // a piece with blanks for its tabs
  std::vector<std::optional<std::size_t>> column_of_field_;
  std::size_t fields_ = 0;      // that a line needs to be whole
  std::vector<double> values_;  // of the last line that counted
  std::vector<double> next_;    // and of the present one
  std::size_t field_ = 0;
  std::size_t line_ = 0;
  std::size_t blank_lines_ = 0;  // right before the present one
  int last_end_ = 0;
  bool finishing_ = false;
  bool begun_ = false;
  bool ended_ = false;
  CsvLineTime time_;
  // Of the present line:
  std::size_t set_values_ = 0;
  bool any_number_ = false;
  bool any_words_ = false;     // where numbers should be
  bool first_number_ = false;  // the first value is a plain number
  bool comment_ = false;
  bool header_again_ = false;
  bool skip_ = false;
};

/// Whether a line that begins with that field is a comment.
bool StartsComment(std::string_view field);

/// Every field of every line that is not blank, as text. For the first lines of a file, not for
/// all.
std::vector<std::vector<std::string>> CsvFields(std::string_view text, char separator,
                                                std::size_t max_lines);

}  // namespace vantoscope
