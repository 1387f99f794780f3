// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a CSV file: layout, times and lines. The lines must be the same whether they come in
// one piece, byte by byte, or by an index from stretches of some size.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "meter/data_source.h"
#include "sources/recording/csv_encoding.h"
#include "sources/recording/csv_index.h"
#include "sources/recording/csv_layout.h"
#include "sources/recording/csv_rows.h"
#include "sources/recording/csv_times.h"
#include "sources/recording/live_table.h"
#include "sources/recording/text_pieces.h"

namespace {

using vantoscope::CsvLayout;
using vantoscope::CsvRow;
using vantoscope::CsvRows;

void Require(bool holds) {
  if (!holds) std::abort();
}

/// Every value and time of every line, with the file handed over in pieces of that size.
std::vector<double> Values(const CsvLayout& layout, std::string_view text, std::size_t piece) {
  std::vector<double> values;
  std::vector<double> times;
  vantoscope::TimeSteps steps;
  CsvRows rows(layout, piece % 2 == 0, [&](const CsvRow& row) {
    values.insert(values.end(), row.values.begin(), row.values.end());
    times.push_back(row.seconds.value_or(std::numeric_limits<double>::quiet_NaN()));
    if (row.seconds) steps.Add(*row.seconds);
  });
  for (std::size_t i = 0; i < text.size(); i += piece) rows.Feed(text.substr(i, piece));
  rows.Finish();
  values.insert(values.end(), times.begin(), times.end());
  Require(steps.Rate().value_or(1) > 0);
  const std::size_t lines = times.size();
  const vantoscope::Timeline line = vantoscope::TimelineOf(std::move(times));
  Require(line.rate.value_or(1) > 0);
  Require(line.times.empty() || line.times.size() == lines);
  Require(std::ranges::is_sorted(line.times));
  values.push_back(line.rate.value_or(0));
  return values;
}

using Take = CsvRows::Take;

/// Every value and time of every line.
std::vector<double> Lines(const std::function<void(const Take&)>& read) {
  std::vector<double> values;
  read([&](const CsvRow& row) {
    values.insert(values.end(), row.values.begin(), row.values.end());
    values.push_back(row.seconds.value_or(std::numeric_limits<double>::quiet_NaN()));
  });
  return values;
}

std::vector<double> LinesByIndex(const CsvLayout& layout, std::string_view text,
                                 std::size_t stretch) {
  const auto read = [text](std::uint64_t offset, std::span<char> to) {
    return text.copy(to.data(), to.size(), std::min<std::size_t>(offset, text.size()));
  };
  vantoscope::CsvIndex index("", {read, {}}, layout, {}, stretch);
  while (!index.Complete()) index.ReadOn();
  return Lines([&](const Take& take) {
    for (const vantoscope::CsvStretch& each : index.Stretches()) index.Read(each, take);
  });
}

/// The same numbers, nan like nan.
bool Same(const std::vector<double>& one, const std::vector<double>& other) {
  return std::ranges::equal(
      one, other, [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); });
}

/// The newest scans of a followed table whose lines come in pieces of that size, read when they
/// come, or those that are wanted alone.
std::vector<double> Newest(std::string_view bytes, std::size_t piece, bool every) {
  std::vector<double> newest;
  try {
    vantoscope::TextPieces pieces({.followed = true}, "It");
    pieces.Feed(bytes.substr(0, bytes.size() / 2));
    pieces.Settle(false);
    const std::size_t columns = pieces.Layout().columns.size();
    if (columns > 100) return {};
    vantoscope::LiveTable table(
        pieces.Layout(), columns,
        [](const CsvRow& row, std::span<double> scan) {
          std::ranges::copy(row.values, scan.begin());
        },
        1);
    if (every) table.ReadEvery();
    for (std::size_t i = bytes.size() / 2; i < bytes.size(); i += piece) {
      pieces.Feed(bytes.substr(i, piece));
      for (vantoscope::TextPiece& come : pieces.Take()) table.Add(std::move(come));
      table.Read(2);
    }
    const std::size_t scans = std::min<std::size_t>(table.Read(2), 2);
    for (std::size_t column = 0; column < columns; ++column) {
      std::vector<double> values(scans);
      table.Copy(column, table.Total() - static_cast<std::int64_t>(scans), values);
      newest.insert(newest.end(), values.begin(), values.end());
    }
  } catch (const vantoscope::SourceError&) {
    return {};
  }
  return newest;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 65536) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  vantoscope::TextDecoder decoder(bytes);
  const std::string text(decoder.Decode(bytes.substr(decoder.MarkSize())));
  const CsvLayout layout = vantoscope::FindCsvLayout(text);
  Require(layout.columns.size() <= text.size() + 1);
  Require(!layout.times || layout.times->seconds_per_unit > 0);
  Require(Same(Newest(bytes, 7, true), Newest(bytes, 7, false)));
  if (layout.columns.empty()) return 0;
  vantoscope::Description(layout);
  const std::size_t whole = text.size() + 1;
  Require(Same(Values(layout, text, whole | 1U), Values(layout, text, 1)));
  Require(Same(Values(layout, text, whole + whole % 2), Values(layout, text, 2)));
  const auto lines = Lines([&](const Take& take) {
    CsvRows rows(layout, false, take);
    rows.Feed(text);
    rows.Finish();
  });
  for (const std::size_t stretch : {1 + size % 97, 1 + size / 3, whole}) {
    Require(Same(LinesByIndex(layout, text, stretch), lines));
  }
  return 0;
}
