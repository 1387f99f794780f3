// SPDX-License-Identifier: GPL-3.0-or-later
// Consecutive scans as a host hands them on: the samples of each channel as the device has them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace vantoscope {

/// What the samples of a channel are.
enum class Encoding : std::uint8_t {
  kInt16,    ///< the device's own signed 16-bit words
  kFloat64,  ///< numbers in the channel's unit; nan is missing, an infinity is over range
};

/// Of one sample.
constexpr std::size_t BytesOf(Encoding encoding) {
  return encoding == Encoding::kInt16 ? sizeof(std::int16_t) : sizeof(double);
}

/// Consecutive samples of one channel, oldest first, in its encoding.
using Samples = std::variant<std::vector<std::int16_t>, std::vector<double>>;

/// `count` samples of 0.
Samples ZeroSamples(Encoding encoding, std::size_t count);
std::size_t SampleCount(const Samples& samples);

struct Scans {
  std::int64_t first = 0;         ///< index of the first scan, counted from the device's own zero
  std::size_t scans = 0;          ///< of each channel
  std::vector<Samples> channels;  ///< one for each entry of the channel list

  bool operator==(const Scans&) const = default;
};

/// Which scans, of `oldest` to `newest` that there are, answer Device::ScansSince: the samples are
/// still to be filled in. None when `newest` is below `oldest`.
Scans ScansWanted(std::int64_t next, std::size_t limit, std::int64_t oldest, std::int64_t newest);

}  // namespace vantoscope
