// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/csv_recording.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "sources/channel_words.h"
#include "sources/recording/long_csv.h"

namespace vantoscope {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 22U;
constexpr double kSameTime = 1e-4;  // scans

/// `range` itself, or joined with 0 (or 0 to 1) when it is a single point.
Range NotEmpty(Range range) {
  if (range.low != range.high) return range;
  return range.low == 0 ? Range{.low = 0, .high = 1} : Joined(range, {});
}

/// What the rows of a file hold.
struct Rows {
  std::vector<std::vector<double>> values;  // of each channel
  RowTimes times;
  std::size_t count = 0;
};

/// The scan of each row, by its time.
std::vector<std::int64_t> ScansAt(const std::vector<double>& times, double rate) {
  std::vector<std::int64_t> scans;
  scans.reserve(times.size());
  for (const double time : times) {
    scans.push_back(static_cast<std::int64_t>(std::ceil(std::min(time * rate - kSameTime, 1e15))));
  }
  return scans;
}

/// From the values of a channel to its range and samples.
void Take(ChannelInfo& info, std::vector<double> values, std::optional<Range> wanted,
          ScanPiece& piece) {
  StoredChannel stored = StoredChannel::Packed(std::move(values));
  if (!IsSpecial(info.number)) {
    const Range extent = stored.Extent();
    const Range range = wanted ? Joined(*wanted, extent) : NotEmpty(extent);
    info.low = range.low;
    info.high = range.high;
  }
  piece.stored.push_back(std::move(stored));
}

RecordedScans ReadWhole(CsvFile& csv, Rows& rows, std::vector<ListedColumn> columns,
                        const CsvReading& reading, std::optional<Range> range) {
  RecordedScans recorded;
  ScanPiece piece;
  piece.end = static_cast<std::int64_t>(rows.count);
  if (rows.times.seconds.size() > 1) {
    const Timeline timeline = TimelineOf(std::move(rows.times.seconds));
    recorded.rate = csv.RateOf(rows.times, timeline);
    if (!timeline.times.empty()) {
      piece.scans = ScansAt(timeline.times, recorded.rate);
      piece.end = piece.scans.back() + 1;
    }
  }
  if (reading.rate) recorded.rate = *reading.rate;
  recorded.description = csv.Explain(recorded.rate);
  for (std::size_t channel = 0; channel < columns.size(); ++channel) {
    Take(columns[channel].info, std::exchange(rows.values[channel], {}), range, piece);
    recorded.channels.push_back(std::move(columns[channel].info));
  }
  recorded.source = InMemory(std::move(piece), csv.Release());
  return recorded;
}

}  // namespace

RecordedScans OpenCsv(std::unique_ptr<RecordedFile> file, const CsvReading& reading,
                      std::optional<Range> range, std::uint64_t whole_bytes) {
  if (file->Size() > whole_bytes) return OpenLongCsv(std::move(file), reading, range);
  Rows rows;
  std::optional<ChannelValues> channel_values;
  bool has_times = false;
  CsvFile csv(std::move(file), reading, [&](const CsvRow& row) {
    ++rows.count;
    if (has_times) rows.times.Add(row.seconds, row.line);
    for (std::size_t channel = 0; channel < rows.values.size(); ++channel) {
      rows.values[channel].push_back((*channel_values)(channel, row));
    }
  });
  std::vector<ListedColumn> columns = ListColumns(csv.Layout(), csv.File().Path());
  channel_values.emplace(columns);
  rows.values.resize(columns.size());
  has_times = csv.Layout().times && !reading.rate;
  while (csv.ReadOn(kPiece)) continue;
  csv.Finish();
  csv.RequireWords(*channel_values);
  if (rows.count == 0) {
    throw SourceError("The recording '" + csv.File().Path() + "' has no line of numbers.");
  }
  return ReadWhole(csv, rows, std::move(columns), reading, range);
}

}  // namespace vantoscope
