// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/listing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <string_view>
#include <thread>
#include <utility>

#include "meter/channel_label.h"
#include "meter/channel_number.h"
#include "sources/device_text.h"
#include "sources/freshness.h"
#include "sources/json_text.h"
#include "text/shown_text.h"
#include "text/terminal_text.h"

namespace vantoscope {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

constexpr std::size_t kTerminal = 80;
constexpr double kShortestWait = 2;  // seconds
constexpr double kLongestWait = 10;
constexpr std::chrono::milliseconds kLook{20};

struct DeviceKind {
  std::string_view kind;
  std::string_view example;
  std::string_view what;
};

constexpr std::array<DeviceKind, 6> kDeviceKinds{{
    {"simulator", "sim", "built in; SM64:rate=1000,channels=12,seed=1 in full"},
    {"recording", "/data/run.csv", "CSV or sound file, replayed; ?loop repeats it"},
    {"recording", "/data/run.csv?follow", "shows what a recorder appends"},
    {"stream", "-", "standard input as it comes; a named pipe by its path"},
    {"network host", "mqtt://localhost:1883/lab/bench1", "published by telvixd"},
    {"instrument", "sigrok:demo", "read by telvixd --from; see telvixd --list"},
}};

/// Throws SourceError when the device fails; nothing when no scan comes in time.
std::optional<Block> FirstScan(Device& device) {
  device.Start();
  const double wait = std::clamp(device.DataFreshness().limit, kShortestWait, kLongestWait);
  const auto until = steady_clock::now() + duration<double>(wait);
  std::optional<Block> block;
  while (!(block = device.GetData(1, kEngineeringUnits)) && !device.HostGone() &&
         steady_clock::now() < until) {
    std::this_thread::sleep_for(kLook);
  }
  return block;
}

/// Why the values are none or old; empty when they are fresh.
std::string Doubt(Device& device, const Freshness& data) {
  if (const auto gone = device.HostGone()) return *gone;
  if (IsFresh(data)) return {};
  const std::string what =
      data.age ? "No new data for " + AgeText(*data.age) : "There is no value yet";
  return what + (data.reason.empty() ? "." : ": " + data.reason + ".");
}

/// As many digits as a 32-bit float has, which is more than an instrument.
std::string ShortText(double number) {
  constexpr int kDigits = 7;
  std::array<char, 32> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number,
                                          std::chars_format::general, kDigits);
  return error == std::errc{} ? std::string(text.data(), end) : std::string();
}

std::string TokenOf(std::size_t index) { return '#' + std::to_string(index); }

/// Without the channel list. A number that JSON has not is a text.
Json JsonNumber(double number) {
  if (std::isfinite(number)) return number;
  return std::isnan(number) ? "nan" : number < 0 ? "-inf" : "inf";
}

/// What an equation writes for a channel without a label.
std::string HintOf(const DeviceListing& listing) {
  const auto unlabelled = [](const ListedChannel& channel) { return channel.label.empty(); };
  const auto first = std::ranges::find_if(listing.channels, unlabelled);
  if (first == listing.channels.end()) return {};
  const auto index = static_cast<std::size_t>(first - listing.channels.begin());
  return "Digital inputs and counters have no label: an equation names them by # and their index, "
         "as in " +
         TokenOf(index) + ".";
}

}  // namespace

DeviceListing ListDevice(Device& device, const std::string& text) {
  const std::optional<Block> scan = FirstScan(device);
  const Freshness data = device.DataFreshness();
  DeviceListing listing{.device = WithoutCredentials(text),
                        .rate = device.SampleRate(),
                        .description = device.Description(),
                        .age = data.age,
                        .doubt = Doubt(device, data),
                        .channels = {}};
  const int per_bank = ChannelsPerBankOf(device.Name());
  for (std::size_t i = 0; i < device.Channels().size(); ++i) {
    ListedChannel channel{.info = device.Channels()[i], .label = {}, .value = {}};
    if (!IsSpecial(channel.info.number)) {
      channel.label = "CH" + ChannelLabel(channel.info.number, per_bank);
    }
    if (scan) channel.value = (*scan)(i, 0);
    listing.channels.push_back(std::move(channel));
  }
  device.Stop();
  return listing;
}

std::string ListingText(const DeviceListing& listing) {
  std::string text = Wrapped(Escaped(listing.device) + ": " + ShortestText(listing.rate) +
                                 " scans a second, " + std::to_string(listing.channels.size()) +
                                 (listing.channels.size() == 1 ? " channel" : " channels"),
                             kTerminal);
  if (!listing.description.empty()) {
    text += Wrapped("Taken for: " + Escaped(listing.description), kTerminal);
  }
  std::vector<std::vector<std::string>> rows{
      {"Index", "Label", "Number", "Value now", "Unit", "Range", "Name"}};
  for (std::size_t i = 0; i < listing.channels.size(); ++i) {
    const auto& [info, label, value] = listing.channels[i];
    rows.push_back({std::to_string(i), label.empty() ? "-" : label, std::to_string(info.number),
                    value ? ShortText(*value) : "-", Escaped(info.unit),
                    ShortText(info.low) + ".." + ShortText(info.high), Escaped(info.name)});
  }
  text += '\n' + Table(rows, {true, false, true, true, false, false, false});
  for (const std::string& sentence : {HintOf(listing), Escaped(listing.doubt)}) {
    if (!sentence.empty()) text += '\n' + Wrapped(sentence, kTerminal);
  }
  return text;
}

std::string ListingJson(const DeviceListing& listing) {
  Json channels = Json::array();
  for (const auto& [info, label, value] : listing.channels) {
    channels.push_back({{"index", channels.size()},
                        {"label", label.empty() ? Json() : Json(label)},
                        {"token", TokenOf(channels.size())},
                        {"number", info.number},
                        {"name", info.name},
                        {"unit", info.unit},
                        {"low", JsonNumber(info.low)},
                        {"high", JsonNumber(info.high)},
                        {"value", value ? JsonNumber(*value) : Json()}});
  }
  return JsonText({{"device", listing.device},
                   {"rate", listing.rate},
                   {"description", listing.description},
                   {"age", listing.age ? Json(*listing.age) : Json()},
                   {"doubt", listing.doubt},
                   {"channels", std::move(channels)}});
}

std::string DeviceKindsText() {
  std::vector<std::vector<std::string>> rows{{"Kind", "Device", ""}};
  for (const auto& [kind, example, what] : kDeviceKinds) {
    rows.push_back({std::string(kind), std::string(example), std::string(what)});
  }
  return Table(rows, {false, false, false}) +
         "\nvantoscope --list DEVICE tells the channels of one.\n";
}

std::string DeviceKindsJson() {
  Json kinds = Json::array();
  for (const auto& [kind, example, what] : kDeviceKinds) {
    kinds.push_back({{"kind", kind}, {"device", example}, {"description", what}});
  }
  return JsonText({{"devices", std::move(kinds)}});
}

}  // namespace vantoscope
