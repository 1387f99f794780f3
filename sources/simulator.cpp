// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/simulator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "sources/channel_words.h"
#include "sources/freshness.h"

namespace vantoscope {
namespace {

constexpr std::size_t kFirstAnalog = 8;     // analog channels in front of the special ones
constexpr std::size_t kFullList = 12;       // those, three special ones and the fine one
constexpr std::int64_t kHeldScans = 65536;  // how far back ScansSince answers
constexpr double kHalfWords = 32768;

enum class Wave { kSine, kTriangle, kRamp, kSquare };

/// An analog channel: base + amplitude * wave(frequency * t - lag), plus noise of that deviation.
/// Channels of one phase group start at the same phase.
struct Analog {
  std::int16_t number;
  const char* name;
  const char* unit;
  double low, high;
  double base;
  Wave wave;
  double amplitude;
  double frequency;  // Hz
  unsigned phase_group;
  double lag;  // periods
  double noise;
};

constexpr std::array<Analog, kFirstAnalog> kAnalogs{{
    {1, "Level", "%", 0, 100, 55, Wave::kSine, 30, 1.0 / 60, 1, 0, 0.1},
    {2, "Temperature", "°C", -50, 150, 21.5, Wave::kSine, 3, 1.0 / 300, 2, 0, 0.02},
    {3, "Pressure", "bar", 0, 10, 6, Wave::kTriangle, 0.4, 1.0 / 20, 3, 0, 0.002},
    {4, "Mains voltage", "V", -400, 400, 0, Wave::kSine, 325.27, 50, 4, 0, 0},
    {5, "Mains current", "A", -20, 20, 0, Wave::kSine, 14.142, 50, 4, 1.0 / 12, 0},
    {6, "Strain", "µm/m", -1000, 1000, 120, Wave::kSine, 250, 0.2, 6, 0, 30},
    {7, "Ramp", "mm", 0, 100, 50, Wave::kRamp, 50, 0.01, 7, 0, 0},
    {8, "Square", "V", -10, 10, 2.5, Wave::kSquare, 2.5, 1, 8, 0, 0},
}};

constexpr Analog kFine{kFineChannel, "Reference", "V",      0, 5, 2.5,
                       Wave::kSine,  0.002,       1.0 / 30, 9, 0, 0.0001};

/// Analog channels 9 and above: sines from 0.1 Hz up, each slower than 10 Hz.
Analog Further(std::int16_t number) {
  const double frequency = 0.1 * (1 + (number - 9) % 99);
  return {number, "Sine", "V", -10, 10, 0, Wave::kSine, 8, frequency, static_cast<unsigned>(number),
          0,      0.05};
}

/// A well mixed 64-bit word for each input (the finaliser of the generator SplitMix64, by Steele,
/// Lea and Flood, 2014).
std::uint64_t Mixed(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15ULL;
  x = (x ^ (x >> 30U)) * 0xBF58476D1CE4E5B9ULL;
  x = (x ^ (x >> 27U)) * 0x94D049BB133111EBULL;
  return x ^ (x >> 31U);
}

/// Noise of deviation 1, never beyond 3.47: the sum of four uniform 16-bit numbers, centred.
double Noise(std::uint64_t bits) {
  const std::uint64_t sum =
      (bits & 0xFFFFU) + ((bits >> 16U) & 0xFFFFU) + ((bits >> 32U) & 0xFFFFU) + (bits >> 48U);
  return (static_cast<double>(sum) - 131070.0) * (std::numbers::sqrt3 / 65536);
}

/// Part of a period, in 2^-64 of it: one scan further adds `step` and wraps by itself.
std::uint64_t StepOf(double frequency, double rate) {
  return static_cast<std::uint64_t>(std::ldexp(std::fmod(frequency / rate, 1.0), 64));
}

/// A phase as a number from -0.5 up to 0.5 periods, by its upper half.
double Periods(std::uint64_t phase) {
  return 0x1p-32 * static_cast<std::int32_t>(static_cast<std::uint32_t>(phase >> 32U));
}

/// sin(2 pi p) for p from -0.5 to 0.5, by the Taylor series around 0 after folding to a quarter;
/// its first term left out is below 6e-8.
double SineOfPeriods(double p) {
  const double folded = std::copysign(0.25 - std::abs(std::abs(p) - 0.25), p);
  const double x = 2 * std::numbers::pi * folded;
  const double s = x * x;
  return x * (1 + s * (-1.0 / 6 +
                       s * (1.0 / 120 + s * (-1.0 / 5040 + s * (1.0 / 362880 - s / 39916800)))));
}

double At(Wave wave, double p) {
  switch (wave) {
    case Wave::kSine:
      return SineOfPeriods(p);
    case Wave::kTriangle:
      return 4 * std::abs(p) - 1;
    case Wave::kRamp:
      return 2 * p;
    case Wave::kSquare:
      return p < 0 ? -1 : 1;
  }
  return 0;
}

/// One channel ready to run: its words, scan by scan.
class Signal {
 public:
  Signal(const Analog& analog, double rate, std::uint64_t seed)
      : info_(ListEntry(analog)),
        wave_(analog.wave),
        base_((analog.base - info_.offset) / info_.factor),
        amplitude_(analog.amplitude / info_.factor),
        noise_(analog.noise / info_.factor),
        step_(StepOf(analog.frequency, rate)),
        phase_(Mixed(Mixed(seed) + analog.phase_group) -
               static_cast<std::uint64_t>(std::ldexp(analog.lag, 64))),
        noise_key_(Mixed(Mixed(~seed) + static_cast<std::uint64_t>(analog.number))) {}

  /// A special channel. The digital input shows the seconds as a byte; the counters count ten steps
  /// a second.
  Signal(std::int16_t number, double rate)
      : info_(SpecialChannel(number)),
        step_(StepOf(number == kDigitalInput ? 1.0 / 256 : 10.0 / 16384, rate)) {}

  [[nodiscard]] const ChannelInfo& Info() const { return info_; }

  /// Hands the words of scans `first`, `first` + 1 ... to `take(position, word)`.
  template <typename Take>
  void Words(std::int64_t first, std::size_t scans, Take take) const {
    const auto index = static_cast<std::uint64_t>(first);
    std::uint64_t phase = phase_ + index * step_;
    if (IsSpecial(info_.number)) {
      for (std::size_t i = 0; i < scans; ++i, phase += step_) take(i, SpecialWord(phase));
    } else if (noise_ == 0) {
      for (std::size_t i = 0; i < scans; ++i, phase += step_) {
        take(i, Rounded(base_ + amplitude_ * At(wave_, Periods(phase))));
      }
    } else {
      for (std::size_t i = 0; i < scans; ++i, phase += step_) {
        take(i, Rounded(base_ + amplitude_ * At(wave_, Periods(phase)) +
                        noise_ * Noise(Mixed(noise_key_ ^ (index + i)))));
      }
    }
  }

 private:
  static ChannelInfo ListEntry(const Analog& analog) {
    ChannelInfo info{.number = analog.number, .name = analog.name, .unit = analog.unit};
    SpreadAroundMiddle(info, {.low = analog.low, .high = analog.high}, kHalfWords);
    return info;
  }

  static std::int16_t Rounded(double word) {
    const double kept = std::clamp(word, -32768.0, 32767.0);
    return static_cast<std::int16_t>(static_cast<std::int32_t>(kept + 32768.5) - 32768);
  }

  [[nodiscard]] std::int16_t SpecialWord(std::uint64_t phase) const {
    if (info_.number == kDigitalInput) return DigitalWord(static_cast<std::uint8_t>(phase >> 56U));
    const auto count = static_cast<std::int32_t>(phase >> 50U);
    return static_cast<std::int16_t>(CounterWord(info_.number == kCounter ? count : 16383 - count));
  }

  ChannelInfo info_;
  Wave wave_ = Wave::kSine;
  double base_ = 0;  // these three in words
  double amplitude_ = 0;
  double noise_ = 0;
  std::uint64_t step_;
  std::uint64_t phase_ = 0;
  std::uint64_t noise_key_ = 0;
};

std::vector<Signal> SignalList(std::size_t channels, double rate, std::uint64_t seed) {
  std::vector<Signal> signals;
  for (std::size_t i = 0; i < std::min(channels, kFirstAnalog); ++i) {
    signals.emplace_back(kAnalogs[i], rate, seed);
  }
  if (channels <= kFirstAnalog) return signals;
  std::int16_t special = kDigitalInput;
  while (signals.size() < channels - 1 && special >= kReverseCounter) {
    signals.emplace_back(special--, rate);
  }
  std::int16_t further = kFirstAnalog + 1;
  while (signals.size() < channels - 1) signals.emplace_back(Further(further++), rate, seed);
  signals.emplace_back(kFine, rate, seed);
  return signals;
}

class Simulator final : public Device {
 public:
  Simulator(std::string name, double rate, std::size_t channels, std::uint64_t seed,
            std::optional<double> close, Clock clock)
      : name_(std::move(name)),
        rate_(rate),
        close_(close),
        clock_(std::move(clock)),
        signals_(SignalList(channels, rate, seed)) {
    for (const Signal& signal : signals_) channels_.push_back(signal.Info());
  }

  [[nodiscard]] std::string Name() const override { return name_; }
  [[nodiscard]] const std::vector<ChannelInfo>& Channels() const override { return channels_; }
  [[nodiscard]] double SampleRate() const override { return rate_; }

  void Start() override {
    running_ = true;
    if (!first_start_) first_start_ = clock_();
  }

  void Stop() override { running_ = false; }

  double LatestValue(std::int16_t channel) override {
    if (!Delivers()) throw SourceError("The simulator is not running.");
    const auto index = static_cast<std::size_t>(channel);
    double value = 0;
    signals_[index].Words(Newest(), 1, [&](std::size_t, std::int16_t word) {
      value = WordScale(channels_[index])(word);
    });
    return value;
  }

  std::optional<Block> GetData(std::int16_t count, std::int32_t mode) override {
    if (!Delivers()) return std::nullopt;
    const auto scans = static_cast<std::size_t>(count);
    const std::int64_t first = Newest() - count + 1;
    Block block(signals_.size(), scans);
    for (std::size_t channel = 0; channel < signals_.size(); ++channel) {
      double* const values = block.Channel(channel).data();
      if (mode == kRawWords) {
        signals_[channel].Words(first, scans,
                                [=](std::size_t i, std::int16_t word) { values[i] = word; });
      } else {
        const WordScale scale(channels_[channel]);
        signals_[channel].Words(first, scans,
                                [=](std::size_t i, std::int16_t word) { values[i] = scale(word); });
      }
    }
    return block;
  }

  Scans ScansSince(std::int64_t next, std::size_t limit) override {
    if (!Delivers()) return {};
    const std::int64_t newest = Newest();
    Scans scans = ScansWanted(next, limit, newest - kHeldScans + 1, newest);
    for (const Signal& signal : signals_) {
      std::vector<std::int16_t> words(scans.scans);
      signal.Words(scans.first, scans.scans,
                   [&](std::size_t i, std::int16_t word) { words[i] = word; });
      scans.channels.emplace_back(std::move(words));
    }
    return scans;
  }

  Freshness DataFreshness() override {
    const std::int64_t now = clock_();
    std::optional<double> age;
    if (Delivers()) age = SecondsSinceScan(ScanIndexAt(now, rate_), now, rate_);
    return FreshnessOf(age, FreshnessLimit(rate_), "the simulator is not running");
  }

  std::optional<std::string> HostGone() override {
    if (!Closed()) return std::nullopt;
    return "The simulator has closed, as close=" + ShortestText(*close_) + " wants it.";
  }

 private:
  [[nodiscard]] bool Closed() const {
    return close_ && first_start_ && static_cast<double>(clock_() - *first_start_) >= *close_ * 1e9;
  }
  bool Delivers() { return running_ && !Closed(); }
  std::int64_t Newest() { return ScanIndexAt(clock_(), rate_); }

  std::string name_;
  double rate_;
  std::optional<double> close_;
  Clock clock_;
  std::vector<Signal> signals_;
  std::vector<ChannelInfo> channels_;
  bool running_ = false;
  std::optional<std::int64_t> first_start_;
};

/// The options as the simulator's device text has them: in the rest, separated by commas.
std::string RestOf(const DeviceOptions& options) {
  std::string rest;
  for (const auto& [name, value] : options) {
    rest += (rest.empty() ? "" : ",") + name;
    if (!value.empty()) rest.append("=").append(value);
  }
  return rest;
}

std::uint64_t TakeWhole(DeviceText& device, std::string_view name, double low, double high,
                        std::uint64_t otherwise) {
  const std::optional<double> number = TakeNumber(device, name, low, high);
  if (!number) return otherwise;
  if (*number != std::floor(*number)) {
    throw SourceError("The device option " + std::string(name) + "=" + ShortestText(*number) +
                      " is not a whole number.");
  }
  return static_cast<std::uint64_t>(*number);
}

}  // namespace

std::unique_ptr<Device> OpenSimulator(DeviceText device, Clock clock) {
  const DeviceOptions options = SplitOptions(device.rest, ',');
  device.options.insert(device.options.begin(), options.begin(), options.end());
  const std::string name = FullText({device.kind, device.model, RestOf(device.options), {}});
  const double rate = TakeNumber(device, "rate", 0.001, 1e6).value_or(1000);
  const std::uint64_t channels = TakeWhole(device, "channels", 1, 1000, kFullList);
  const std::uint64_t seed = TakeWhole(device, "seed", 0, 0x1p53, 1);
  const std::optional<double> close = TakeNumber(device, "close", 0, 1e9);
  RefuseOtherOptions(device, "rate, channels, seed and close");
  return std::make_unique<Simulator>(name, rate, channels, seed, close, std::move(clock));
}

}  // namespace vantoscope
