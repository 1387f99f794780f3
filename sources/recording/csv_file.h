// SPDX-License-Identifier: GPL-3.0-or-later
// A CSV recording on disk: its layout, and its lines as they come.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "sources/device.h"
#include "sources/range.h"
#include "sources/recording/csv_encoding.h"
#include "sources/recording/csv_rows.h"
#include "sources/recording/recorded_file.h"

namespace vantoscope {

/// A channel of the list and the column that it comes from.
struct ListedColumn {
  ChannelInfo info;  ///< that of an analog channel has no range yet
  std::size_t column = 0;
};

/// The channel list of a layout. Analog channels are numbered from 1 in file order; no one gets the
/// number kFineChannel, whose digits mean something else. Throws SourceError for more columns than
/// there are numbers.
std::vector<ListedColumn> ListColumns(const CsvLayout& layout, const std::string& path);

/// The values of the channels from a line of numbers. What no raw word of a special channel holds
/// becomes nan, and the first such number that is finite is kept.
class ChannelValues {
 public:
  explicit ChannelValues(const std::vector<ListedColumn>& columns);

  /// The value of the channel at that place of the list.
  double operator()(std::size_t place, const CsvRow& row);

  struct Refused {
    std::string reason;    ///< "Cntr holds 70000, but a raw word holds only 0 to 16384"
    std::size_t line = 0;  ///< as CsvRow::line counts
  };
  [[nodiscard]] const std::optional<Refused>& FirstRefused() const { return refused_; }

 private:
  struct Place {
    ChannelInfo info;
    std::size_t column;
    Range limits;
  };
  double Refuse(const Place& place, double number, std::size_t line);

  std::vector<Place> places_;
  std::optional<Refused> refused_;
};

/// The times of the rows of a file.
struct RowTimes {
  std::vector<double> seconds;                ///< nan where they could not be read
  std::optional<std::size_t> backwards_line;  ///< the first with a time before that of one above it

  void Add(std::optional<double> time, std::size_t line);

 private:
  double last_ = -std::numeric_limits<double>::infinity();
};

/// How somebody wants a file to be read.
struct CsvReading {
  bool followed = false;
  std::optional<DateOrder> dates = {};  ///< where the dates leave it open
  std::optional<double> rate = {};      ///< instead of what the times say
};

/// The start of sentences about the file: "The recording '/data/run.csv'".
std::string TheRecording(const std::string& path);

/// Says of the first value that no raw word holds that such values are nan.
void SayRefused(const std::string& path, const ChannelValues::Refused& refused);

/// A sentence on standard error.
void SayOfRecording(const std::string& sentence);

/// The layout of a table from its first lines, which end with a whole one. Throws SourceError when
/// there is no numeric column, or when the times are not understood and no rate is given.
CsvLayout LayoutOfTable(std::string_view head, const CsvReading& reading,
                        const std::string& subject);

/// What a table was taken for; said on standard error too, if the environment has
/// VANTOSCOPE_EXPLAIN=1.
std::string ExplainTable(const std::string& subject, const CsvLayout& layout, double rate);

class CsvFile {
 public:
  /// Finds the layout from the first quarter of a mebibyte. Throws SourceError when the file cannot
  /// be read or has no numeric column, or when its times are not understood and no rate is given.
  CsvFile(std::unique_ptr<RecordedFile> file, const CsvReading& reading, CsvRows::Take take);

  [[nodiscard]] const CsvLayout& Layout() const { return layout_; }
  [[nodiscard]] const RecordedFile& File() const { return *file_; }
  [[nodiscard]] std::unique_ptr<RecordedFile> Release() { return std::move(file_); }
  [[nodiscard]] const TextDecoder& Decoder() const { return decoder_; }
  [[nodiscard]] std::size_t BytesPerLine() const { return bytes_per_line_; }

  /// See ExplainTable.
  std::string Explain(double rate) const;

  /// Hands on what has been written since the last call, at most `most_bytes` of it. True when
  /// there was something. Throws SourceError.
  bool ReadOn(std::size_t most_bytes);
  /// A last line without a line end counts if it is whole.
  void Finish();
  /// The number in the file, counted from 1, of a line that CsvRow::line counts. Reads the file
  /// anew: nothing can be read on after it.
  [[nodiscard]] std::size_t NumberOfLine(std::size_t line);
  /// Puts the bytes from `offset` on into `to`, and tells how many: less than asked for only at the
  /// end of the file. As with NumberOfLine, nothing can be read on after it.
  std::size_t ReadAt(std::uint64_t offset, std::span<char> to);

  /// The rate that the times come to. Throws SourceError, with the line where they run backwards,
  /// when they cannot be replayed.
  [[nodiscard]] double RateOf(const RowTimes& times, const Timeline& timeline);
  /// Throws SourceError when there is a value that no raw word holds.
  void RequireWords(const ChannelValues& values);

 private:
  void SayEndOfTable();

  std::unique_ptr<RecordedFile> file_;
  TextDecoder decoder_;
  CsvLayout layout_;
  std::size_t bytes_per_line_ = 0;
  std::unique_ptr<CsvRows> rows_;
  bool said_end_ = false;
};

}  // namespace vantoscope
