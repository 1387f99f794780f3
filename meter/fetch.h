// SPDX-License-Identifier: GPL-3.0-or-later
// The guarded fetch of a block: the one place where a tick forgives its source.
#pragma once

#include <cstdint>
#include <optional>

#include "meter/meter.h"

namespace vantoscope {

/// Fetches `count` scans into `into`, Empty included. False, with `into` unchanged, when `count`
/// does not fit 16 bits, when the source fails, or when its block is shorter than asked. Where no
/// block came, why is left in the meter's TickRecord.
bool GuardedFetch(Meter& meter, std::int32_t count, std::int32_t mode, std::optional<Block>& into);

}  // namespace vantoscope
