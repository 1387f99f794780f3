// SPDX-License-Identifier: GPL-3.0-or-later
// Where a window opens that is to leave the meter in sight. Knows no screens but the one it is
// told; all lengths are pixels of one kind.
#pragma once

#include <QRect>

namespace vantoscope {

/// The outer corner of a window of that outer size: `wanted`, or as little away from it as it takes
/// to have the whole window inside `area` and `meter` uncovered. Where both cannot be, the window
/// is inside and covers as little as possible; a window larger than the area begins at its corner.
QPoint Beside(const QRect& meter, const QSize& window, const QPoint& wanted, const QRect& area);

}  // namespace vantoscope
