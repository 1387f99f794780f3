// SPDX-License-Identifier: GPL-3.0-or-later
#include "meter/fetch.h"

#include <exception>
#include <limits>
#include <string>
#include <utility>

namespace vantoscope {

bool GuardedFetch(Meter& meter, std::int32_t count, std::int32_t mode, std::optional<Block>& into) {
  const auto fail = [&](std::string why) {
    meter.ticks.failure = std::move(why);
    return false;
  };
  if (count > std::numeric_limits<std::int16_t>::max() ||
      count < std::numeric_limits<std::int16_t>::min()) {
    return fail("no window can have " + std::to_string(count) + " scans");
  }
  try {
    std::optional<Block> block = meter.telvix.GetData(static_cast<std::int16_t>(count), mode);
    if (block && block->Samples() < static_cast<std::size_t>(count)) {
      return fail("the source gives fewer scans than were asked for");
    }
    if (!block) fail("the newest " + std::to_string(count) + " scans are not there");
    into = std::move(block);
    return true;
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}

}  // namespace vantoscope
