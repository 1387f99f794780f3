// SPDX-License-Identifier: GPL-3.0-or-later
// The inside of the control Telvix1: one device, which is one kind of source of scans.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "meter/data_source.h"
#include "meter/reading_state.h"
#include "sources/scans.h"

namespace vantoscope {

/// One entry of a device's channel list. Where the samples are 16-bit words, a word w stands for
/// the number `offset + factor * w` in `unit`; that of a digital input for its byte
/// (channel_words.h).
struct ChannelInfo {
  std::int16_t number = 0;  ///< see Telvix1::ChannelNumber
  std::string name;         ///< as the device calls it; may be empty
  std::string unit;         ///< UTF-8; may be empty
  double low = 0;           ///< range in `unit`; encloses the data, but for what is over range
  double high = 0;
  Encoding encoding = Encoding::kFloat64;
  double factor = 1;  ///< only of words: `unit` per word step
  double offset = 0;  ///< only of words: `unit` at word 0

  bool operator==(const ChannelInfo&) const = default;
};

/// Of one sample of each channel.
inline std::size_t BytesOfScan(const std::vector<ChannelInfo>& channels) {
  std::size_t bytes = 0;
  for (const ChannelInfo& channel : channels) bytes += BytesOf(channel.encoding);
  return bytes;
}

/// Every operation runs on one thread and may throw SourceError. Indices, counts and modes are in
/// range: the control has looked at them (device_control.h). The channel list and the rate are
/// known from the moment the device exists. Name, unit and range of a channel may change while it
/// runs, but only within a call of GetData, LatestValue or ScansSince, and seldom: a range grows in
/// steps. Scans from before a change of unit are not held any more.
class Device {
 public:
  Device() = default;
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  virtual ~Device() = default;

  /// The device text in its full form, without blanks; opens the same device again.
  [[nodiscard]] virtual std::string Name() const = 0;
  [[nodiscard]] virtual const std::vector<ChannelInfo>& Channels() const = 0;
  [[nodiscard]] virtual double SampleRate() const = 0;
  virtual void Start() = 0;
  virtual void Stop() = 0;
  /// Newest value of one channel in its unit; throws when there is none.
  virtual double LatestValue(std::int16_t channel) = 0;
  /// See Telvix1::GetData.
  virtual std::optional<Block> GetData(std::int16_t count, std::int32_t mode) = 0;
  /// The scans from index `next` on that have been acquired by now, at most `limit` of them. Starts
  /// later than `next` when those are no longer held; empty when there is none yet. A `next` below
  /// 0 stands for the newest scan.
  virtual Scans ScansSince(std::int64_t next, std::size_t limit) = 0;
  /// How old the newest scan is, and why there is none newer, whether or not anybody fetches scans.
  /// Never throws. Cheap; asked a few times a second.
  virtual Freshness DataFreshness() = 0;
  /// Why, in one sentence, from the moment on when the host is gone for good. Cheap; asked a few
  /// times a second.
  virtual std::optional<std::string> HostGone() = 0;
  /// What a file was taken for, in one line; empty where there is nothing to tell.
  [[nodiscard]] virtual std::string Description() const { return {}; }
};

/// Called several times a second while a device that takes its time is opened, with what is missing
/// in one sentence, and with an empty one when that is over; false gives up.
using Meanwhile = std::function<bool(const std::string& sentence)>;

}  // namespace vantoscope
