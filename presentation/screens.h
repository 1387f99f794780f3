// The screens below the windows: device pixels and logical pixels of a rectangle, and where a user
// can get hold of one.
#pragma once

#include <QRect>

namespace vantoscope {

/// Both go by the scale of the screen that the rectangle's centre is nearest to.
QRect DeviceFromLogical(const QRectF& rectangle);
QRectF LogicalFromDevice(const QRect& rectangle);

/// `rectangle`, in logical pixels; moved onto the nearest screen where no screen shows enough of it
/// to take hold of.
QRectF WithinReach(const QRectF& rectangle);

/// No side of a window is longer, logical pixels.
QSizeF LargestWindow();

}  // namespace vantoscope
