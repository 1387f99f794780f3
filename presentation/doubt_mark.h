// SPDX-License-Identifier: GPL-3.0-or-later
// The marks that tell that a reading is not what it seems: a patterned band along the window's
// lower edge, below the feet of the digits, and a torn edge on the right where digits are missing.
// Black on white, so that they show on every background and are no colour of an alarm.
#pragma once

#include <QPainter>
#include <QRect>

#include "meter/reading_state.h"

namespace vantoscope {

/// Heights and widths in logical pixels of the band and of the torn edge in a window that is
/// `height` high.
int MarkBreadth(int height);

/// Paints the band of `state` into a window of that rectangle; nothing for a live reading. Old:
/// diagonal stripes. Waiting: dots. Stopped: a chequered band. Simulated: a wave.
void PaintDoubt(QPainter& painter, const QRect& window, ReadingState state);

/// Paints the torn edge.
void PaintCut(QPainter& painter, const QRect& window);

}  // namespace vantoscope
