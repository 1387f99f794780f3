// SPDX-License-Identifier: GPL-3.0-or-later
// Text fields that take only what the settings file gives back whole.
#pragma once

#include <QLineEdit>

namespace vantoscope {

/// What becomes of a blank at the front, which the file would drop.
enum class FrontBlank { Dropped, KeptAsNoBreakSpace };

/// From here on `field` refuses what would make its text longer, in bytes, than a value of the
/// file, and says so in a tool tip; line breaks in what is pasted become blanks.
void TakeOnlyWhatIsKept(QLineEdit& field, FrontBlank front = FrontBlank::Dropped);

}  // namespace vantoscope
