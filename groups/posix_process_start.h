// SPDX-License-Identifier: GPL-3.0-or-later
// Process start on POSIX: posix_spawn of the words of a command text, detached.
#pragma once

#include "groups/launch_order.h"
#include "groups/launches.h"

namespace vantoscope {

/// A program name ending in ".exe" is looked for without that ending, first beside the running
/// program, then on PATH. The child has a session of its own, no parent that must wait for it, the
/// environment of this process, and of its open files the three standard ones.
/// `launches` is told of the start. A failure is one line on standard error.
void StartByPosix(const LaunchOrder& order, Launches& launches);

}  // namespace vantoscope
