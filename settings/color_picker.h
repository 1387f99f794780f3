// SPDX-License-Identifier: GPL-3.0-or-later
// The picker of a colour, on a screen of any size.
#pragma once

#include <QColor>

class QWidget;

namespace vantoscope {

/// Modal above `parent`; begins with `color`. Invalid where the user has cancelled. Where the
/// screen is too small for the picker, it scrolls.
QColor PickColor(const QColor& color, QWidget& parent, const QString& title);

}  // namespace vantoscope
