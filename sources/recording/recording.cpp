// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/recording.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

#include "sources/channel_words.h"
#include "sources/opening.h"
#include "sources/recording/csv_file.h"
#include "sources/recording/follow.h"
#include "sources/recording/replay.h"
#include "sources/recording/sound_file.h"
#include "sources/recording/stream_text.h"

namespace vantoscope {
namespace {

constexpr std::size_t kMostSamples = 100'000'000;
constexpr std::size_t kCsvPiece = std::size_t{1} << 22U;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t kMillisecond = 1'000'000;

struct Options {
  bool follow = false;
  bool rotate = false;
  bool loop = false;
  std::optional<double> start;  // seconds since the Unix epoch
  std::optional<double> rate;
  std::optional<Range> range;
  std::optional<DateOrder> dates;

  [[nodiscard]] CsvReading Reading() const {
    return {.followed = follow, .dates = dates, .rate = rate};
  }
};

bool TakeFlag(DeviceText& device, std::string_view name) {
  const std::optional<std::string> value = TakeOption(device, name);
  if (value && !value->empty()) {
    throw SourceError("The device option " + std::string(name) + " takes no value, but has '" +
                      *value + "'.");
  }
  return value.has_value();
}

void TakeFollow(DeviceText& device, Options& options) {
  const std::optional<std::string> value = TakeOption(device, "follow");
  options.follow = value.has_value();
  options.rotate = value == "rotate";
  if (value && !value->empty() && !options.rotate) {
    throw SourceError("The device option follow takes no value or rotate, but has '" + *value +
                      "'.");
  }
}

std::optional<DateOrder> TakeDates(DeviceText& device) {
  const std::optional<std::string> value = TakeOption(device, "dates");
  if (!value) return std::nullopt;
  if (*value == "dmy") return DateOrder::kDayFirst;
  if (*value == "mdy") return DateOrder::kMonthFirst;
  throw SourceError("The device option dates=" + *value +
                    " is neither dmy, with the day first, nor mdy, with the month first.");
}

Options TakeOptions(DeviceText device) {
  Options options;
  TakeFollow(device, options);
  options.loop = TakeFlag(device, "loop");
  options.start = TakeNumber(device, "start", -1e9, 9e9);
  options.rate = TakeNumber(device, "rate", 0.001, 1e6);
  options.range = TakeRange(device, "range");
  options.dates = TakeDates(device);
  RefuseOtherOptions(device, "follow, loop, start, rate, range and dates");
  if (options.follow && (options.loop || options.start)) {
    throw SourceError("A recording that is followed has no loop and no start.");
  }
  return options;
}

std::string FirstBytes(RecordedFile& file) {
  std::array<char, 16> bytes{};
  std::string first(file.ReadOn(bytes));
  file.Seek(0);
  return first;
}

/// `range` itself, or joined with 0 (or 0 to 1) when it is a single point.
Range NotEmpty(Range range) {
  if (range.low != range.high) return range;
  return range.low == 0 ? Range{.low = 0, .high = 1} : Joined(range, {});
}

[[noreturn]] void RefuseLine(CsvFile& csv, const ChannelValues::Refused& refused) {
  throw SourceError("The recording '" + csv.File().Path() + "' cannot be read: " + refused.reason +
                    " (line " + std::to_string(csv.NumberOfLine(refused.line)) + ").");
}

void SetTimes(RecordedScans& recorded, const CsvFile& csv, Timeline timeline) {
  const auto refuse = [&](const std::string& why) {
    throw SourceError(TheRecording(csv.File().Path()) + " " + why +
                      "; ?rate=R says how many lines make a second.");
  };
  if (timeline.backwards) {
    refuse("has times that run backwards, the first of them in its row of numbers " +
           std::to_string(*timeline.backwards + 1));
  }
  if (!timeline.rate) refuse("has times that do not rise");
  recorded.rate = *timeline.rate;
  recorded.times = std::move(timeline.times);
}

RecordedScans ReadCsv(std::unique_ptr<RecordedFile>& file, const Options& options) {
  std::vector<std::vector<double>> values;
  std::optional<ChannelValues> channel_values;
  std::vector<double> seconds;
  bool has_times = false;
  CsvFile csv(std::move(file), options.Reading(), [&](const CsvRow& row) {
    if (has_times) seconds.push_back(row.seconds.value_or(kNan));
    for (std::size_t channel = 0; channel < values.size(); ++channel) {
      values[channel].push_back((*channel_values)(channel, row));
    }
  });
  std::vector<ListedColumn> columns = ListColumns(csv.Layout(), csv.File().Path());
  channel_values.emplace(columns);
  values.resize(columns.size());
  has_times = csv.Layout().times && !options.rate;
  const auto scans = [&] { return values.front().size(); };
  while (csv.ReadOn(kCsvPiece)) {
    if (scans() * values.size() <= kMostSamples) continue;
    throw SourceError("The recording '" + csv.File().Path() +
                      "' is too large to replay: it has more than " + std::to_string(kMostSamples) +
                      " numbers.");
  }
  csv.Finish();
  if (channel_values->FirstRefused()) RefuseLine(csv, *channel_values->FirstRefused());
  if (scans() == 0) {
    throw SourceError("The recording '" + csv.File().Path() + "' has no line of numbers.");
  }

  RecordedScans recorded;
  if (has_times && scans() > 1) SetTimes(recorded, csv, TimelineOf(std::move(seconds)));
  if (options.rate) recorded.rate = *options.rate;
  recorded.description = csv.Explain(recorded.rate);
  for (std::size_t channel = 0; channel < columns.size(); ++channel) {
    ChannelInfo& info = columns[channel].info;
    StoredChannel stored = StoredChannel::Packed(std::exchange(values[channel], {}));
    const Range extent = stored.Extent();
    if (!IsSpecial(info.number)) {
      const Range range = options.range ? Joined(*options.range, extent) : NotEmpty(extent);
      info.low = range.low;
      info.high = range.high;
    }
    recorded.channels.push_back(std::move(info));
    recorded.stored.push_back(std::move(stored));
  }
  file = csv.Release();
  return recorded;
}

RecordedScans ReadSoundScans(const RecordedFile& file, const Options& options) {
  Sound sound = ReadSound(file, kMostSamples);
  const Range scale = options.range.value_or(Range{.low = -1, .high = 1});
  const double factor = (scale.high - scale.low) / 2;
  const double offset = (scale.high + scale.low) / 2;
  RecordedScans recorded;
  recorded.rate = sound.rate;
  for (StoredChannel& stored : sound.channels) {
    const Range extent = stored.Extent();
    // Float samples may go beyond full scale.
    const double peak = std::max({1.0, -extent.low, extent.high});
    stored.Calibrate(factor, offset);
    ChannelInfo channel;
    channel.number = static_cast<std::int16_t>(recorded.channels.size() + 1);
    channel.low = offset - factor * peak;
    channel.high = offset + factor * peak;
    if (stored.IsWords()) {
      channel.encoding = Encoding::kInt16;
      channel.factor = factor / 32768;
      channel.offset = offset;
    }
    recorded.channels.push_back(std::move(channel));
    recorded.stored.push_back(std::move(stored));
  }
  return recorded;
}

/// A ZIP archive, by its first bytes.
bool IsSigrokSession(std::string_view path, std::string_view first_bytes) {
  return path.ends_with(".sr") && first_bytes.starts_with("PK");
}

Following FollowingOf(const Options& options, Clock clock) {
  return {.reading = options.Reading(),
          .range = options.range,
          .rotate = options.rotate,
          .clocks = {.wall = std::move(clock)}};
}

std::unique_ptr<Device> OpenStream(const DeviceText& device, const Options& options,
                                   Opening& opening) {
  if (options.loop || options.start) {
    throw SourceError("A stream has no loop and no start.");
  }
  if (options.rotate && device.rest == kStandardInput) {
    throw SourceError("Standard input has no next writer that follow=rotate would wait for.");
  }
  return FollowStream(FullText(device), device.rest, FollowingOf(options, SystemTime), opening);
}

std::unique_ptr<Device> OpenFile(DeviceText device, const Options& options, Clock clock) {
  auto file = std::make_unique<RecordedFile>(device.rest);
  const std::string first_bytes = FirstBytes(*file);
  if (IsSigrokSession(device.rest, first_bytes)) {
    throw SourceError("The recording '" + device.rest +
                      "' is a session of sigrok, which is not read; 'sigrok-cli -i FILE.sr -O csv' "
                      "makes a CSV file of it.");
  }
  const bool is_sound = LooksLikeSound(device.rest, first_bytes);
  if (options.follow) {
    if (is_sound) {
      throw SourceError("The recording '" + device.rest +
                        "' is a sound file, which cannot be followed.");
    }
    return MakeFollow(FullText(device), std::move(file), FollowingOf(options, std::move(clock)));
  }
  RecordedScans recorded = is_sound ? ReadSoundScans(*file, options) : ReadCsv(file, options);
  if (options.rate) recorded.rate = *options.rate;

  // Whole milliseconds, so that the text says exactly what is played.
  std::int64_t start = std::llround(options.start.value_or(0) * 1000);
  if (!options.start && !options.loop) {
    start = clock() / kMillisecond;
    device.options.emplace_back("start", ShortestText(static_cast<double>(start) / 1000));
  }
  return MakeReplay(FullText(device), std::move(recorded),
                    {.start = start * kMillisecond, .loop = options.loop}, std::move(file),
                    std::move(clock));
}

}  // namespace

std::unique_ptr<Device> OpenRecording(DeviceText device, Clock clock, const Meanwhile& meanwhile) {
  const Options options = TakeOptions(device);
  if (device.rest.empty()) {
    throw SourceError("A recording needs the path of its file, as in FI64:/data/run.csv.");
  }
  std::error_code ignored;
  if (device.rest != kStandardInput) {
    device.rest = std::filesystem::absolute(device.rest, ignored).string();
  }
  const std::string missing =
      TheRecording(device.rest) + " is not open yet: its file system does not answer.";
  return OpenBeside(
      [device = std::move(device), options, clock = std::move(clock)](Opening& opening) {
        return IsStream(device.rest) ? OpenStream(device, options, opening)
                                     : OpenFile(device, options, clock);
      },
      missing, meanwhile);
}

}  // namespace vantoscope
