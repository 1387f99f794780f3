// SPDX-License-Identifier: GPL-3.0-or-later
// The colours of the settings as the toolkit's, and back.
#pragma once

#include <QColor>

#include "meter/meter_state.h"

namespace vantoscope {

/// Takes the low 24 bits.
inline QColor QColorFrom(Color color) {
  return {color & 0xff, color >> 8 & 0xff, color >> 16 & 0xff};
}

inline Color ColorFrom(const QColor& color) {
  return color.red() | color.green() << 8 | color.blue() << 16;
}

}  // namespace vantoscope
