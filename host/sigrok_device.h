// An instrument that libsigrok knows, as a device: `sigrok:DRIVER[:OPTION=VALUE...]`.
//
// Options of ours: `rate=` (scans per second, 1000) and `range=LO..HI` (of every analog channel).
// `conn` and `serialcomm` say where the instrument is; every other option is a setting of libsigrok
// under its own name, as in `sigrok:demo:rate=2000`.
//
// Analog channels come as 1, 2, ... in the instrument's order with the unit that it reports. Their
// range is `range`, or else what the library tells: the vertical divisions of an oscilloscope, the
// amplitude of a generator, or the resolution of a multimeter (then a word is one digit). A value
// beyond it is clipped. Eight logic channels make one digital input (-1), the first of them in bit
// 8 of the word; it stands before the last analog channel.
//
// An instrument with a sample rate is read sample by sample. One without (a multimeter) is read as
// `rate` (then 10) scans per second that hold its last value, for five seconds at most.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sources/device.h"

namespace vantoscope {

inline constexpr std::string_view kSigrokPrefix = "sigrok:";

class SigrokDevice : public Device {
 public:
  /// Opens the first instrument that the driver finds and waits a few seconds for its first values,
  /// since only they tell the units. Throws SourceError.
  explicit SigrokDevice(const std::string& text);
  ~SigrokDevice() override;

  [[nodiscard]] std::string Name() const override;
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override;
  [[nodiscard]] double SampleRate() const override;
  void Start() override {}  // runs from the beginning
  void Stop() override {}
  double LatestValue(std::int16_t channel) override;
  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override;
  RawScans ScansSince(std::int64_t next, std::size_t limit) override;
  bool HostGone() override;

 private:
  struct Instrument;
  std::unique_ptr<Instrument> instrument_;
};

}  // namespace vantoscope
