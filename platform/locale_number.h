// Numbers in the way of the user's locale. Only the decimal separator is taken from it.
#pragma once

#include <string>

namespace vantoscope {

/// The shortest decimal text of a number with the separator of the environment's LC_NUMERIC.
/// Leaves the process's own locale alone.
std::string LocaleNumberText(double value);

}  // namespace vantoscope
