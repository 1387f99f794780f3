// SPDX-License-Identifier: GPL-3.0-or-later
// What a meter knows of its data acquisition host: the abstract control Telvix1 and the blocks of
// scans it delivers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace vantoscope {

/// A source operation failed. The text is one clear sentence for the user: what, which and why.
struct SourceError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Values of every channel over consecutive scans: channels x samples, time ascending, so the
/// newest scan stands last. The samples of one channel lie side by side. A new block is not
/// initialised; whoever makes one writes every element.
class Block {
 public:
  Block(std::size_t channels, std::size_t samples)
      : channels_(channels),
        samples_(samples),
        values_(std::make_unique_for_overwrite<double[]>(channels * samples)) {}

  [[nodiscard]] std::size_t Channels() const { return channels_; }
  [[nodiscard]] std::size_t Samples() const { return samples_; }

  [[nodiscard]] double operator()(std::size_t channel, std::size_t sample) const {
    return values_[channel * samples_ + sample];
  }
  double& operator()(std::size_t channel, std::size_t sample) {
    return values_[channel * samples_ + sample];
  }

  /// All samples of one channel, oldest first.
  [[nodiscard]] std::span<const double> Channel(std::size_t channel) const {
    return {values_.get() + channel * samples_, samples_};
  }
  std::span<double> Channel(std::size_t channel) {
    return {values_.get() + channel * samples_, samples_};
  }

 private:
  std::size_t channels_;
  std::size_t samples_;
  std::unique_ptr<double[]> values_;
};

/// Modes of Telvix1::GetData.
inline constexpr std::int32_t kRawWords = 0;          ///< whole numbers, -32768 to 32767
inline constexpr std::int32_t kEngineeringUnits = 1;  ///< numbers in the channel's unit

/// The host's control, the only way to data. A channel argument is a zero-based list index below
/// ChannelCount. Everything runs on the thread of the user interface. Any operation may throw
/// SourceError.
class Telvix1 {
 public:
  Telvix1() = default;
  Telvix1(const Telvix1&) = delete;
  Telvix1& operator=(const Telvix1&) = delete;
  virtual ~Telvix1() = default;

  /// The device text in its full form: two letters for the kind, a two-digit model, and what
  /// follows; without blanks.
  virtual std::string DeviceName() = 0;
  /// Selects a device. At most once, before anything else. Friendly forms are accepted.
  virtual void SetDeviceName(const std::string& text) = 0;
  /// Written -1 and then 0 right before the first Start.
  virtual void SetStartupToggle(std::int16_t value) = 0;
  /// Begins acquisition; harmless on a running source.
  virtual void Start() = 0;
  /// Ends acquisition; Start may follow.
  virtual void Stop() = 0;
  /// Channels of the scan list; valid before Start.
  virtual std::int16_t ChannelCount() = 0;
  /// Samples per second of one channel.
  virtual double SampleRate() = 0;
  /// Upper and lower end of the channel's range, in engineering units.
  virtual double ScaleHigh(std::int16_t channel) = 0;
  virtual double ScaleLow(std::int16_t channel) = 0;
  /// Newest value, in engineering units.
  virtual double LatestValue(std::int16_t channel) = 0;
  /// Above 0 the number of an analog channel, below 0 that of a special one (channel_number.h).
  virtual std::int16_t ChannelNumber(std::int16_t channel) = 0;
  virtual std::string EngUnit(std::int16_t channel) = 0;
  /// The newest `count` scans (0 or more) of every channel, or nothing if there is no block now.
  /// `mode` is kRawWords or kEngineeringUnits. Never a shorter block.
  virtual std::optional<Block> GetData(std::int16_t count, std::int32_t mode) = 0;
  /// Called by the message loop a few times a second, on the thread of the user interface: calls
  /// HostClosed, once, when the host has gone away.
  virtual void CheckHost() = 0;

  /// Event: the host went away. Nothing is called after it.
  std::function<void()> HostClosed;
};

}  // namespace vantoscope
