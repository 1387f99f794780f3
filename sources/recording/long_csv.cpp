// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/long_csv.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "sources/channel_words.h"
#include "sources/recording/csv_index.h"

namespace vantoscope {
namespace {

constexpr std::size_t kStretchBytes = std::size_t{1} << 18U;
constexpr std::size_t kLinesOfStretch = 8;
constexpr std::uint64_t kTimesBytes = std::uint64_t{1} << 23U;
constexpr std::uint64_t kSamples = 31;
constexpr std::size_t kSampleBytes = std::size_t{1} << 16U;
constexpr std::size_t kLinesOfSample = 3;

constexpr Range kNoExtent{.low = std::numeric_limits<double>::infinity(),
                          .high = -std::numeric_limits<double>::infinity()};

/// The finite values of each channel, and what they extend over.
class Extents {
 public:
  explicit Extents(std::size_t channels) : extents_(channels, kNoExtent) {}

  void Add(std::size_t channel, double value) {
    if (std::isfinite(value)) Add(channel, Range{.low = value, .high = value});
  }
  void Add(std::size_t channel, Range range) {
    extents_[channel] = Joined(extents_[channel], range);
  }
  [[nodiscard]] const std::vector<Range>& All() const { return extents_; }

 private:
  std::vector<Range> extents_;
};

class LongCsv final : public ScanSource {
 public:
  LongCsv(std::unique_ptr<RecordedFile> file, const CsvReading& reading)
      : csv_(std::move(file), reading, [](const CsvRow&) {}),
        columns_(ListColumns(csv_.Layout(), csv_.File().Path())),
        values_(columns_),
        index_(MakeIndex({})) {}

  [[nodiscard]] bool HasTimes() const { return csv_.Layout().times.has_value(); }

  /// Finds the rate that the times say, and lays out the scans by it.
  double FindRate() {
    RowTimes times;
    index_->OnRow = [&](double seconds, std::size_t line) {
      times.Add(std::isnan(seconds) ? std::nullopt : std::optional(seconds), line);
    };
    while (!index_->Complete() && index_->Position() < kTimesBytes) index_->ReadOn();
    const Timeline timeline = TimelineOf(times.seconds);
    const double rate = csv_.RateOf(times, timeline);
    index_ = MakeIndex(RowScans(timeline));
    return rate;
  }

  /// Reads the first rows, so that there are some.
  void ReadFirstRows() {
    while (Known() == 0 && !Complete()) ReadOn();
    if (Known() == 0)
      throw SourceError(TheRecording(csv_.File().Path()) + " has no line of numbers.");
    first_ = ReadStretch(0);
    csv_.RequireWords(values_);
  }

  /// With ranges.
  std::vector<ChannelInfo> ListChannels(std::optional<Range> range) {
    Extents extents(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) extents.Add(i, first_->extents[i]);
    for (std::uint64_t i = 1; i <= kSamples; ++i) {
      TakeSample(csv_.File().Size() / (kSamples + 1) * i, extents);
    }
    std::vector<ChannelInfo> channels;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      ChannelInfo info = columns_[i].info;
      const Range found = extents.All()[i];
      const Range extent = found.low <= found.high ? found : Range{};
      const Range whole = range ? Joined(*range, extent) : RoomAround(extent);
      if (!IsSpecial(info.number)) {
        info.low = whole.low;
        info.high = whole.high;
      }
      channels.push_back(std::move(info));
    }
    return channels;
  }

  [[nodiscard]] std::string Explain(double rate) const { return csv_.Explain(rate); }

  void ReadOn() override {
    if (index_->Complete()) return;
    index_->ReadOn();
    if (index_->Complete()) SayWhereItEnds();
  }

  [[nodiscard]] std::int64_t Known() const override {
    const std::vector<CsvStretch>& stretches = index_->Stretches();
    if (stretches.empty()) return 0;
    return index_->Complete() ? index_->Length() : stretches.back().first_scan;
  }
  [[nodiscard]] bool Complete() const override { return index_->Complete(); }
  [[nodiscard]] const RecordedFile& File() const override { return csv_.File(); }

  std::shared_ptr<const ScanPiece> Read(std::int64_t scan) override {
    if (first_ && scan < first_->end) return std::exchange(first_, nullptr);
    auto piece = ReadStretch(scan);
    if (values_.FirstRefused() && !std::exchange(said_refused_, true)) {
      SayRefused(csv_.File().Path(), *values_.FirstRefused());
    }
    return piece;
  }

 private:
  std::unique_ptr<CsvIndex> MakeIndex(const RowScans& scans) {
    return std::make_unique<CsvIndex>(
        csv_.File().Path(), MakeBlocks(), csv_.Layout(), scans,
        std::max(kStretchBytes, kLinesOfStretch * csv_.BytesPerLine()));
  }
  CsvBlocks MakeBlocks() {
    return {[this](std::uint64_t offset, std::span<char> to) { return csv_.ReadAt(offset, to); },
            csv_.Decoder()};
  }

  void SayWhereItEnds() {
    const std::string the_recording = TheRecording(csv_.File().Path());
    if (index_->TableEnded()) {
      SayOfRecording(the_recording + " holds several tables; only the first one is read.");
    }
    if (const auto line = index_->BackwardsLine()) {
      SayOfRecording(the_recording + " has times that run backwards in line " +
                     std::to_string(csv_.NumberOfLine(*line)) +
                     ", where it ends therefore; ?rate=R says how many lines make a second.");
    }
  }

  /// The one that holds the scan.
  std::shared_ptr<const ScanPiece> ReadStretch(std::int64_t scan) {
    const std::vector<CsvStretch>& stretches = index_->Stretches();
    const auto next = std::ranges::upper_bound(stretches, scan, {}, &CsvStretch::first_scan);
    const CsvStretch& stretch = *std::prev(next);
    ScanPiece piece{.first = stretch.first_scan,
                    .end = next == stretches.end() ? Known() : next->first_scan,
                    .stored = {}};
    std::vector<std::vector<double>> values(columns_.size());
    for (auto& channel : values) channel.reserve(stretch.rows);
    Extents extents(columns_.size());
    RowScans scans = stretch.scans;
    index_->Read(stretch, [&](const CsvRow& row) {
      piece.scans.push_back(
          scans.Next(row.seconds.value_or(std::nan(""))).value_or(scans.Newest()));
      for (std::size_t channel = 0; channel < columns_.size(); ++channel) {
        const double value = values_(channel, row);
        values[channel].push_back(value);
        extents.Add(channel, value);
      }
    });
    return Finished(std::move(piece), std::move(values), extents);
  }

  std::shared_ptr<const ScanPiece> Finished(ScanPiece piece,
                                            std::vector<std::vector<double>> values,
                                            const Extents& extents) const {
    if (piece.scans.empty()) {
      throw SourceError(TheRecording(csv_.File().Path()) + " was written anew.");
    }
    for (auto& channel : values) piece.stored.emplace_back(std::move(channel));
    piece.extents = extents.All();
    const auto rows = static_cast<std::int64_t>(piece.scans.size());
    const bool even = piece.end == piece.first + rows && piece.scans.back() == piece.end - 1 &&
                      std::ranges::adjacent_find(piece.scans) == piece.scans.end();
    if (even) piece.scans = {};
    return std::make_shared<const ScanPiece>(std::move(piece));
  }

  /// Of values from somewhere in the file.
  void TakeSample(std::uint64_t offset, Extents& extents) {
    CsvBlocks blocks = MakeBlocks();
    const std::size_t bytes = std::max(kSampleBytes, kLinesOfSample * csv_.BytesPerLine());
    std::string_view text = blocks.Read(blocks.UnitAt(offset), bytes).text;
    text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
    ChannelValues values(columns_);
    CsvRows rows(csv_.Layout(), false, [&](const CsvRow& row) {
      for (std::size_t channel = 0; channel < columns_.size(); ++channel) {
        extents.Add(channel, values(channel, row));
      }
    });
    rows.Restart({.line = csv_.Layout().lines_to_skip});
    try {
      rows.Feed(text);
    } catch (const SourceError&) {
      // What is wrong there is said when it is played.
    }
  }

  CsvFile csv_;
  std::vector<ListedColumn> columns_;
  ChannelValues values_;
  std::unique_ptr<CsvIndex> index_;
  std::shared_ptr<const ScanPiece> first_;
  bool said_refused_ = false;
};

}  // namespace

RecordedScans OpenLongCsv(std::unique_ptr<RecordedFile> file, const CsvReading& reading,
                          std::optional<Range> range) {
  auto source = std::make_unique<LongCsv>(std::move(file), reading);
  RecordedScans recorded;
  if (reading.rate) {
    recorded.rate = *reading.rate;
  } else if (source->HasTimes()) {
    recorded.rate = source->FindRate();
  }
  recorded.description = source->Explain(recorded.rate);
  source->ReadFirstRows();
  recorded.channels = source->ListChannels(range);
  recorded.source = std::move(source);
  return recorded;
}

}  // namespace vantoscope
