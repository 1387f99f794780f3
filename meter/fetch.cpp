#include "meter/fetch.h"

#include <exception>
#include <limits>
#include <utility>

namespace vantoscope {

bool GuardedFetch(Telvix1& telvix, std::int32_t count, std::int32_t mode,
                  std::optional<Block>& into) {
  if (count > std::numeric_limits<std::int16_t>::max() ||
      count < std::numeric_limits<std::int16_t>::min()) {
    return false;
  }
  try {
    std::optional<Block> block = telvix.GetData(static_cast<std::int16_t>(count), mode);
    if (block && block->Samples() < static_cast<std::size_t>(count)) return false;
    into = std::move(block);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace vantoscope
