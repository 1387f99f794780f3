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

namespace vantoscope {

/// One line of the table.
struct CsvRow {
  std::optional<double> seconds;   ///< of the times column
  std::span<const double> values;  ///< one for each column of the layout
  std::size_t line = 0;            ///< counted from 0, without blank ones
};

class CsvRows {
 public:
  using Take = std::function<void(const CsvRow&)>;

  /// Lines go to `take`, which must not throw: a C library calls it. An empty or missing field
  /// repeats the value before it in its column, nan ahead of the first one: the rows of a slower
  /// channel. A field that is no number is nan. Skipped are comments, the header again, and a line
  /// without any number that has no readable time or too few fields.
  CsvRows(CsvLayout layout, Take take);
  CsvRows(const CsvRows&) = delete;
  CsvRows& operator=(const CsvRows&) = delete;
  ~CsvRows();

  /// Throws SourceError when a field grows beyond a mebibyte, as after a quote that nobody closes.
  void Feed(std::string_view bytes);
  /// The file is over: a last line without a line end counts if no field is missing.
  void Finish();
  /// From here on the lines are part of the table; skips nothing more.
  void SkipNoMore() { line_ = layout_.lines_to_skip; }

 private:
  static void OnField(void* bytes, std::size_t size, void* self);
  static void OnLine(int end, void* self);
  void TakeField(std::string_view field);
  void TakeTime(std::string_view field);
  void TakeNumber(std::size_t column, std::string_view field);
  void TakeLine();
  [[nodiscard]] bool IsWhole() const { return field_ >= column_of_field_.size(); }
  [[nodiscard]] bool Counts() const;

  CsvLayout layout_;
  Take take_;
  csv_parser parser_{};
  std::vector<std::optional<std::size_t>> column_of_field_;
  std::vector<double> values_;  // of the last line that counted
  std::vector<double> next_;    // and of the present one
  std::optional<double> seconds_;
  std::size_t field_ = 0;
  std::size_t line_ = 0;
  bool any_number_ = false;  // these three of the present line
  bool any_words_ = false;   // where numbers should be
  bool skip_ = false;
  bool finishing_ = false;
};

/// Every field of every line, as text. For the first lines of a file, not for all of it.
std::vector<std::vector<std::string>> CsvFields(std::string_view text, char separator,
                                                std::size_t max_lines);

}  // namespace vantoscope
