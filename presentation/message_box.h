// SPDX-License-Identifier: GPL-3.0-or-later
// Every message box of the program.
#pragma once

#include <QDialog>
#include <QDialogButtonBox>
#include <string_view>

#include "meter/meter_window.h"

namespace vantoscope {

class MessageText;
class TextArea;

/// A text that can be selected and copied, however long, beside an icon; one button, which Return
/// and Escape press too. Ctrl+C copies the text.
class MessageBox : public QDialog {
 public:
  /// An empty title stands for "Vanto Scope".
  MessageBox(MessageIcon icon, const QString& text, QDialogButtonBox::StandardButton button,
             QWidget* parent, const QString& title = {});

  /// The box takes the size that the text needs, as far as the screen has it.
  void SetText(const QString& text);

 private:
  MessageText* text_;
  TextArea* area_;
};

/// A modal message box with OK; `parent` may be null.
void ShowMessageBox(QWidget* parent, MessageIcon icon, std::string_view text,
                    std::string_view title);

}  // namespace vantoscope
