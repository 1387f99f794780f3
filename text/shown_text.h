// SPDX-License-Identifier: GPL-3.0-or-later
// Texts from outside as a sentence on one line may show them.
#pragma once

#include <string>
#include <string_view>

namespace vantoscope {

/// Control characters as escapes: \n, \r, \t, and \x1b for any other; the bytes of the ones from
/// U+0080 to U+009F, too.
std::string Escaped(std::string_view text);

/// "12 s", "3 min", "2 h": an age as people say it, cut to whole units.
std::string AgeText(double seconds);

/// The text without what may be a user name and a password before an "@": "..." stands there.
std::string WithoutCredentials(std::string_view text);

}  // namespace vantoscope
