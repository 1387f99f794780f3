// Consecutive scans as raw words, as a host hands them on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantoscope {

/// Scan-major: the words of all channels of scan `first`, then those of `first` + 1.
struct RawScans {
  std::int64_t first = 0;  ///< index of the first scan, counted from the device's own zero
  std::size_t scans = 0;
  std::vector<std::int16_t> words;  ///< scans x channels
};

/// Which scans, of `oldest` to `newest` that there are, answer Device::ScansSince: the words are
/// still to be filled in. None when `newest` is below `oldest`.
RawScans ScansWanted(std::int64_t next, std::size_t limit, std::int64_t oldest,
                     std::int64_t newest);

}  // namespace vantoscope
