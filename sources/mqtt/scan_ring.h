// The newest consecutive scans of a device, as raw words. Never holds a gap: scans that do not join
// the ones held begin anew. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "meter/data_source.h"
#include "sources/device.h"

namespace vantoscope {

class ScanRing {
 public:
  /// `channels` and `capacity` (in scans) are at least 1. Memory is taken as scans come.
  ScanRing(std::size_t channels, std::size_t capacity);

  /// Takes what is new of consecutive scans (scan-major, a whole number of them); gives how many
  /// that were. Scans older than the newest one held, or held already, are passed over.
  std::size_t Append(std::int64_t first, std::span<const std::int16_t> words);
  /// Forgets all scans. The next ones may have any index.
  void Clear();
  /// Makes room for `capacity` scans; never shrinks.
  void Reserve(std::size_t capacity);

  /// Index behind the newest scan; 0 while empty.
  [[nodiscard]] std::int64_t Next() const { return next_; }

  /// See Device::ScansSince.
  [[nodiscard]] RawScans Since(std::int64_t next, std::size_t limit) const;
  /// The newest `count` scans as a block, or nothing while fewer are held. See Device::GetData.
  [[nodiscard]] std::optional<Block> Newest(std::size_t count, std::int32_t mode,
                                            const std::vector<ChannelInfo>& channels) const;

 private:
  /// The words of one scan, by its place among those held: 0 is the oldest.
  [[nodiscard]] std::span<const std::int16_t> Scan(std::size_t place) const;

  std::size_t channels_;
  std::size_t capacity_;
  std::size_t size_ = 0;
  std::size_t oldest_ = 0;  // slot of the oldest scan
  std::int64_t next_ = 0;
  std::unique_ptr<std::int16_t[]> words_;  // capacity_ x channels_, made at the first Append
};

}  // namespace vantoscope
