// SPDX-License-Identifier: GPL-3.0-or-later
// Proves that a normalised equation can run on this channel list, and what its ticks will need.
#pragma once

#include "equation/traced_text.h"
#include "meter/meter.h"

namespace vantoscope {

/// Sets NeedsStatistics and HistoryDepth, proves the tokens, evaluates `equation` once on real
/// data. True with the source started and Timer1 on; false, after a message box and with the reason
/// in the TickRecord, with both stopped.
bool PrepareEquation(Meter& meter, const TracedText& equation);

}  // namespace vantoscope
