// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/message_text.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace vantoscope {
namespace {

constexpr QStringView kOperators = u"+-*/^,;=<>&|";

bool IsOperator(QChar c) { return kOperators.contains(c); }

bool IsSignOfExponent(const QString& text, qsizetype at) {
  return at >= 2 && (text[at] == '-' || text[at] == '+') && text[at - 1].toUpper() == 'E' &&
         (text[at - 2].isDigit() || text[at - 2] == '.');
}

bool IsInBrackets(const QString& text, qsizetype at) {
  return text.lastIndexOf('[', at) > text.lastIndexOf(']', at);
}

/// Whether a line may end before the character at `at`.
bool MayEnd(const QString& text, qsizetype at) {
  const QChar last = text[at - 1];
  const QChar next = text[at];
  if (last.isSpace()) return !next.isSpace();
  return IsOperator(last) && !IsOperator(next) && !next.isSpace() &&
         !IsSignOfExponent(text, at - 1) && !IsInBrackets(text, at - 1);
}

template <typename Fits>
qsizetype LineEnd(const QString& text, qsizetype start, Fits fits) {
  qsizetype best = start;
  for (qsizetype end = start + 1; end <= text.size(); ++end) {
    if (!fits(start, end)) return best > start ? best : std::max(start + 1, end - 1);
    if (text[end - 1] == '\n') return end;
    if (end < text.size() && MayEnd(text, end)) best = end;
  }
  return text.size();
}

}  // namespace

QList<int> LineEnds(const QString& text, const QFontMetricsF& metrics, double width) {
  const auto fits = [&](qsizetype start, qsizetype end) {
    while (end > start && text[end - 1].isSpace()) --end;  // blanks may hang over
    return metrics.horizontalAdvance(text.mid(start, end - start)) <= width;
  };
  QList<int> ends;
  for (qsizetype end = 0; end < text.size();) {
    end = LineEnd(text, end, fits);
    ends.append(static_cast<int>(end));
  }
  return ends;
}

MessageText::MessageText(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setCursor(Qt::IBeamCursor);
}

// The label keeps the text as it is, for assistive technology and for copying; the layout only
// draws it.
void MessageText::SetText(const QString& text, int widest) {
  setText(text);
  anchor_ = cursor_ = 0;
  layout_.setText(QString(text).replace('\n', QChar::LineSeparator));
  layout_.setFont(font());
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAnywhere);  // the lines are told, not found
  layout_.setTextOption(option);
  double width = 0;
  double height = 0;
  int start = 0;
  layout_.beginLayout();
  for (const int end : LineEnds(text, QFontMetricsF(font(), this), widest)) {
    QTextLine line = layout_.createLine();
    line.setNumColumns(end - start);
    line.setPosition({0, height});
    start = end;
    width = std::max(width, line.naturalTextWidth());
    height += line.height();
  }
  layout_.endLayout();
  setFixedSize(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
  update();
}

void MessageText::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::WindowText));
  QTextLayout::FormatRange selection;
  selection.start = std::min(anchor_, cursor_);
  selection.length = std::abs(anchor_ - cursor_);
  selection.format.setBackground(palette().highlight());
  selection.format.setForeground(palette().highlightedText());
  layout_.draw(&painter, {0, 0}, {selection});
}

int MessageText::CursorAt(const QPointF& point) const {
  for (int i = 0; i < layout_.lineCount(); ++i) {
    const QTextLine line = layout_.lineAt(i);
    if (point.y() < line.y() + line.height() || i + 1 == layout_.lineCount()) {
      return line.xToCursor(point.x());
    }
  }
  return 0;
}

void MessageText::Select(int anchor, int cursor) {
  anchor_ = anchor;
  cursor_ = cursor;
  update();
}

QString MessageText::Selected() const {
  return text().mid(std::min(anchor_, cursor_), std::abs(anchor_ - cursor_));
}

void MessageText::Copy() const {
  QGuiApplication::clipboard()->setText(Selected().isEmpty() ? text() : Selected());
}

void MessageText::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const int at = CursorAt(event->position());
  Select(event->modifiers().testFlag(Qt::ShiftModifier) ? anchor_ : at, at);
}

void MessageText::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons().testFlag(Qt::LeftButton)) Select(anchor_, CursorAt(event->position()));
}

void MessageText::mouseReleaseEvent(QMouseEvent* event) {
  QClipboard& clipboard = *QGuiApplication::clipboard();
  if (event->button() == Qt::LeftButton && clipboard.supportsSelection() && !Selected().isEmpty()) {
    clipboard.setText(Selected(), QClipboard::Selection);
  }
}

// The operand below the pointer, such as the token that was not found.
void MessageText::mouseDoubleClickEvent(QMouseEvent* event) {
  const QString all = text();
  const auto parts = [&](qsizetype at) {
    return all[at].isSpace() || IsOperator(all[at]) || all[at] == '(' || all[at] == ')';
  };
  qsizetype start = CursorAt(event->position());
  qsizetype end = start;
  while (start > 0 && !parts(start - 1)) --start;
  while (end < all.size() && !parts(end)) ++end;
  Select(static_cast<int>(start), static_cast<int>(end));
}

void MessageText::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  menu.addAction("Copy", this, &MessageText::Copy);
  menu.addAction("Select All", this, [this] { Select(0, static_cast<int>(text().size())); });
  menu.exec(event->globalPos());
}

}  // namespace vantoscope
