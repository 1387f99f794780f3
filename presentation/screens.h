// SPDX-License-Identifier: GPL-3.0-or-later
// The screens below the windows, and the device pixels and logical pixels of a rectangle on them.
#pragma once

#include <QRect>

class QScreen;

namespace vantoscope {

/// Both go by the scale of the screen that the rectangle's centre is nearest to.
QRect DeviceFromLogical(const QRectF& rectangle);
QRectF LogicalFromDevice(const QRect& rectangle);

/// A screen in device pixels.
QRect DeviceArea(const QScreen& screen);
/// A part of a screen, from device pixels.
QRectF LogicalPart(const QScreen& screen, const QRect& part);

/// No side of a window is longer, logical pixels.
QSizeF LargestWindow();

}  // namespace vantoscope
