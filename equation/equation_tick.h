// SPDX-License-Identifier: GPL-3.0-or-later
// The tick of an equation meter: the current numbers into the text, the text to the evaluator.
#pragma once

#include "meter/meter.h"

namespace vantoscope {

/// Fetches, substitutes, evaluates into Reading. False when the tick ends early and silently: a
/// failed or Empty fetch, or an evaluation error; Reading keeps its value then.
bool EquationTick(Meter& meter);

}  // namespace vantoscope
