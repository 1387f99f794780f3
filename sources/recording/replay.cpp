// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/replay.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "sources/channel_words.h"
#include "sources/freshness.h"

namespace vantoscope {
namespace {

constexpr double kSameTime = 1e-4;          // scans
constexpr std::int64_t kHeldScans = 65536;  // how far back ScansSince answers

/// Scans of a recording, of whatever times its samples are.
std::int64_t LengthOf(const RecordedScans& scans) {
  if (scans.times.empty()) return static_cast<std::int64_t>(scans.stored.front().Size());
  return std::llround(std::floor(scans.times.back() * scans.rate + kSameTime)) + 1;
}

class Replay final : public Device {
 public:
  Replay(std::string name, RecordedScans scans, ReplayTimes times,
         std::unique_ptr<RecordedFile> file, Clock clock)
      : name_(std::move(name)),
        scans_(std::move(scans)),
        times_(times),
        length_(LengthOf(scans_)),
        file_(std::move(file)),
        clock_(std::move(clock)) {}

  [[nodiscard]] std::string Name() const override { return name_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override {
    return scans_.channels;
  }
  [[nodiscard]] double SampleRate() const override { return scans_.rate; }
  void Start() override { running_ = true; }
  void Stop() override { running_ = false; }

  double LatestValue(std::int16_t channel) override {
    if (!Delivers()) throw SourceError("The replay " + name_ + " is not running.");
    return scans_.stored[static_cast<std::size_t>(channel)][SampleAt(PlaceOf(Newest()))];
  }

  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    if (!Delivers()) return std::nullopt;
    Block block(scans_.channels.size(), static_cast<std::size_t>(count));
    const std::int64_t first = Newest() - count + 1;
    for (std::size_t channel = 0; channel < block.Channels(); ++channel) {
      const std::span<double> values = block.Channel(channel);
      CopyScans(channel, first, values);
      CopyAsElements(scans_.channels[channel], mode, values, values.data());
    }
    return block;
  }

  Scans ScansSince(std::int64_t next, std::size_t limit) override {
    if (!running_) return {};
    const std::int64_t newest = times_.loop ? Newest() : std::min(Newest(), length_ - 1);
    const std::int64_t oldest = std::max<std::int64_t>(newest - kHeldScans + 1, 0);
    Scans scans = ScansWanted(next, limit, oldest, newest);
    for (std::size_t channel = 0; channel < scans_.channels.size(); ++channel) {
      std::vector<double> values(scans.scans);
      CopyScans(channel, scans.first, values);
      scans.channels.push_back(SamplesOf(scans_.channels[channel], std::move(values)));
    }
    return scans;
  }

  Freshness DataFreshness() override {
    const std::int64_t now = clock_() - times_.start;
    const std::int64_t newest = ScanIndexAt(now, scans_.rate);
    const std::int64_t last = times_.loop ? newest : std::min(newest, length_ - 1);
    return FreshnessOf(SecondsSinceScan(last, now, scans_.rate), FreshnessLimit(scans_.rate),
                       "the recording is over");
  }

  std::optional<std::string> HostGone() override {
    if (!gone_) gone_ = file_->Fate();
    if (!gone_ && AtEnd()) {
      gone_ = "The recording '" + file_->Path() + "' has ended; ?loop repeats it.";
    }
    return gone_;
  }

  [[nodiscard]] std::string Description() const override { return scans_.description; }

 private:
  [[nodiscard]] bool AtEnd() const { return !times_.loop && Newest() >= length_; }
  [[nodiscard]] bool Delivers() const { return running_ && !gone_ && !AtEnd(); }
  [[nodiscard]] std::int64_t Newest() const {
    return ScanIndexAt(clock_() - times_.start, scans_.rate);
  }

  /// Place in the recording of a scan, which may lie before the start.
  [[nodiscard]] std::int64_t PlaceOf(std::int64_t scan) const {
    if (!times_.loop) return std::clamp<std::int64_t>(scan, 0, length_ - 1);
    const std::int64_t place = scan % length_;
    return place < 0 ? place + length_ : place;
  }

  /// The sample of a place: the newest one by then.
  [[nodiscard]] std::size_t SampleAt(std::int64_t place) const {
    if (scans_.times.empty()) return static_cast<std::size_t>(place);
    const auto next = std::ranges::upper_bound(scans_.times, TimeAt(place));
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(next - scans_.times.begin(), 1) - 1);
  }
  [[nodiscard]] double TimeAt(std::int64_t place) const {
    return (static_cast<double>(place) + kSameTime) / scans_.rate;
  }

  /// Copies scans from `first` on to all of `values`, stretch by stretch.
  void CopyScans(std::size_t channel, std::int64_t first, std::span<double> values) const {
    const StoredChannel& stored = scans_.stored[channel];
    if (!times_.loop && first < 0) {
      const std::size_t before = std::min(values.size(), static_cast<std::size_t>(-first));
      std::ranges::fill(values.first(before), stored[0]);
      values = values.subspan(before);
      first = 0;
    }
    while (!values.empty()) {
      const std::int64_t place = PlaceOf(first);
      const auto stretch = static_cast<std::size_t>(
          std::min<std::int64_t>(static_cast<std::int64_t>(values.size()), length_ - place));
      CopyPlaces(stored, place, values.first(stretch));
      values = values.subspan(stretch);
      first += static_cast<std::int64_t>(stretch);
    }
  }

  void CopyPlaces(const StoredChannel& stored, std::int64_t place, std::span<double> to) const {
    std::size_t sample = SampleAt(place);
    if (scans_.times.empty()) return stored.Copy(sample, to);
    for (double& value : to) {
      const double now = TimeAt(place++);
      while (sample + 1 < scans_.times.size() && scans_.times[sample + 1] <= now) ++sample;
      value = stored[sample];
    }
  }

  std::string name_;
  RecordedScans scans_;
  ReplayTimes times_;
  std::int64_t length_;
  std::unique_ptr<RecordedFile> file_;
  Clock clock_;
  bool running_ = false;
  std::optional<std::string> gone_;
};

}  // namespace

std::unique_ptr<Device> MakeReplay(std::string name, RecordedScans scans, ReplayTimes times,
                                   std::unique_ptr<RecordedFile> file, Clock clock) {
  return std::make_unique<Replay>(std::move(name), std::move(scans), times, std::move(file),
                                  std::move(clock));
}

}  // namespace vantoscope
