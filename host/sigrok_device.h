// An instrument that libsigrok knows, as a device; its text is that of sigrok_settings.h.
//
// Analog channels come as 1, 2, ... in the instrument's order with the unit that it reports. Their
// range is `range`, or else what the library tells: the vertical divisions of an oscilloscope, the
// amplitude of a generator, or what 32767 digits of a multimeter are. Eight logic channels make one
// digital input, the first of them in bit 8 of the word; it stands before the last analog channel.
//
// An instrument with a sample rate is read sample by sample, at `rate` (1000) if it can. One
// without (a multimeter) is read as `rate` (then 10) scans per second that hold its last value, for
// five seconds at most.
#pragma once

#include <condition_variable>
#include <mutex>
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
  void OnPacket(const sr_datafeed_packet& packet);
  void OnAnalog(const sr_datafeed_analog& analog);
  void OnLogic(const sr_datafeed_logic& logic);
  void OnEnded();
  void Calibrate(std::size_t place, const sr_datafeed_analog& analog);
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
  bool ended_ = false;
  std::vector<ChannelInfo> signals_;  // those of `analog_`, then the bytes of logic channels
  ScanAssembly scans_;

  SigrokSession session_;  // last: its thread uses what stands above
};

}  // namespace vantoscope
