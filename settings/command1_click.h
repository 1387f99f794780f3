// SPDX-License-Identifier: GPL-3.0-or-later
// The click on Command1 from end to end: the dialog opens on a still meter, and the meter runs
// again when it has closed.
#pragma once

#include <functional>
#include <optional>

#include "meter/meter.h"
#include "settings/dialog_fields.h"

namespace vantoscope {

/// Shows the dialog with these fields and returns when it has closed: the fields after OK, nothing
/// after Cancel or its frame's close button.
using ShowDialog = std::function<std::optional<DialogFields>(const DialogFields&)>;

/// Stops the tick, shows the dialog, takes its fields after OK, and brings the meter back to life:
/// its place in the z-order, a WindowSize that fits the channel list, a proven equation where the
/// meter uses one. A source that fails on the way gives its message and "Error!" in Label1.
void Command1Click(Meter& meter, const ShowDialog& show_dialog);

}  // namespace vantoscope
