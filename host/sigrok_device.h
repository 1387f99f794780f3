// SPDX-License-Identifier: GPL-3.0-or-later
// An instrument that libsigrok knows, as a device; its text is that of sigrok_settings.h.
//
// Analog channels come as 1, 2, ... in the instrument's order. Unit and values are those of every
// packet: an overflow is an infinity, no reading is nan, nothing is clipped. The range begins with
// `range`, or else with what the library tells (the vertical divisions of an oscilloscope, the
// amplitude of a generator), and grows in steps so that it encloses the values. When the unit of a
// channel changes (a multimeter that is switched from V to A), all scans from before are dropped
// and its range begins anew. Eight logic channels make one digital input, the first of them in bit
// 8 of the word; it stands before the last analog channel.
//
// An instrument with a sample rate is read sample by sample, at `rate` or else at 1000 if it can.
// One without (a multimeter) is read as `rate` (then 10) scans per second that hold its last value,
// for five seconds or three scans at most: a silent one is no end, but its data grow old. One that
// ends by itself is: unless one of its own limits was set, ScansSince throws, after its last scans,
// a SourceError with the reason that the library gave.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/scan_assembly.h"
#include "host/sigrok_instrument.h"
#include "host/sigrok_session.h"
#include "sources/device.h"

namespace vantoscope {

class SigrokDevice : public Device {
 public:
  /// Opens the first instrument that the driver finds and waits a few seconds for its first values,
  /// since only they tell the units. Throws SourceError.
  explicit SigrokDevice(const std::string& text);

  [[nodiscard]] std::string Name() const override { return text_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override { return channels_; }
  [[nodiscard]] double SampleRate() const override { return rate_; }
  void Start() override {}  // runs from the beginning
  void Stop() override {}
  double LatestValue(std::int16_t channel) override;
  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override;
  Scans ScansSince(std::int64_t next, std::size_t limit) override;
  Freshness DataFreshness() override;
  std::optional<std::string> HostGone() override;

 private:
  using Time = std::chrono::steady_clock::time_point;

  void OnPacket(const sr_datafeed_packet& packet);
  void OnAnalog(const sr_datafeed_analog& analog);
  void OnLogic(const sr_datafeed_logic& logic);
  void OnEnded();
  void SetUnit(std::size_t place, const std::string& unit);
  void Enclose(std::size_t place, std::span<const double> values);
  void End(const std::string& why);
  const ScanRing& UpToNow();
  void WaitForFirstValues();
  void ListChannels();

  const std::string text_;
  const SigrokSettings settings_;
  const SigrokInstrument instrument_;
  const double rate_;
  const std::vector<const sr_channel*> analog_;
  std::vector<ChannelInfo> channels_;

  std::mutex mutex_;  // guards what follows, but for the session
  std::condition_variable changed_;
  std::optional<std::string> ended_;  // why
  Time end_;
  std::vector<ChannelInfo> signals_;  // those of `analog_`, then the bytes of logic channels
  std::vector<std::size_t> list_;     // the places of `channels_` among them
  bool list_changed_ = false;
  ScanAssembly scans_;

  SigrokSession session_;  // last: its thread uses what stands above
};

}  // namespace vantoscope
