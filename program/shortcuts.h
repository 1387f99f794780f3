// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of a meter that has the keyboard.
#pragma once

#include <functional>

#include "program/meter_watch.h"

namespace vantoscope {

/// Ctrl+C copies the reading as it is shown, Ctrl+Shift+C a line for a table (TableLine); where
/// there is no reading nothing is copied, and both say what they did. F1 opens the help page, F11
/// takes the frame away or brings it back (`swap_look`).
void AddShortcuts(Form0& form, MeterWatch& watch, std::function<void()> swap_look);

}  // namespace vantoscope
