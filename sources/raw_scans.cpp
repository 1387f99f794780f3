#include "sources/raw_scans.h"

#include <algorithm>

namespace vantoscope {

RawScans ScansWanted(std::int64_t next, std::size_t limit, std::int64_t oldest,
                     std::int64_t newest) {
  const std::int64_t first = next < 0 ? newest : std::max(next, oldest);
  if (newest < oldest || first > newest) return {};
  return {.first = first,
          .scans = std::min(limit, static_cast<std::size_t>(newest - first + 1)),
          .words = {}};
}

}  // namespace vantoscope
