// SPDX-License-Identifier: GPL-3.0-or-later
// The one look of everything a meter opens: settings, colour picker and message boxes. Typeface,
// size, buttons, British words; lines that stand out by 3 to 1 from what lies beside them, and a
// ring around what has the keyboard, from the first moment.
#pragma once

#include <QFont>
#include <QPalette>
#include <QWidget>

namespace vantoscope {

inline constexpr double kTextSize = 8.25;  ///< points of 96 to the inch, at any scale

/// Arial or what stands for it, `size` in points at 96 dots to the inch.
QFont TextFont(const QWidget& widget, double size = kTextSize);

/// Of controls and frames, on windows of that palette.
QColor LineColor(const QPalette& palette);

/// Called by each window as it is made. The application has the look from the first time on, so
/// that a meter that opens nothing has no cost of it.
void GiveLook(QWidget& window);

/// Contrast ratio of two colours as the Web Content Accessibility Guidelines 2.1 define it, 1
/// to 21.
double Contrast(const QColor& one, const QColor& other);

}  // namespace vantoscope
