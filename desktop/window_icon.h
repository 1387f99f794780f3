// SPDX-License-Identifier: GPL-3.0-or-later
// The picture that stands for a meter in lists of windows.
#pragma once

#include <QIcon>

namespace vantoscope {

/// In the sizes that window managers ask for. It is part of the program: there without an
/// installation, and no theme is searched for it.
QIcon WindowIcon();

}  // namespace vantoscope
