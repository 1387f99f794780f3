// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a user can get hold of a window, and where to put it if not. Knows no screens but those
// it is told; all lengths are pixels of one kind.
#pragma once

#include <QList>
#include <QRectF>

namespace vantoscope {

/// `window` as it is while some area of a screen shows enough of it: of the title bar, where
/// `title_bar` is the height of one, else a third of the window or 64 pixels in each direction.
/// Else moved into the nearest area: by whole areas, so that the windows of a screen that is gone
/// keep their order, and then no further than needed. Without any area there is nothing to choose.
QRectF WithinReach(const QRectF& window, double title_bar, const QList<QRectF>& areas);

/// 0 for a point inside.
double DistanceTo(const QRectF& area, const QPointF& point);

}  // namespace vantoscope
