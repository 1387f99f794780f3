// SPDX-License-Identifier: GPL-3.0-or-later
// Proves that a normalised equation can run on this channel list, and what its ticks will need.
#pragma once

#include <string>

#include "meter/meter.h"

namespace vantoscope {

/// Sets NeedsStatistics and HistoryDepth, proves the tokens, evaluates `text` once on real data.
/// True with the source started and Timer1 on; false, after a message box, with both stopped.
bool PrepareEquation(Meter& meter, const std::string& text);

}  // namespace vantoscope
