// SPDX-License-Identifier: GPL-3.0-or-later
// The window Dialog: the configuration of one meter as widgets. It shows DialogFields and gives
// them back.
#pragma once

#include <QDialog>
#include <functional>
#include <memory>

#include "settings/command1_click.h"
#include "settings/dialog_fields.h"
#include "settings/equation_help.h"

class QButtonGroup;

namespace vantoscope {

/// Modal above `form`, of fixed size; `above_all`: above every other window too. Only its buttons
/// and its frame close it, no key does.
class Dialog : public QDialog {
 public:
  Dialog(QWidget* form, bool above_all);

  void Fill(const DialogFields& fields);
  /// `help`, which outlives the dialog, looks at the equation from here on.
  void HelpWithEquation(EquationHelp& help);
  /// The fields as they stand now. Whatever Fill brought and no control shows is given back as it
  /// came, and so is a text that nobody edited.
  [[nodiscard]] DialogFields Fields() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  template <typename Widget>
  [[nodiscard]] Widget& Control(const char* name) const;
  void BuildControls();
  void FitFont();
  void OrderTabs();
  void Wire();
  void SetColor(const char* button, const char* swatch, Color color);
  void PickColor(const char* button, const char* swatch, const QString& title);
  void PlaceOnScreen();

  DialogFields filled_;
  QButtonGroup* options_;
};

/// A ShowDialog that opens Dialog above `form` and waits until it has closed. Where there is a
/// `make_help`, it is called at each opening, and what it makes lives as long as the dialog.
ShowDialog ModalDialog(QWidget& form,
                       std::function<std::unique_ptr<EquationHelp>()> make_help = {});

}  // namespace vantoscope
