// SPDX-License-Identifier: GPL-3.0-or-later
// The field in which an equation is written. It underlines what is wrong in it or surprising, says
// in its tool tip why, or what comes out now, and offers what can be written. Quietly: no box, and
// nothing that the running meter would notice.
#pragma once

#include <QLineEdit>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "equation/completions.h"
#include "equation/equation_check.h"

namespace vantoscope {

class EquationCompleter;

/// What the field asks.
struct EquationAnswers {
  /// At every change of the text.
  std::function<std::vector<EquationFinding>(const std::string& equation)> findings;
  /// Of an equation without an error, in a pause and for the tool tip: what comes out now, in one
  /// line.
  std::function<std::string()> value_now;
  std::vector<OfferedChannel> channels;
};

class EquationField : public QLineEdit {
  Q_OBJECT

 public:
  explicit EquationField(QWidget* parent);

  /// Without answers it is a plain text field.
  void SetAnswers(EquationAnswers answers);
  [[nodiscard]] const std::vector<EquationFinding>& Findings() const { return findings_; }
  /// The reasons, or else the value now; lines of plain text.
  [[nodiscard]] QString State() const;

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void Check();
  /// Some time after the last change.
  void Pause();
  void OfferWhileTyping(const QString& before);

  EquationAnswers answers_;
  std::vector<EquationFinding> findings_;
  EquationCompleter* completer_;
  QTimer pause_{this};
  bool typed_ = false;      ///< since the last pause
  bool composing_ = false;  ///< an input method holds text that is not in the field yet
};

}  // namespace vantoscope
