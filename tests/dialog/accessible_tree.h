// What an assistive program is told about the windows of another process, over the accessibility
// bus.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace vantoscope::test {

/// Connects to the accessibility bus of this display. Once per process, before Spoken.
void ConnectToAccessibility(const std::string& display, const std::string& session_bus);

/// Everything in the windows of `pid` whose title begins with `title`, parents first; the windows
/// themselves are part of it. Each as its role and its name, such as "push button: OK".
std::vector<std::string> Spoken(pid_t pid, const std::string& title);

}  // namespace vantoscope::test
