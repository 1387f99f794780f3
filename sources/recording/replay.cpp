// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/replay.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

#include "sources/channel_words.h"
#include "sources/freshness.h"
#include "sources/recording/scan_reader.h"

namespace vantoscope {
namespace {

constexpr std::int64_t kHeldScans = 65536;  // how far back ScansSince answers
constexpr double kSecondsAhead = 2;

class Replay final : public Device {
 public:
  Replay(std::string name, RecordedScans scans, ReplayTimes times, Clock clock)
      : name_(std::move(name)),
        path_(scans.source->File().Path()),
        channels_(std::move(scans.channels)),
        description_(std::move(scans.description)),
        rate_(scans.rate),
        times_(times),
        reader_(std::move(scans.source), std::llround(rate_ * kSecondsAhead)),
        clock_(std::move(clock)) {}

  [[nodiscard]] std::string Name() const override { return name_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override { return channels_; }
  [[nodiscard]] double SampleRate() const override { return rate_; }
  void Start() override { running_ = true; }
  void Stop() override { running_ = false; }

  double LatestValue(std::int16_t channel) override {
    if (!Delivers()) throw SourceError("The replay " + name_ + " is not running.");
    const std::int64_t newest = Newest();
    if (!Fetch(newest, newest)) {
      throw SourceError("There is no value yet: " + reader_.Missing() + ".");
    }
    double value = 0;
    CopyScans(static_cast<std::size_t>(channel), newest, {&value, 1});
    return value;
  }

  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    if (!Delivers()) return std::nullopt;
    const std::int64_t newest = Newest();
    const std::int64_t first = newest - count + 1;
    if (count > 0 && !Fetch(first, newest)) return std::nullopt;
    Block block(channels_.size(), static_cast<std::size_t>(count));
    for (std::size_t channel = 0; channel < block.Channels(); ++channel) {
      const std::span<double> values = block.Channel(channel);
      CopyScans(channel, first, values);
      CopyAsElements(channels_[channel], mode, values, values.data());
    }
    return block;
  }

  Scans ScansSince(std::int64_t next, std::size_t limit) override {
    if (!running_) return {};
    std::int64_t newest = Newest();
    if (const auto length = Length(); length && !times_.loop)
      newest = std::min(newest, *length - 1);
    const std::int64_t oldest = std::max<std::int64_t>(newest - kHeldScans + 1, 0);
    Scans scans = ScansWanted(next, limit, oldest, newest);
    const std::int64_t last = scans.first + static_cast<std::int64_t>(scans.scans) - 1;
    if (scans.scans == 0 || !Fetch(scans.first, last)) return {};
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
      std::vector<double> values(scans.scans);
      CopyScans(channel, scans.first, values);
      scans.channels.push_back(SamplesOf(channels_[channel], std::move(values)));
    }
    return scans;
  }

  Freshness DataFreshness() override {
    const std::int64_t now = clock_() - times_.start;
    std::int64_t last = ScanIndexAt(now, rate_);
    const auto length = reader_.Length(false);
    if (length && !times_.loop) last = std::min(last, *length - 1);
    if (missing_ && !fetched_) return FreshnessOf({}, FreshnessLimit(rate_), reader_.Missing());
    if (missing_) last = std::min(last, *fetched_);
    return FreshnessOf(SecondsSinceScan(last, now, rate_), FreshnessLimit(rate_),
                       missing_ ? reader_.Missing() : "the recording is over");
  }

  std::optional<std::string> HostGone() override {
    if (!gone_) gone_ = reader_.Gone();
    if (!gone_ && AtEnd()) gone_ = "The recording '" + path_ + "' has ended; ?loop repeats it.";
    return gone_;
  }

  [[nodiscard]] std::string Description() const override { return description_; }

 private:
  [[nodiscard]] std::optional<std::int64_t> Length() { return reader_.Length(times_.loop); }
  [[nodiscard]] bool AtEnd() {
    const auto length = reader_.Length(false);
    return !times_.loop && length && Newest() >= *length;
  }
  [[nodiscard]] bool Delivers() { return running_ && !gone_ && !AtEnd(); }
  [[nodiscard]] std::int64_t Newest() const { return ScanIndexAt(clock_() - times_.start, rate_); }

  /// Place in the recording of a scan, which may lie before the start.
  [[nodiscard]] std::int64_t PlaceOf(std::int64_t scan) const {
    if (!times_.loop) return std::max<std::int64_t>(scan, 0);
    const std::int64_t place = scan % length_;
    return place < 0 ? place + length_ : place;
  }

  /// Gets hold of the pieces of these scans; false while they are not there.
  bool Fetch(std::int64_t first, std::int64_t last) {
    pieces_ = Pieces(first, last);
    missing_ = !pieces_;
    if (missing_) return false;
    std::ranges::sort(*pieces_, {}, [](const auto& piece) { return piece->first; });
    fetched_ = std::max(fetched_.value_or(last), last);
    for (const auto& piece : *pieces_) Enclose(*piece);
    return true;
  }

  std::optional<ScanReader::Pieces> Pieces(std::int64_t first, std::int64_t last) {
    if (!times_.loop) return reader_.Get({{.first = PlaceOf(first), .last = PlaceOf(last)}});
    const auto length = Length();
    if (!length) return std::nullopt;
    length_ = *length;
    if (last - first + 1 >= length_) return reader_.Get({{.first = 0, .last = length_ - 1}});
    const ScanSpan span{.first = PlaceOf(first), .last = PlaceOf(last)};
    if (span.first <= span.last) return reader_.Get({span});
    return reader_.Get(
        {{.first = span.first, .last = length_ - 1}, {.first = 0, .last = span.last}});
  }

  void Enclose(const ScanPiece& piece) {
    for (std::size_t channel = 0; channel < piece.extents.size(); ++channel) {
      ChannelInfo& info = channels_[channel];
      const Range& extent = piece.extents[channel];
      const bool holds = extent.low >= info.low && extent.high <= info.high;
      if (holds || extent.low > extent.high || IsSpecial(info.number)) continue;
      const Range range = RoomAround(Joined({.low = info.low, .high = info.high}, extent));
      info.low = range.low;
      info.high = range.high;
    }
  }

  /// Copies scans from `first` on, which were fetched, to all of `values`, stretch by stretch.
  void CopyScans(std::size_t channel, std::int64_t first, std::span<double> values) const {
    if (!times_.loop && first < 0 && !values.empty()) {
      const std::size_t before = std::min(values.size(), static_cast<std::size_t>(-first));
      double start = 0;
      PieceOf(0).Copy(channel, 0, {&start, 1});
      std::ranges::fill(values.first(before), start);
      values = values.subspan(before);
      first = 0;
    }
    while (!values.empty()) {
      const std::int64_t place = PlaceOf(first);
      const ScanPiece& piece = PieceOf(place);
      const auto stretch = static_cast<std::size_t>(
          std::min<std::int64_t>(static_cast<std::int64_t>(values.size()), piece.end - place));
      piece.Copy(channel, place, values.first(stretch));
      values = values.subspan(stretch);
      first += static_cast<std::int64_t>(stretch);
    }
  }

  [[nodiscard]] const ScanPiece& PieceOf(std::int64_t place) const {
    const auto next = std::ranges::upper_bound(*pieces_, place, {},
                                               [](const auto& piece) { return piece->first; });
    return **std::prev(next);
  }

  std::string name_;
  std::string path_;
  std::vector<ChannelInfo> channels_;
  std::string description_;
  double rate_;
  ReplayTimes times_;
  ScanReader reader_;
  Clock clock_;
  bool running_ = false;
  std::optional<std::string> gone_;
  std::optional<ScanReader::Pieces> pieces_;  // that hold the scans of the present call
  std::int64_t length_ = 0;                   // of a loop
  bool missing_ = false;                      // what was asked for last
  std::optional<std::int64_t> fetched_;       // the newest scan that was there
};

}  // namespace

std::unique_ptr<Device> MakeReplay(std::string name, RecordedScans scans, ReplayTimes times,
                                   Clock clock) {
  return std::make_unique<Replay>(std::move(name), std::move(scans), times, std::move(clock));
}

}  // namespace vantoscope
