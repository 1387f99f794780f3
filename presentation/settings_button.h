// SPDX-License-Identifier: GPL-3.0-or-later
// Command1: the small picture button that opens the settings, drawn for any background and scale.
#pragma once

#include <QPushButton>

namespace vantoscope {

class SettingsButton final : public QPushButton {
 public:
  explicit SettingsButton(QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace vantoscope
