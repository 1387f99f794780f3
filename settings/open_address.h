// SPDX-License-Identifier: GPL-3.0-or-later
// Handing an address to the user's browser.
#pragma once

#include <string>

namespace vantoscope {

/// The address of the session bus in the environment of a meter that does without one. Nobody else
/// is told of it.
inline constexpr const char* kNoBus = "disabled:";

/// Opens an address (a file path or a URL) with the desktop's own program for it, detached. Nobody
/// is told when there is none.
void OpenAddress(const std::string& address);

/// The help page of this installation: beside the installed program, else in the source tree that
/// it was built from.
std::string HelpPage();

}  // namespace vantoscope
