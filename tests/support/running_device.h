// SPDX-License-Identifier: GPL-3.0-or-later
// A device that runs, and the time it goes by.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sources/open_device.h"

namespace vantoscope::test {

inline constexpr std::int64_t kSecond = 1'000'000'000;
/// A moment in 2024.
inline constexpr std::int64_t kNow = 1'732'312'345 * kSecond + 678'901'234;

class RunningDevice {
 public:
  explicit RunningDevice(const std::string& text, std::int64_t start = kNow)
      : now(start), device_(OpenDevice(text, [this] { return now; })) {
    device_->Start();
  }
  Device* operator->() const { return device_.get(); }
  Device& operator*() const { return *device_; }

  /// The newest samples of one channel; none when there is no block.
  [[nodiscard]] std::vector<double> Values(std::size_t channel, std::int16_t count,
                                           std::int32_t mode = kEngineeringUnits) const {
    const std::optional<Block> block = device_->GetData(count, mode);
    if (!block) return {};
    const std::span<const double> values = block->Channel(channel);
    return {values.begin(), values.end()};
  }

  std::int64_t now;

 private:
  std::unique_ptr<Device> device_;
};

}  // namespace vantoscope::test
