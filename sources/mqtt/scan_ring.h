// SPDX-License-Identifier: GPL-3.0-or-later
// The newest consecutive scans of a device. Never holds a gap: scans that do not join the ones held
// begin anew. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <variant>
#include <vector>

#include "meter/data_source.h"
#include "sources/device.h"

namespace vantoscope {

class ScanRing {
 public:
  /// `capacity` (in scans) is at least 1. Of the channels only the encoding matters. Memory is
  /// taken as scans come.
  ScanRing(const std::vector<ChannelInfo>& channels, std::size_t capacity);

  /// Takes what is new of consecutive scans, of as many channels as the ring's and in their
  /// encodings; gives how many that were. Scans older than the newest one held, or held already,
  /// are passed over.
  std::size_t Append(const Scans& scans);
  /// Forgets all scans. The next ones may have any index.
  void Clear();
  /// Makes room for `capacity` scans; never shrinks.
  void Reserve(std::size_t capacity);

  /// Index behind the newest scan; 0 while empty.
  [[nodiscard]] std::int64_t Next() const { return next_; }

  /// See Device::ScansSince.
  [[nodiscard]] Scans Since(std::int64_t next, std::size_t limit) const;
  /// The newest `count` scans as a block, or nothing while fewer are held. See Device::GetData.
  [[nodiscard]] std::optional<Block> Newest(std::size_t count, std::int32_t mode,
                                            const std::vector<ChannelInfo>& channels) const;

 private:
  /// The samples of one channel, in `capacity_` slots, made at the first Append.
  using Slots = std::variant<std::unique_ptr<std::int16_t[]>, std::unique_ptr<double[]>>;

  [[nodiscard]] std::size_t SlotOf(std::size_t place) const {
    return (oldest_ + place) % capacity_;
  }
  void Store(const Scans& scans, std::size_t skip, std::size_t count);
  template <typename T>
  void CopyOut(const std::unique_ptr<T[]>& slots, std::size_t place, std::span<T> to) const;

  std::size_t capacity_;
  std::vector<Slots> channels_;
  std::size_t size_ = 0;
  std::size_t oldest_ = 0;  // slot of the oldest scan
  std::int64_t next_ = 0;
};

}  // namespace vantoscope
