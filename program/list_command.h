// SPDX-License-Identifier: GPL-3.0-or-later
// What --list does, without a window.
#pragma once

#include <span>

namespace vantoscope {

/// Prints what `words`, those behind --list, ask for: the channels of a device, or the kinds of
/// devices when they name none; as JSON with --json among them. Gives the exit code: 1 when the
/// device fails, after the sentence that a meter says too, or when nobody takes what is printed, 2
/// for other words.
int RunListCommand(std::span<char*> words);

}  // namespace vantoscope
