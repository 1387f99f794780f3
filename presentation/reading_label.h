// SPDX-License-Identifier: GPL-3.0-or-later
// Label1: one line of text as large as its font says, from the left edge, centred vertically, and
// over it the marks of doubt.
#pragma once

#include <QColor>
#include <QRectF>
#include <QString>
#include <QWidget>
#include <functional>
#include <optional>

#include "meter/reading_state.h"

namespace vantoscope {

/// What a screen reader can ask for beside the text.
struct SpokenReading {
  QString beside;  ///< the unit, and why the reading is in doubt
  double value = 0;
  double low = 0;  ///< the range
  double high = 0;
};

/// Text too wide for it loses its end, and says so with a
/// torn edge as soon as one pixel is missing.
/// It is no label of the toolkit: one that takes the keyboard lays its text out as a document, at
/// every change of text or font.
class ReadingLabel final : public QWidget {
 public:
  explicit ReadingLabel(QWidget* parent);

  /// Each repaints only on a change.
  void SetReading(const QString& text);
  [[nodiscard]] const QString& Text() const { return text_; }
  void SetForeColor(const QColor& color);
  void SetBackColor(const QColor& color);
  /// Height of the font in logical pixels, 1 or more.
  void SetFontHeight(int pixels);
  void SetDoubt(ReadingState state);

  std::function<SpokenReading()> OnAskSpoken;

  /// Whether the end of the text is missing.
  [[nodiscard]] bool IsCut() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  /// Where the first character begins: a little off the frame.
  [[nodiscard]] double TextLeft() const;
  /// What the text covers with ink, from where it begins on its line. Worked out once a text.
  [[nodiscard]] const QRectF& Ink() const;

  QString text_;
  QColor fore_color_ = Qt::black;
  QColor back_color_ = Qt::white;
  ReadingState doubt_ = ReadingState::Live;
  mutable std::optional<QRectF> ink_;
};

}  // namespace vantoscope
