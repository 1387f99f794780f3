// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/follow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "sources/channel_words.h"
#include "sources/freshness.h"
#include "sources/recording/growing_file.h"
#include "sources/recording/live_table.h"
#include "sources/recording/stream_text.h"

namespace vantoscope {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class Follow final : public Device {
 public:
  Follow(std::string name, const std::string& path, std::unique_ptr<TextSource> source,
         Following following)
      : name_(std::move(name)),
        clocks_(std::move(following.clocks)),
        subject_(source->Subject()),
        has_times_(source->Layout().times.has_value()),
        columns_(ListColumns(source->Layout(), path)),
        values_(columns_),
        extents_(columns_.size(), Range{.low = kInfinity, .high = -kInfinity}),
        table_(source->Layout(), columns_.size(),
               [this](const CsvRow& row, std::span<double> scan) { Take(row, scan); }) {
    AddNews(source->Begin());
    table_.Read(LiveTable::kHeldScans);
    if (values_.FirstRefused()) {
      throw SourceError(subject_ + " cannot be followed: " + values_.FirstRefused()->reason + ".");
    }
    SetRate(following.reading.rate);
    description_ = ExplainTable(subject_, source->Layout(), rate_);
    SetRanges(following.range);
    opened_ = true;
    reader_ = following.reader(std::move(source));
  }

  [[nodiscard]] std::string Name() const override { return name_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override { return channels_; }
  [[nodiscard]] double SampleRate() const override { return rate_; }
  [[nodiscard]] std::string Description() const override { return description_; }
  void Start() override { running_ = true; }
  void Stop() override { running_ = false; }

  double LatestValue(std::int16_t channel) override {
    double value = 0;
    if (Deliver(1) < 1) throw SourceError("There is no value yet in " + name_ + ".");
    table_.Copy(static_cast<std::size_t>(channel), table_.Total() - 1, {&value, 1});
    return value;
  }

  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    const auto scans = static_cast<std::size_t>(count);
    if (!running_ || Deliver(scans) < scans || gone_) return std::nullopt;
    Block block(channels_.size(), scans);
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
      const std::span<double> values = block.Channel(channel);
      table_.Copy(channel, table_.Total() - count, values);
      CopyAsElements(channels_[channel], mode, values, values.data());
    }
    return block;
  }

  /// Those that came before the end of a stream are given behind it too.
  Scans ScansSince(std::int64_t next, std::size_t limit) override {
    if (!running_) return {};
    table_.ReadEvery();
    Deliver(1);
    Scans scans = ScansWanted(next, limit, table_.Oldest(), table_.Total() - 1);
    for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
      std::vector<double> values(scans.scans);
      table_.Copy(channel, scans.first, values);
      scans.channels.push_back(SamplesOf(channels_[channel], std::move(values)));
    }
    return scans;
  }

  Freshness DataFreshness() override {
    Update(1);
    std::optional<double> age;
    if (const auto taken_at = table_.NewestTakenAt()) {
      age = 1e-9 * static_cast<double>(clocks_.steady() - *taken_at);
    }
    return FreshnessOf(age, FreshnessLimit(rate_),
                       gone_ ? "the recording is gone or was replaced" : silence_);
  }

  std::optional<std::string> HostGone() override {
    Update(1);
    return gone_;
  }

 private:
  void Take(const CsvRow& row, std::span<double> scan) {
    if (row.seconds && !opened_) steps_.Add(*row.seconds);
    for (std::size_t channel = 0; channel < columns_.size(); ++channel) {
      scan[channel] = values_(channel, row);
      Enclose(extents_[channel], scan[channel]);
    }
  }

  /// While the text is opened it is the extent of its values; afterwards it grows in steps.
  void Enclose(Range& extent, double value) {
    if (!std::isfinite(value) || (value >= extent.low && value <= extent.high)) return;
    extent = Joined(extent, {.low = value, .high = value});
    if (!opened_) return;
    extent = RoomAround(extent);
    widened_ = true;
  }

  void SetRate(std::optional<double> wanted) {
    const std::optional<double> told = wanted ? wanted : steps_.Rate();
    rate_ = told.value_or(1);
    if (told || !has_times_) return;
    SayOfRecording(subject_ +
                   " has no two times yet that tell its rate: it is taken for one line a second; "
                   "?rate=R says otherwise.");
  }

  /// From the extents of the values so far.
  void SetRanges(std::optional<Range> wanted) {
    for (std::size_t place = 0; place < columns_.size(); ++place) {
      ChannelInfo channel = columns_[place].info;
      Range& extent = extents_[place];
      if (extent.low > extent.high) extent = {};
      if (!IsSpecial(channel.number))
        extent = wanted ? Joined(*wanted, extent) : RoomAround(extent);
      if (IsSpecial(channel.number)) extent = {.low = channel.low, .high = channel.high};
      channel.low = extent.low;
      channel.high = extent.high;
      channels_.push_back(std::move(channel));
    }
  }

  /// How many of so many scans there are.
  std::size_t Deliver(std::size_t scans) {
    if (!running_) return 0;
    const std::size_t there = Update(scans);
    if (std::exchange(widened_, false)) {
      for (std::size_t channel = 0; channel < channels_.size(); ++channel) {
        channels_[channel].low = extents_[channel].low;
        channels_[channel].high = extents_[channel].high;
      }
    }
    return there;
  }

  /// Takes what has come by now, and reads so much of it that there are so many scans.
  std::size_t Update(std::size_t scans) {
    if (!gone_) AddNews(reader_->Take());
    std::size_t there = 0;
    try {
      there = table_.Read(scans);
    } catch (const SourceError& error) {
      gone_ = subject_ + " cannot be read: " + error.what() + ".";
    }
    SayRefused();
    return there;
  }

  void AddNews(TextNews news) {
    for (TextPiece& piece : news.pieces) table_.Add(std::move(piece));
    gone_ = std::move(news.gone);
    silence_ = std::move(news.silence);
  }

  void SayRefused() {
    if (said_refused_ || !values_.FirstRefused()) return;
    said_refused_ = true;
    SayOfRecording(subject_ + ": " + values_.FirstRefused()->reason +
                   "; such values are shown as nan.");
  }

  std::string name_;
  FollowClocks clocks_;
  std::string subject_;
  bool has_times_;
  TimeSteps steps_;
  std::vector<ListedColumn> columns_;
  ChannelValues values_;
  std::vector<Range> extents_;
  LiveTable table_;
  std::vector<ChannelInfo> channels_;
  double rate_ = 1;
  std::string description_;
  bool opened_ = false;
  bool widened_ = false;
  bool said_refused_ = false;
  bool running_ = false;
  std::optional<std::string> gone_;
  std::string silence_;
  std::unique_ptr<TextReader> reader_;
};

}  // namespace

std::unique_ptr<Device> MakeFollow(std::string name, std::unique_ptr<RecordedFile> file,
                                   Following following) {
  following.reading.followed = true;
  const std::string path = file->Path();
  auto source = std::make_unique<GrowingFile>(std::move(file), following.reading, following.rotate,
                                              following.clocks);
  return std::make_unique<Follow>(std::move(name), path, std::move(source), std::move(following));
}

std::unique_ptr<Device> FollowStream(std::string name, const std::string& path, Following following,
                                     Opening& opening) {
  following.reading.followed = true;
  auto source = std::make_unique<StreamText>(path, following.reading, following.rotate,
                                             following.clocks.steady);
  source->WaitForTable(opening);
  return std::make_unique<Follow>(std::move(name), path, std::move(source), std::move(following));
}

}  // namespace vantoscope
