// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/follow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "sources/channel_words.h"
#include "sources/freshness.h"
#include "sources/recording/csv_file.h"

namespace vantoscope {
namespace {

constexpr std::size_t kHeldScans = 32768;
constexpr std::size_t kMostBytesAtOnce = std::size_t{1} << 24U;
constexpr std::int64_t kLongAgo = std::int64_t{1} << 60U;  // nanoseconds

/// The newest scans, channel by channel.
class ScanStore {
 public:
  explicit ScanStore(std::size_t channels)
      : values_(std::make_unique_for_overwrite<double[]>(channels * kHeldScans)) {}

  [[nodiscard]] std::int64_t Total() const { return total_; }
  [[nodiscard]] std::int64_t Oldest() const {
    return std::max<std::int64_t>(0, total_ - static_cast<std::int64_t>(kHeldScans));
  }
  void Put(std::size_t channel, double value) { values_[Place(channel, total_)] = value; }
  void Next() { ++total_; }
  [[nodiscard]] double At(std::size_t channel, std::int64_t scan) const {
    return values_[Place(channel, scan)];
  }
  void Copy(std::size_t channel, std::int64_t first, std::span<double> values) const {
    const double* const ring = values_.get() + channel * kHeldScans;
    const std::size_t start = static_cast<std::size_t>(first) % kHeldScans;
    const std::size_t stretch = std::min(values.size(), kHeldScans - start);
    std::copy_n(ring + start, stretch, values.begin());
    std::ranges::copy(std::span(ring, values.size() - stretch), values.subspan(stretch).begin());
  }

 private:
  [[nodiscard]] static std::size_t Place(std::size_t channel, std::int64_t scan) {
    return channel * kHeldScans + static_cast<std::size_t>(scan) % kHeldScans;
  }

  std::unique_ptr<double[]> values_;  // untouched pages cost nothing
  std::int64_t total_ = 0;
};

class Follow final : public Device {
 public:
  Follow(std::string name, std::unique_ptr<RecordedFile> file, const CsvReading& reading,
         std::optional<Range> range, FollowClocks clocks)
      : name_(std::move(name)),
        clocks_(std::move(clocks)),
        csv_(std::move(file), reading, [this](const CsvRow& row) { Take(row); }),
        columns_(ListColumns(csv_.Layout(), csv_.File().Path())),
        values_(columns_),
        store_(columns_.size()) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const ListedColumn& column : columns_) {
      channels_.push_back(column.info);
      channels_.back().low = kInfinity;
      channels_.back().high = -kInfinity;
    }
    csv_.SkipToLast(kHeldScans);
    while (csv_.ReadOn(kMostBytesAtOnce)) {
    }
    if (values_.FirstRefused()) {
      throw SourceError("The recording '" + csv_.File().Path() +
                        "' cannot be followed: " + values_.FirstRefused()->reason + ".");
    }
    NoteReading(0);
    SetRate(reading.rate);
    description_ = csv_.Explain(rate_);
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) SetRange(channel, range);
    opened_ = true;
  }

  [[nodiscard]] std::string Name() const override { return name_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override { return channels_; }
  [[nodiscard]] double SampleRate() const override { return rate_; }
  void Start() override { running_ = true; }
  void Stop() override { running_ = false; }

  double LatestValue(std::int16_t channel) override {
    if (!Delivers() || store_.Total() == 0) {
      throw SourceError("There is no value yet in " + name_ + ".");
    }
    return store_.At(static_cast<std::size_t>(channel), store_.Total() - 1);
  }

  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    if (!Delivers() || store_.Total() < count) return std::nullopt;
    Block block(channels_.size(), static_cast<std::size_t>(count));
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
      const std::span<double> values = block.Channel(channel);
      store_.Copy(channel, store_.Total() - count, values);
      CopyAsElements(channels_[channel], mode, values, values.data());
    }
    return block;
  }

  Scans ScansSince(std::int64_t next, std::size_t limit) override {
    if (!Delivers()) return {};
    Scans scans = ScansWanted(next, limit, store_.Oldest(), store_.Total() - 1);
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
      std::vector<double> values(scans.scans);
      store_.Copy(channel, scans.first, values);
      scans.channels.push_back(SamplesOf(channels_[channel], std::move(values)));
    }
    return scans;
  }

  Freshness DataFreshness() override {
    Update();
    std::optional<double> age;
    if (store_.Total() > 0) age = 1e-9 * static_cast<double>(clocks_.steady() - newest_at_);
    return FreshnessOf(
        age, FreshnessLimit(rate_),
        gone_ ? "the recording is gone or was replaced" : "the recorder writes nothing");
  }

  std::optional<std::string> HostGone() override {
    if (!gone_) gone_ = csv_.File().Fate();
    return gone_;
  }
  [[nodiscard]] std::string Description() const override { return description_; }

 private:
  void Take(const CsvRow& row) {
    if (row.seconds) steps_.Add(*row.seconds);
    for (std::size_t channel = 0; channel < columns_.size(); ++channel) {
      const double value = values_(channel, row);
      store_.Put(channel, value);
      Enclose(channels_[channel], value);
    }
    store_.Next();
  }

  /// While the file is opened the range is the extent of its values; afterwards it grows in steps.
  void Enclose(ChannelInfo& channel, double value) const {
    if (!std::isfinite(value) || (value >= channel.low && value <= channel.high)) return;
    const Range extent{.low = std::min(channel.low, value), .high = std::max(channel.high, value)};
    const Range range = opened_ ? RoomAround(extent) : extent;
    channel.low = range.low;
    channel.high = range.high;
  }

  void SetRate(std::optional<double> wanted) {
    const std::optional<double> told = wanted ? wanted : steps_.Rate();
    rate_ = told.value_or(1);
    if (told || !csv_.Layout().times) return;
    SayOfRecording(TheRecording(csv_.File().Path()) +
                   " has no two times yet that tell its rate: it is taken for one line a second; "
                   "?rate=R says otherwise.");
  }

  /// From the extent of the values so far to a range.
  void SetRange(std::size_t place, std::optional<Range> wanted) {
    ChannelInfo& channel = channels_[place];
    const Range extent =
        channel.low <= channel.high ? Range{.low = channel.low, .high = channel.high} : Range{};
    if (IsSpecial(channel.number)) {
      channel = columns_[place].info;
    } else {
      const Range range = wanted ? Joined(*wanted, extent) : RoomAround(extent);
      channel.low = range.low;
      channel.high = range.high;
    }
  }

  /// False when there is no block to be had.
  bool Delivers() {
    if (running_) Update();
    return running_ && !gone_;
  }

  /// Reads what has been written by now.
  void Update() {
    if (HostGone()) return;
    const std::int64_t scans_before = store_.Total();
    try {
      csv_.ReadOn(kMostBytesAtOnce);
    } catch (const SourceError& error) {
      gone_ = error.what();  // what is there now is not the recording that was opened
    }
    NoteReading(scans_before);
    SayRefused();
  }

  void SayRefused() {
    if (said_refused_ || !values_.FirstRefused()) return;
    said_refused_ = true;
    SayOfRecording(TheRecording(csv_.File().Path()) + ": " + values_.FirstRefused()->reason +
                   "; such values are shown as nan.");
  }

  /// New rows are as old as the file says, but were not there when it was read before: so a file
  /// server's clock can be wrong by no more than the time between two reads.
  void NoteReading(std::int64_t scans_before) {
    const std::int64_t now = clocks_.steady();
    if (store_.Total() > scans_before) {
      const std::int64_t age = clocks_.wall() - csv_.File().WrittenAt();
      newest_at_ = now - std::clamp<std::int64_t>(age, 0, read_at_ ? now - *read_at_ : kLongAgo);
    }
    read_at_ = now;
  }

  std::string name_;
  FollowClocks clocks_;
  TimeSteps steps_;
  std::vector<ChannelInfo> channels_;
  CsvFile csv_;
  std::vector<ListedColumn> columns_;
  ChannelValues values_;
  ScanStore store_;
  double rate_ = 1;
  std::string description_;
  bool opened_ = false;
  bool said_refused_ = false;
  bool running_ = false;
  std::optional<std::string> gone_;
  std::optional<std::int64_t> read_at_;  // these two by the steady clock
  std::int64_t newest_at_ = 0;
};

}  // namespace

std::unique_ptr<Device> MakeFollow(std::string name, std::unique_ptr<RecordedFile> file,
                                   CsvReading reading, std::optional<Range> range,
                                   FollowClocks clocks) {
  reading.followed = true;
  return std::make_unique<Follow>(std::move(name), std::move(file), reading, range,
                                  std::move(clocks));
}

}  // namespace vantoscope
