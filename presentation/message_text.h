// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a message box: wrapped behind operators, so that an equation can be read, and to be
// selected and copied as it was.
#pragma once

#include <QFontMetricsF>
#include <QLabel>
#include <QList>
#include <QTextLayout>

namespace vantoscope {

/// Where each line of `text` ends, as counts of characters from its start; the last is the size of
/// the text. A line ends behind a line break, a blank or an operator, inside a word only where the
/// word alone is wider than `width` pixels.
QList<int> LineEnds(const QString& text, const QFontMetricsF& metrics, double width);

class MessageText final : public QLabel {
 public:
  explicit MessageText(QWidget* parent);

  /// Takes the size of the text, wrapped to that many pixels.
  void SetText(const QString& text, int widest);
  /// Copies what is selected, or all of it.
  void Copy() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  [[nodiscard]] int CursorAt(const QPointF& point) const;
  [[nodiscard]] QString Selected() const;
  void Select(int anchor, int cursor);

  QTextLayout layout_;
  int anchor_ = 0;
  int cursor_ = 0;
};

}  // namespace vantoscope
