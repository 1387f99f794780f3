// SPDX-License-Identifier: GPL-3.0-or-later
// Counts the calls of operator new of the whole program. The operators stand in allocations.cpp.
#pragma once

namespace vantoscope::bench {

/// Calls so far.
long Allocations();

}  // namespace vantoscope::bench
