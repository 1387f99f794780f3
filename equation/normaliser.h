// SPDX-License-Identifier: GPL-3.0-or-later
// From the equation as its user wrote it to tokens on list indices, by ordered, case-sensitive
// replacement of plain text.
#pragma once

#include <string>
#include <string_view>

#include "meter/meter.h"

namespace vantoscope {

/// The equation with every reference to a channel, its past, its statistics and the sample rate
/// turned into a token. Changes nothing in the records. Errors of the source pass through.
std::string NormaliseEquation(Meter& meter, std::string_view text);

}  // namespace vantoscope
