// SPDX-License-Identifier: GPL-3.0-or-later
// The decimal separator of the user's locale: the one thing that a meter takes from it.
#pragma once

#include <string>

namespace vantoscope {

/// The separator by the environment's LC_NUMERIC; a point where that names none. Leaves the
/// process's own locale alone.
std::string DecimalSeparator();

}  // namespace vantoscope
