// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <string>
#include <utility>

#include "meter/data_source.h"
#include "sources/channel_words.h"
#include "sources/device_text.h"
#include "text/shown_text.h"

namespace vantoscope {
namespace {

constexpr std::size_t kMostColumns = 32766;  // their numbers, without kFineChannel
constexpr std::size_t kHeadBytes = std::size_t{1} << 18U;
constexpr std::size_t kPieceBytes = std::size_t{1} << 16U;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The first bytes of the file, from its start.
std::string ReadHead(RecordedFile& file) {
  std::string head(kHeadBytes, '\0');
  std::size_t size = 0;
  for (std::string_view bytes; !(bytes = file.ReadOn(std::span(head).subspan(size))).empty();) {
    size += bytes.size();
  }
  head.resize(size);
  return head;
}

/// A line without a line end is left out, unless it is the only one.
std::string_view WholeLines(std::string_view head) {
  const std::size_t last_end = head.find_last_of("\r\n");
  if (last_end != head.npos) return head.substr(0, last_end + 1);
  return head;
}

/// The first analog channel goes to the front of the list and the last one, which has the highest
/// number, to its end; the rest keeps the order of the file.
void PutAnalogOutside(std::vector<ListedColumn>& columns) {
  const auto analog = [](const ListedColumn& column) { return !IsSpecial(column.info.number); };
  const auto first = std::ranges::find_if(columns, analog);
  if (first == columns.end()) return;
  std::rotate(columns.begin(), first, first + 1);
  const auto last = std::find_if(columns.rbegin(), columns.rend() - 1, analog);
  if (last != columns.rend() - 1) std::rotate(last.base() - 1, last.base(), columns.end());
}

}  // namespace

std::vector<ListedColumn> ListColumns(const CsvLayout& layout, const std::string& path) {
  if (layout.columns.size() > kMostColumns) {
    throw SourceError("The recording '" + path + "' has more than " + std::to_string(kMostColumns) +
                      " numeric columns.");
  }
  std::vector<ListedColumn> columns;
  std::int16_t analog = 0;
  for (std::size_t i = 0; i < layout.columns.size(); ++i) {
    const CsvColumn& column = layout.columns[i];
    const std::int16_t special = SpecialNumber(column.name);
    ChannelInfo info = IsSpecial(special) ? SpecialChannel(special) : ChannelInfo();
    info.encoding = Encoding::kFloat64;  // a value may be missing
    if (!IsSpecial(special)) {
      if (++analog == kFineChannel) ++analog;
      info.number = analog;
    }
    info.name = column.name;
    info.unit = column.unit;
    columns.push_back({.info = std::move(info), .column = i});
  }
  PutAnalogOutside(columns);
  return columns;
}

ChannelValues::ChannelValues(const std::vector<ListedColumn>& columns) {
  for (const auto& [info, column] : columns) {
    const Range limits =
        IsSpecial(info.number) ? NumbersOf(info) : Range{.low = -kInfinity, .high = kInfinity};
    places_.push_back({.info = info, .column = column, .limits = limits});
  }
}

double ChannelValues::operator()(std::size_t place, const CsvRow& row) {
  const Place& channel = places_[place];
  const double number = row.values[channel.column];
  if (number < channel.limits.low || number > channel.limits.high) {
    return Refuse(channel, number, row.line);
  }
  return ValueOfNumber(channel.info, number);
}

double ChannelValues::Refuse(const Place& place, double number, std::size_t line) {
  if (std::isfinite(number) && !refused_) {
    refused_ = {.reason = place.info.name + " holds " + ShortestText(number) +
                          ", but a raw word holds only " + ShortestText(place.limits.low) + " to " +
                          ShortestText(place.limits.high),
                .line = line};
  }
  return kNan;
}

void RowTimes::Add(std::optional<double> time, std::size_t line) {
  seconds.push_back(time.value_or(kNan));
  if (!time) return;
  if (*time < last_ && !backwards_line) backwards_line = line;
  last_ = *time;
}

void SayRefused(const std::string& path, const ChannelValues::Refused& refused) {
  SayOfRecording(TheRecording(path) + ": " + refused.reason + "; such values are shown as nan.");
}

std::string TheRecording(const std::string& path) { return "The recording '" + path + "'"; }

void SayOfRecording(const std::string& sentence) {
  std::cerr << std::string(program_invocation_short_name) + ": " + Escaped(sentence) + '\n';
}

CsvLayout LayoutOfTable(std::string_view head, const CsvReading& reading,
                        const std::string& subject) {
  CsvLayout layout = FindCsvLayout(head, reading.dates);
  if (layout.columns.empty()) {
    throw SourceError(subject + " has no column of numbers" + (reading.followed ? " yet" : "") +
                      "; columns are separated by comma, semicolon, tab, bar or blanks.");
  }
  if (!layout.unread_time.empty() && !reading.rate) {
    throw SourceError(subject + " has a first column of times, but '" + layout.unread_time +
                      "' is not understood as one; ?rate=R says how many lines make a second.");
  }
  return layout;
}

std::string ExplainTable(const std::string& subject, const CsvLayout& layout, double rate) {
  std::string description = Description(layout) + "; scans per second: " + ShortestText(rate);
  const char* const wanted = std::getenv("VANTOSCOPE_EXPLAIN");
  if (wanted != nullptr && std::string_view(wanted) == "1") {
    SayOfRecording(subject + " is taken for: " + description);
  }
  return description;
}

CsvFile::CsvFile(std::unique_ptr<RecordedFile> file, const CsvReading& reading, CsvRows::Take take)
    : file_(std::move(file)) {
  const std::string bytes = ReadHead(*file_);
  decoder_ = TextDecoder(bytes);
  const std::string head(
      WholeLines(decoder_.Decode(std::string_view(bytes).substr(decoder_.MarkSize()))));
  decoder_.Restart();
  layout_ = LayoutOfTable(head, reading, TheRecording(file_->Path()));
  bytes_per_line_ = bytes.size() / static_cast<std::size_t>(1 + std::ranges::count(head, '\n')) + 1;
  rows_ = std::make_unique<CsvRows>(layout_, false, std::move(take));
  file_->Seek(decoder_.MarkSize());
}

std::string CsvFile::Explain(double rate) const {
  return ExplainTable(TheRecording(file_->Path()), layout_, rate);
}

void CsvFile::SayEndOfTable() {
  if (said_end_ || !rows_->TableEnded()) return;
  said_end_ = true;
  SayOfRecording(TheRecording(file_->Path()) +
                 " holds several tables; only the first one is read.");
}

void CsvFile::Finish() {
  rows_->Finish();
  SayEndOfTable();
}

bool CsvFile::ReadOn(std::size_t most_bytes) {
  std::array<char, kPieceBytes> buffer{};
  bool any = false;
  for (std::size_t read = 0; read < most_bytes;) {
    std::string_view bytes = file_->ReadOn(buffer);
    if (bytes.empty()) break;
    read += bytes.size();
    any = true;
    bytes = decoder_.Decode(bytes);
    try {
      rows_->Feed(bytes);
    } catch (const SourceError& error) {
      throw SourceError("The recording '" + file_->Path() + "' cannot be read: " + error.what() +
                        ".");
    }
  }
  return any;
}

std::size_t CsvFile::NumberOfLine(std::size_t line) {
  std::array<char, kPieceBytes> buffer{};
  std::size_t number = 1;
  std::size_t lines = 0;  // that are not blank
  bool blank = true;
  decoder_.Restart();
  file_->Seek(decoder_.MarkSize());
  for (std::string_view bytes; !(bytes = file_->ReadOn(buffer)).empty();) {
    for (const char c : decoder_.Decode(bytes)) {
      if (c == '\n') ++number;
      if (c == '\n' || c == '\r') {
        blank = true;
      } else if (blank && c != ' ' && c != '\t') {
        blank = false;
        if (lines++ == line) return number;
      }
    }
  }
  return number;
}

std::size_t CsvFile::ReadAt(std::uint64_t offset, std::span<char> to) {
  file_->Seek(offset);
  std::size_t size = 0;
  while (size < to.size()) {
    const std::string_view bytes = file_->ReadOn(to.subspan(size));
    if (bytes.empty()) break;
    size += bytes.size();
  }
  return size;
}

double CsvFile::RateOf(const RowTimes& times, const Timeline& timeline) {
  const auto refuse = [this](const std::string& why) {
    throw SourceError(TheRecording(file_->Path()) + " " + why +
                      "; ?rate=R says how many lines make a second.");
  };
  if (times.backwards_line) {
    refuse("has times that run backwards, the first of them in line " +
           std::to_string(NumberOfLine(*times.backwards_line)));
  }
  if (!timeline.rate) refuse("has times that do not rise");
  return *timeline.rate;
}

void CsvFile::RequireWords(const ChannelValues& values) {
  if (!values.FirstRefused()) return;
  throw SourceError("The recording '" + file_->Path() +
                    "' cannot be read: " + values.FirstRefused()->reason + " (line " +
                    std::to_string(NumberOfLine(values.FirstRefused()->line)) + ").");
}

}  // namespace vantoscope
