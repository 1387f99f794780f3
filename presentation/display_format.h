// SPDX-License-Identifier: GPL-3.0-or-later
// The number picture that a channel's range leads to.
#pragma once

#include "meter/meter_state.h"

namespace vantoscope {

/// Derives DisplayFormat from UserFormat or, where that has less than two characters, from the
/// range ScaleLow to ScaleHigh.
void DeriveDisplayFormat(const MeterConfig& config, MeterRuntime& runtime);

}  // namespace vantoscope
