// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/recording/recording.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "sources/opening.h"
#include "sources/recording/csv_recording.h"
#include "sources/recording/follow.h"
#include "sources/recording/replay.h"
#include "sources/recording/sound_file.h"
#include "sources/recording/sound_recording.h"
#include "sources/recording/stream_text.h"

namespace vantoscope {
namespace {

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

std::unique_ptr<Device> Replay(DeviceText device, RecordedScans recorded, const Options& options,
                               Clock clock) {
  if (options.rate) recorded.rate = *options.rate;
  // Whole milliseconds, so that the text says exactly what is played.
  std::int64_t start = std::llround(options.start.value_or(0) * 1000);
  if (!options.start && !options.loop) {
    start = clock() / kMillisecond;
    device.options.emplace_back("start", ShortestText(static_cast<double>(start) / 1000));
  }
  return MakeReplay(FullText(device), std::move(recorded),
                    {.start = start * kMillisecond, .loop = options.loop}, std::move(clock));
}

std::unique_ptr<Device> OpenFile(const DeviceText& device, const Options& options, Clock clock,
                                 std::uint64_t whole_bytes) {
  auto file = std::make_unique<RecordedFile>(device.rest);
  const std::string first_bytes = FirstBytes(*file);
  if (IsSigrokSession(device.rest, first_bytes)) {
    throw SourceError("The recording '" + device.rest +
                      "' is a session of sigrok, which is not read; 'sigrok-cli -i FILE.sr -O csv' "
                      "makes a CSV file of it.");
  }
  const bool is_sound = LooksLikeSound(device.rest, first_bytes);
  if (options.follow && is_sound) {
    throw SourceError("The recording '" + device.rest +
                      "' is a sound file, which cannot be followed.");
  }
  if (options.follow) {
    return MakeFollow(FullText(device), std::move(file), FollowingOf(options, std::move(clock)));
  }
  RecordedScans recorded =
      is_sound ? OpenSound(std::move(file), options.range, whole_bytes)
               : OpenCsv(std::move(file), options.Reading(), options.range, whole_bytes);
  return Replay(device, std::move(recorded), options, std::move(clock));
}

}  // namespace

std::unique_ptr<Device> OpenRecording(DeviceText device, Clock clock, const Meanwhile& meanwhile,
                                      std::uint64_t whole_bytes) {
  const Options options = TakeOptions(device);
  if (device.rest.empty()) {
    throw SourceError("A recording needs the path of its file, as in FI64:/data/run.csv.");
  }
  std::error_code ignored;
  if (device.rest != kStandardInput) {
    device.rest = std::filesystem::absolute(device.rest, ignored).string();
  }
  const std::string missing = NotOpenYet(device.rest);
  return OpenBeside(
      [device = std::move(device), options, clock = std::move(clock),
       whole_bytes](Opening& opening) {
        return IsStream(device.rest) ? OpenStream(device, options, opening)
                                     : OpenFile(device, options, clock, whole_bytes);
      },
      missing, meanwhile);
}

std::string NotOpenYet(const std::string& path) {
  return TheRecording(path) + " is not open yet: its file system is slow or does not answer.";
}

}  // namespace vantoscope
