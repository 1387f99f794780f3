// SPDX-License-Identifier: GPL-3.0-or-later
// A colour setting in the configuration dialog: a label whose text bears the colour, and the small
// button beside it that opens the picker.
#pragma once

#include <QLabel>
#include <QPushButton>

#include "meter/meter_state.h"

namespace vantoscope {

/// Text in the colour it stands for. Where that colour would fade into the dialog, its letters have
/// an outline of the opposite brightness.
class ColorSwatch : public QLabel {
  Q_OBJECT

 public:
  using QLabel::QLabel;

  [[nodiscard]] Color Value() const { return value_; }
  void SetValue(Color value);

  /// Room on either side of the text, logical pixels.
  static constexpr int kOutline = 3;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Color value_ = 0;
};

/// A button that shows the colour of its swatch.
class ColorButton : public QPushButton {
  Q_OBJECT

 public:
  using QPushButton::QPushButton;

  void SetValue(Color value);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Color value_ = 0;
};

}  // namespace vantoscope
