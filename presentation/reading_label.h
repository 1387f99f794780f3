// Label1: one line of text as large as its font says, from the left edge, centred vertically.
#pragma once

#include <QColor>
#include <QLabel>

namespace vantoscope {

/// Its text is what a screen reader says. Text too wide for it loses its end.
class ReadingLabel final : public QLabel {
 public:
  explicit ReadingLabel(QWidget* parent);

  /// Each repaints only on a change.
  void SetReading(const QString& text);
  void SetForeColor(const QColor& color);
  void SetBackColor(const QColor& color);
  /// Height of the font in logical pixels, 1 or more.
  void SetFontHeight(int pixels);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor fore_color_ = Qt::black;
  QColor back_color_ = Qt::white;
};

}  // namespace vantoscope
